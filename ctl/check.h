#pragma once

// What of an image the daemon would stumble over. Each part looks at files below a root and tells
// its gaps; nothing is changed. Tools are looked for, and on the own node asked (tool_answer.h).

#include "ctl/log_file.h"
#include "ctl/uci_file.h"
#include "intf/intf_record.h"

#include <span>

inline constexpr size_t CHECK_LINES_MAX = 64;

/// A line of the profile.
struct check_line {
    std::array<char, INTF_NAME_SIZE> name{};
    intf_type type = INTF_TYPE_OTHER;
    uint8_t band = 0;
    uint16_t priority = 0;
    uint8_t follow = 0;
};

struct check_image {
    const char* root = "";
    bool is_root_node = false;  ///< role of the mesh's root
    /// A tool that takes longer hangs, as far as who waits for the daemon can tell.
    int answer_limit_ms = 10000;
    std::array<check_line, CHECK_LINES_MAX> lines{};
    size_t line_count = 0;
    bool has_store = false;  ///< `wireless` was read from its file
    uci_file wireless;
};

enum class gap_kind : uint8_t {
    stops,  ///< the daemon would not work
    weakens
};

/// Told of each gap.
class gap_teller {
public:
    virtual void gap(gap_kind kind, const char* id, const char* what, const char* then,
                     const char* help) = 0;

protected:
    ~gap_teller() = default;
};

void check_profile(check_image& image, gap_teller& tell);
void check_store(check_image& image, gap_teller& tell);
void check_tools(const check_image& image, gap_teller& tell);
/// Runs the tools that are there: for the own node alone, whose `root` is empty.
void check_answers(const check_image& image, gap_teller& tell);
void check_network(const check_image& image, gap_teller& tell);
void check_database(const check_image& image, gap_teller& tell);
void check_system(const check_image& image, gap_teller& tell);
