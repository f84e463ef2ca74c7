// What an outage was, in words.

#include "ctl/story.h"
#include "ctl/text.h"

#include <cstdarg>
#include <cstdio>

namespace {

constexpr std::array<const char*, 9> CAUSE_NAMES = {"unknown",    "ap_lost",   "unseen",
                                                    "cable_lost", "better_ap", "loop",
                                                    "crash",      "ended",     "restarted"};

/// Appends by printf's rules to a text in a buffer.
class phrase {
public:
    explicit phrase(std::span<char> out) : out_(out) {
        out_[0] = '\0';
    }
    __attribute__((format(printf, 2, 3))) void add(const char* format, ...) {
        va_list arguments;
        va_start(arguments, format);
        const int size =
            std::vsnprintf(out_.data() + size_, out_.size() - size_, format, arguments);
        va_end(arguments);
        if (size > 0) {
            size_ += static_cast<size_t>(size);
            size_ = size_ < out_.size() ? size_ : out_.size() - 1;
        }
    }

private:
    std::span<char> out_;
    size_t size_ = 0;
};

void cause_add(const outage& one, phrase& out) {
    const char* const name = one.interface.data();
    switch (one.cause) {
        case outage_cause::unknown:
            return out.add("the cause is not in the log");
        case outage_cause::ap_lost:
            out.add("%s lost its AP", name);
            if (one.ap[0] != '\0') {
                out.add(" %s", one.ap.data());
            }
            return;
        case outage_cause::unseen:
            return out.add("%s was found without its AP, no event had told", name);
        case outage_cause::cable_lost:
            return out.add("the cable was pulled");
        case outage_cause::better_ap:
            return out.add("%s moved to a better AP", name);
        case outage_cause::loop:
            return out.add("%s was parked because of a loop", name);
        case outage_cause::crash:
            return out.add("the worker was killed by signal %d", one.signal);
        case outage_cause::ended:
            return out.add("the worker ended by itself");
        case outage_cause::restarted:
            return out.add("the worker was restarted quietly, or the node was");
    }
}

}  // namespace

const char* outage_cause_name(outage_cause cause) {
    return CAUSE_NAMES[static_cast<size_t>(cause)];
}

int64_t outage_seconds(const outage& one) {
    return one.last > one.begin ? one.last - one.begin : 0;
}

void outage_words(const outage& one, std::span<char> out) {
    phrase words(out);
    cause_add(one, words);
    if (one.timeouts > 0) {
        words.add("; no AP found in 180 s (%u time%s)", one.timeouts, one.timeouts == 1 ? "" : "s");
    }
    if (one.parkings > 0) {
        words.add("; %u parked", one.parkings);
    }
    if (one.loops > 0) {
        words.add("; %u loop%s refused", one.loops, one.loops == 1 ? "" : "s");
    }
    if (one.refusals > 0) {
        words.add("; the supplicant refused %u times", one.refusals);
    }
    if (one.unconfigured > 0) {
        words.add("; no SSID or key %u times", one.unconfigured);
    }
    if (one.agent_waits > 1) {
        words.add("; the agent was asked %u times", one.agent_waits);
    }
    if (one.crashes > (one.cause == outage_cause::crash ? 1U : 0U)) {
        words.add("; %u crashes", one.crashes);
    }
    if (one.end != LOG_TIME_NONE) {
        words.add("; ready again over %s", one.end_interface.data());
    }
}
