"""Sees that the tool finds what it should, changes only that, and judges tests rightly.

Runs before every run of mutants, in about a second.
"""

import fcntl
import os
import pathlib
import signal
import tempfile
import time
import unittest

import places
import tree

SOURCE = """\
#include <cstdio>
// a == b in a comment
enum color { RED, GREEN };
struct row { int key; const char* text; };
constexpr row ROWS[] = {
    {1, "one"},
    {2, "two"},
};
static_assert(ROWS[0].key == 1);
int chosen(int value, bool twice) {
    if (value < 7 && !twice) {
        return value + 1;
    }
    std::puts("small");
    std::puts("%d text");
    color hue = RED;
    return hue == GREEN ? 0 : value;
}
"""


def changes(line=None):
    return {(m.kind, m.before, m.after) for m in places.find("example.cpp", SOURCE)
            if line is None or m.line == line}


class Places(unittest.TestCase):
    def test_operators_constants_and_conditions_of_a_line(self):
        line = "if (value < 7 && !twice) {"
        expected = {
            ("operator", line, "if (value <= 7 && !twice) {"),
            ("operator", line, "if (value >= 7 && !twice) {"),
            ("operator", line, "if (value < 7 || !twice) {"),
            ("operator", line, "if (value < 7 && twice) {"),
            ("constant", line, "if (value < 0 && !twice) {"),
            ("constant", line, "if (value < 6 && !twice) {"),
            ("constant", line, "if (value < 8 && !twice) {"),
            ("negated condition", line, "if (!(value < 7 && !twice)) {"),
        }
        self.assertEqual(changes(11), expected)

    def test_statements_left_out_and_calls_in_the_other_order(self):
        puts = ['std::puts("small");', 'std::puts("%d text");']
        self.assertIn(("dropped statement", puts[0], ""), changes(14))
        self.assertIn(("swapped calls", "\n".join(puts), "\n".join(reversed(puts))),
                      changes(14))

    def test_rows_and_enumerators(self):
        rows = ['{1, "one"},', '{2, "two"},']
        self.assertIn(("dropped row", "\n".join(rows), rows[1]), changes(6))
        self.assertIn(("swapped rows", "\n".join(rows), '{2, "two"},\n{1, "one"},'), changes(6))
        self.assertIn(("other enumerator", "color hue = RED;", "color hue = GREEN;"), changes(16))

    def test_comments_includes_assertions_and_the_last_return_are_left_alone(self):
        self.assertEqual({m.line for m in places.find("example.cpp", SOURCE)} & {1, 2, 9}, set())
        self.assertNotIn("dropped statement", {kind for kind, *_ in changes(17)})

    def test_a_mutant_is_known_by_its_text_and_not_by_its_line(self):
        here = {m.key for m in places.find("example.cpp", SOURCE)}
        below = {m.key for m in places.find("example.cpp", "\n\n" + SOURCE)}
        self.assertEqual(here, below)

    def test_a_mutant_fits_only_the_source_that_it_was_made_for(self):
        mutant = next(m for m in places.find("example.cpp", SOURCE) if m.line == 12)
        self.assertTrue(mutant.fits(SOURCE))
        self.assertFalse(mutant.fits("\n\n" + SOURCE))

    def test_each_line_is_chosen_before_any_is_chosen_twice(self):
        found = places.find("example.cpp", SOURCE)
        lines = {m.line for m in found}
        chosen = places.choose(found, len(lines), 5)
        self.assertEqual({m.line for m in chosen}, lines)
        self.assertEqual(places.choose(found, 3, 5), chosen[:3])
        self.assertNotEqual(places.choose(found, len(lines), 6), chosen)


class Judging(unittest.TestCase):
    """A program in place of a test program, which names its tests as GoogleTest does."""

    def judged(self, script):
        with tempfile.TemporaryDirectory() as folder:
            copy = tree.Tree(folder, tree.ROOT)
            program = tree.Program("example_test", "runtime", "unit")
            path = copy.file_of("plain", program.name)
            path.parent.mkdir(parents=True)
            copy.notes.mkdir()
            path.write_text("#!/bin/sh\n" + script)
            path.chmod(0o755)
            return copy.run_program("plain", program, 0.3)

    def test_a_failure_names_the_test(self):
        self.assertEqual(self.judged("echo '[ RUN      ] A.b'; echo '[  FAILED  ] A.b (1 ms)'; exit 1"),
                         ("A.b", []))

    def test_a_crash_names_the_test_that_ran(self):
        self.assertEqual(self.judged("echo '[ RUN      ] A.b'; kill -SEGV $$"), ("A.b", []))

    def test_what_fails_once_only_is_no_kill(self):
        once = "echo '[  FAILED  ] A.b'; [ -e seen ] && exit 0; touch seen; exit 1"
        self.assertEqual(self.judged(once), ("", []))

    def test_a_hang_is_no_kill_and_the_tests_beside_it_are_run(self):
        hang = 'case $GTEST_FILTER in -*) exit 0;; esac; echo "[ RUN      ] A.b"; sleep 60'
        begin = time.monotonic()
        self.assertEqual(self.judged(hang), ("", ["A.b"]))
        self.assertGreater(time.monotonic() - begin, 4 * 0.3)
        beside = 'case $GTEST_FILTER in -*) echo "[  FAILED  ] A.c"; exit 1;; A.c) exit 1;; esac; ' \
            'echo "[ RUN      ] A.b"; sleep 60'
        self.assertEqual(self.judged(beside), ("A.c", ["A.b"]))

    def test_nobody_works_in_a_copy_where_a_compiler_was_left_behind(self):
        with tempfile.TemporaryDirectory() as folder:
            copy = tree.Tree(folder, tree.ROOT)
            copy.take()
            copy.run(["sh", "-c", f"sleep 60 >{folder}/out 2>&1 & echo $! >{folder}/left"])
            copy.lock.close()
            with (copy.notes / "lock").open("w") as other:
                with self.assertRaises(BlockingIOError):
                    fcntl.flock(other, fcntl.LOCK_EX | fcntl.LOCK_NB)
                os.kill(int((pathlib.Path(folder) / "left").read_text()), signal.SIGKILL)
                fcntl.flock(other, fcntl.LOCK_EX)

    def test_the_folder_s_own_tests_come_first(self):
        names = [p.name for p in tree.in_order(tree.test_programs(tree.ROOT), "msg")]
        self.assertEqual({*names[:2]}, {"msg_test", "msg_values_test"})
        self.assertIn("extender_process_test", names[-5:])


if __name__ == "__main__":
    unittest.main()
