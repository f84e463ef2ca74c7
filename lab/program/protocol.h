// What goes over the control socket of a mesh.
//
// A request is one line: its words, escaped (lab/tools/text_escape.h), with a tab between two. The
// answer is any number of lines that begin with a blank, then one that ends it: "= 0" and the text
// behind it when all is good, "= 1" when not, "= 2" when the request was wrong. Lines are escaped
// as well. A connection carries one request after the other.
//
// Functions of values; MeshStatus goes over the socket as lines, field by field.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "lab/report/mesh_status.h"

namespace lab {

// Longest request, and longest line of an answer: a peer that sends more is cut off.
inline constexpr std::size_t LONGEST_LINE = 65536;

struct Answer {
    int code = 0;                    // exit code of the program that asked
    std::string text;                // one sentence; may be empty
    std::vector<std::string> lines;  // what was asked for
};

std::string request_line(const std::vector<std::string>& words);
std::vector<std::string> request_words(std::string_view line);
std::string answer_text(const Answer& answer);

// Gathers an answer from pieces of any size.
class AnswerReader {
public:
    // Takes a piece in. True when the answer is whole; what came behind it is dropped.
    bool feed(std::string_view piece);
    const Answer& answer() const {
        return answer_;
    }
    // A line was too long or had no known beginning.
    bool is_broken() const {
        return broken_;
    }

private:
    bool line_take(std::string_view line);

    Answer answer_;
    std::string partial_;
    bool broken_ = false;
};

// How the server itself is doing.
struct ServerStatus {
    double speed = 0;
    bool paused = false;
    bool hurries = false;
    std::string stalled;  // why time does not pass; empty: it does

    bool operator==(const ServerStatus&) const = default;
};

// Lines of the answer to "status".
std::vector<std::string> status_encode(const MeshStatus& status, const ServerStatus& server);

// False when a line is none of them. Numbers that are none are read as 0.
bool status_decode(const std::vector<std::string>& lines, MeshStatus* status, ServerStatus* server);

}  // namespace lab
