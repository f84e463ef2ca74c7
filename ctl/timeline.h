#pragma once

// What a picture of the logs is made of: for each node its lanes, outages and entries, with every
// text of the log once. Grows with the logs up to a bound; what does not fit is counted.

#include "ctl/story.h"

#include <cstdio>
#include <string_view>

inline constexpr size_t TIMELINE_NODES_MAX = 256;
inline constexpr size_t TIMELINE_TEXTS_MAX = size_t{1} << 16;
/// Of all nodes together.
inline constexpr size_t TIMELINE_ENTRIES_MAX = 250000;
inline constexpr size_t TIMELINE_SPANS_MAX = 60000;
inline constexpr size_t TIMELINE_OUTAGES_MAX = 8000;
inline constexpr size_t TIMELINE_WORDS_SIZE = 200;

struct timeline_entry {
    int64_t time;
    uint32_t text;
    uint16_t node;
    bool marked;  ///< a state change that cannot follow
};

struct timeline_span {
    int64_t begin;
    int64_t end;
    uint16_t node;
    uint8_t lane;  ///< of the node
    int8_t state;
};

struct timeline_outage {
    int64_t begin;
    int64_t end;
    uint16_t node;
    bool is_open;
    std::array<char, TIMELINE_WORDS_SIZE> words;
};

struct timeline_node {
    std::array<char, NODE_NAME_SIZE> name{};
    std::array<intf_name, STORY_LINKS_MAX> lanes{};
    size_t lane_count = 0;
    int64_t first = LOG_TIME_NONE;
    int64_t last = LOG_TIME_NONE;
};

/// Texts by number, each once.
class text_table {
public:
    text_table() = default;
    ~text_table();
    text_table(const text_table&) = delete;
    text_table& operator=(const text_table&) = delete;
    /// Number of `text`; TIMELINE_TEXTS_MAX when there is no room for a new one.
    uint32_t put(std::string_view text);
    std::string_view get(size_t number) const;
    size_t size() const {
        return count_;
    }

private:
    struct place {
        uint32_t begin;
        uint32_t size;
    };
    bool grow(size_t more);

    char* letters_ = nullptr;
    size_t used_ = 0;
    size_t room_ = 0;
    place* places_ = nullptr;
    uint32_t* slots_ = nullptr;  ///< number + 1 of a text, found by its hash
    size_t count_ = 0;
};

struct timeline_data {
    timeline_node* nodes = nullptr;
    timeline_entry* entries = nullptr;
    timeline_span* spans = nullptr;
    timeline_outage* outages = nullptr;
    size_t node_count = 0;
    size_t entry_count = 0;
    size_t span_count = 0;
    size_t outage_count = 0;
    size_t left_out = 0;  ///< entries, spans and outages that did not fit
    int64_t first = LOG_TIME_NONE;
    int64_t last = LOG_TIME_NONE;
    text_table texts;
};

/// One self-contained page.
void timeline_page_print(const timeline_data& data, FILE* out);
/// The same for a ticket.
void timeline_text_print(const timeline_data& data, FILE* out);
/// The same for a program.
void timeline_json_print(const timeline_data& data, FILE* out);

/// A letter for a state, for lanes of plain text.
char timeline_letter(int32_t state);

/// What of the page does not depend on the logs: before the data, and behind it.
extern const char TIMELINE_PAGE_HEAD[];
extern const char TIMELINE_PAGE_TAIL[];
