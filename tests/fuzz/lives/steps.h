// What happens to a node from outside, as a list of steps: read from the fuzzer's bytes, written as
// such bytes by the seeds, told in words.
//
// A step is three bytes (what, a, b); one that carries a text goes on with its length in a byte and
// the text. Any bytes are steps.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace lives {

class Life;

enum class StepKind : uint8_t {
    pass,          // a + 60 * b seconds
    joins,         // the driver tells that interface a is with AP b
    loses,         // and that it is with none
    joins_unseen,  // the same two without an event
    loses_unseen,
    client,         // of interface a; b says what the driver tells of it
    channel,        // of interface a is b
    driver_bytes,   // text
    overrun,        // the driver's events were too many
    word,           // number a on the FIFO
    fifo_bytes,     // text
    message,        // word b from node a
    message_bytes,  // text from node a
    announcement,   // word b from node a on the announcements' port
    tool_answers,   // tool a says text
    tool_takes,     // tool a takes b seconds
    option,         // option b of interface a is text
    file,           // file a holds text; b is its kind
    configured,     // the agent's result files are there
    device,         // row a of the database's devices; b says how alive; text is its name
    link,           // node a is below node b % 16, by the AP of that number
    database,       // fails if a is odd
    bridge,         // has its address if a is odd
    send_error,     // number a of the list, 0 is none
    refused,        // bits of a: disk, descriptors, memory, threads
    preempt,        // another thread comes first after a commands
    clock,          // the wall clock moves by a - 128 hours and b seconds
    radar,          // channels a, of which b are blocked
    killed,         // the worker is
    started_with,   // the next worker gets these options: a losses, bits of b
    profile,        // the interface profile number a, text follows it
    count
};

struct Step {
    StepKind kind = StepKind::pass;
    uint8_t a = 0;
    uint8_t b = 0;
    std::string text = {};
};

std::vector<Step> steps_read(std::span<const uint8_t> bytes);
std::string steps_write(const std::vector<Step>& steps);
std::string step_text(const Step& step);

// Carries the step out. False when the life is over.
bool step_run(Life& life, const Step& step);

}  // namespace lives
