# Part of the stand-in: see rules.mk.
