// `backhaulctl timeline`: collects the picture, and prints it as asked for.

#include "ctl/timeline.h"

#include "ctl/logs.h"
#include "ctl/story_visitor.h"
#include "ctl/text.h"
#include "runtime/heap.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace {

constexpr size_t SLOT_COUNT = TIMELINE_TEXTS_MAX * 2;

uint32_t hash_of(std::string_view text) {
    uint32_t hash = 2166136261U;
    for (const char c : text) {
        hash = (hash ^ static_cast<unsigned char>(c)) * 16777619U;
    }
    return hash;
}

class timeline_teller final : public story_visitor {
public:
    explicit timeline_teller(timeline_data& data) : data_(data) {}

    void node_begin(const log_source& first) override {
        story_visitor::node_begin(first);
        marked_ = false;
        if (data_.node_count < TIMELINE_NODES_MAX) {
            data_.nodes[data_.node_count++].name = first.node;
        }
    }
    void found(const finding& one) override {
        marked_ = marked_ || one.kind != finding_kind::dropped;
    }
    void entry_done(const log_entry& entry, const log_event& /*event*/) override {
        const uint32_t text = data_.texts.put(entry.text);
        if (data_.entry_count < TIMELINE_ENTRIES_MAX && text < TIMELINE_TEXTS_MAX) {
            data_.entries[data_.entry_count++] = {entry.time, text, node(), marked_};
        } else {
            ++data_.left_out;
        }
        marked_ = false;
    }
    void span_ended(const story_link& link, link_state state, int64_t begin, int64_t end) override {
        if (data_.span_count == TIMELINE_SPANS_MAX) {
            ++data_.left_out;
            return;
        }
        const auto lane = static_cast<uint8_t>(&link - told().links().data());
        data_.spans[data_.span_count++] = {begin, end, node(), lane, static_cast<int8_t>(state)};
    }
    void outage_ended(const outage& one) override {
        if (data_.outage_count == TIMELINE_OUTAGES_MAX) {
            ++data_.left_out;
            return;
        }
        timeline_outage& kept = data_.outages[data_.outage_count++];
        kept = {one.begin, one.last, node(), one.end == LOG_TIME_NONE, {}};
        outage_words(one, kept.words);
    }
    void node_done(const log_source& last) override {
        entries_.node_over(told(), last);
        timeline_node& kept = data_.nodes[node()];
        for (const story_link& link : told().links()) {
            kept.lanes[kept.lane_count++] = link.name;
        }
        kept.first = told().node().first;
        kept.last = told().node().last;
        if (kept.first != LOG_TIME_NONE) {
            data_.first =
                data_.first == LOG_TIME_NONE ? kept.first : std::min(data_.first, kept.first);
            data_.last = std::max(data_.last, kept.last);
        }
    }
    int code() const {
        return entries_.code();
    }

private:
    uint16_t node() const {
        return static_cast<uint16_t>(data_.node_count - 1);
    }

    timeline_data& data_;
    bool marked_ = false;
    entries_check entries_;
};

bool data_make(timeline_data& data) {
    data.nodes = heap_make<timeline_node>(TIMELINE_NODES_MAX);
    data.entries = heap_make<timeline_entry>(TIMELINE_ENTRIES_MAX);
    data.spans = heap_make<timeline_span>(TIMELINE_SPANS_MAX);
    data.outages = heap_make<timeline_outage>(TIMELINE_OUTAGES_MAX);
    return data.nodes != nullptr && data.entries != nullptr && data.spans != nullptr &&
           data.outages != nullptr;
}

void data_drop(timeline_data& data) {
    heap_drop(data.nodes);
    heap_drop(data.entries);
    heap_drop(data.spans);
    heap_drop(data.outages);
}

}  // namespace

text_table::~text_table() {
    std::free(letters_);
    heap_drop(places_);
    heap_drop(slots_);
}

bool text_table::grow(size_t more) {
    if (places_ == nullptr) {
        places_ = heap_make<place>(TIMELINE_TEXTS_MAX);
        slots_ = heap_make<uint32_t>(SLOT_COUNT);
    }
    if (used_ + more > room_) {
        const size_t room = std::max(room_ * 2, used_ + more + 4096);
        auto* const letters = static_cast<char*>(std::realloc(letters_, room));
        if (letters == nullptr) {
            return false;
        }
        letters_ = letters;
        room_ = room;
    }
    return places_ != nullptr && slots_ != nullptr;
}

uint32_t text_table::put(std::string_view text) {
    if (!grow(text.size())) {
        return TIMELINE_TEXTS_MAX;
    }
    size_t slot = hash_of(text) % SLOT_COUNT;
    for (; slots_[slot] != 0; slot = (slot + 1) % SLOT_COUNT) {
        if (get(slots_[slot] - 1) == text) {
            return slots_[slot] - 1;
        }
    }
    if (count_ == TIMELINE_TEXTS_MAX) {
        return TIMELINE_TEXTS_MAX;
    }
    if (!text.empty()) {
        std::memcpy(letters_ + used_, text.data(), text.size());
    }
    places_[count_] = {static_cast<uint32_t>(used_), static_cast<uint32_t>(text.size())};
    used_ += text.size();
    slots_[slot] = static_cast<uint32_t>(++count_);
    return slots_[slot] - 1;
}

std::string_view text_table::get(size_t number) const {
    return {letters_ + places_[number].begin, places_[number].size};
}

int command_timeline(const ctl_options& options) {
    log_set logs;
    if (!logs_open(options, 0, logs)) {
        return EXIT_UNREADABLE;
    }
    timeline_data data;
    if (!data_make(data)) {
        data_drop(data);
        std::fputs("backhaulctl: not enough memory\n", stderr);
        return EXIT_UNREADABLE;
    }
    timeline_teller teller(data);
    logs.read(teller);
    if (options.json) {
        timeline_json_print(data, options.out);
    } else if (options.text) {
        timeline_text_print(data, options.out);
    } else {
        timeline_page_print(data, options.out);
    }
    data_drop(data);
    return output_end(options, teller.code());
}
