#pragma once

// The life of one node as its flow log tells it: the state of each interface and since when,
// losses, timeouts, backups, outages with their causes. Fed entry by entry, in the order of the
// log; memory is of fixed size. Values in, values out: no clock, no files.
//
// Every state change is held against the daemon's transition table (link/link_state). A change
// whose "from" is not the state that the log has led to cannot follow and is told as a finding;
// what the daemon stores past the table, it stores where certain lines stand, and those are known
// here. After a gap (garbage, a file that does not follow on) nothing is held against what was
// before.

#include "ctl/log_file.h"
#include "ctl/log_texts.h"
#include "link/link_state.h"

#include <array>
#include <cstdint>
#include <span>
#include <string_view>

inline constexpr size_t STORY_LINKS_MAX = 32;
inline constexpr size_t MAC_TEXT_ROOM = 18;
inline constexpr size_t IP_TEXT_ROOM = 16;

using intf_name = std::array<char, INTF_NAME_SIZE>;

struct story_link {
    intf_name name{};
    bool known = false;  ///< whether `state` is certain
    link_state state = INIT;
    int32_t also = -1;                   ///< a state that the next "from" may name as well
    int64_t also_until = LOG_TIME_NONE;  ///< how long `also` outlives a change
    int64_t since = LOG_TIME_NONE;       ///< none: since before the log
    int64_t armed_at = LOG_TIME_NONE;    ///< when its timeout was started, if it runs
    bool losses_known = false;
    int32_t losses = 0;
    bool loop = false;                ///< parked because of a loop
    uint32_t in_vain = 0;             ///< searches since the node was last ready that found no AP
    int64_t lost_at = LOG_TIME_NONE;  ///< when it lost `lost_ap`, if that has not come back since
    int64_t told_until = LOG_TIME_NONE;  ///< up to here its spans are told, or not known
    std::array<char, MAC_TEXT_ROOM> ap{};
    std::array<char, MAC_TEXT_ROOM> lost_ap{};
    std::array<int64_t, LINK_STATE_COUNT> seconds{};
    std::array<uint32_t, LINK_STATE_COUNT> entered{};
};

/// Whether a number in a log is that of a state.
inline bool state_exists(int32_t number) {
    return link_state_name(number)[0] != '-';
}

/// Ready: the node has a configured uplink.
constexpr bool state_is_ready(link_state state) {
    return state == BACKHAUL_READY || state == ETH_BACKHAUL_READY;
}

enum class outage_cause : uint8_t {
    unknown,
    ap_lost,  ///< the driver reported the loss
    unseen,   ///< found without its AP; no event told
    cable_lost,
    better_ap,  ///< a move to a better AP
    loop,
    crash,
    ended,     ///< the worker ended by itself
    restarted  ///< killed quietly, or the node was without power
};

struct outage {
    int64_t begin = LOG_TIME_NONE;
    int64_t end = LOG_TIME_NONE;   ///< none: still out where the log ends
    int64_t last = LOG_TIME_NONE;  ///< the log's last moment that belongs to it
    outage_cause cause = outage_cause::unknown;
    int32_t signal = 0;  ///< of a crash
    intf_name interface {};
    std::array<char, MAC_TEXT_ROOM> ap{};
    intf_name end_interface{};
    uint32_t timeouts = 0;  ///< stations that found no AP
    uint32_t parkings = 0;
    uint32_t loops = 0;
    uint32_t refusals = 0;  ///< of the supplicant
    uint32_t agent_waits = 0;
    uint32_t unconfigured = 0;
    uint32_t crashes = 0;
};

/// Length in seconds, up to the log's end if it is not over.
int64_t outage_seconds(const outage& one);
/// A sentence about cause and course, cut to fit.
void outage_words(const outage& one, std::span<char> out);
const char* outage_cause_name(outage_cause cause);

enum class finding_kind : uint8_t {
    cannot_follow,  ///< "from" is not the state that the log has led to
    no_such_state,  ///< a number that no state has
    dropped         ///< not in the table: the daemon logs it and does nothing
};

struct finding {
    finding_kind kind;
    int64_t time;
    std::string_view line;
    const story_link* link;
    int32_t expected;
    int32_t from;
    int32_t to;
};

/// A sentence about a finding, cut to fit.
void finding_words(const finding& one, std::span<char> out);

struct error_run {
    uint32_t total = 0;
    uint32_t burst = 0;  ///< in the last series without a pause of more than five minutes
    int64_t burst_first = LOG_TIME_NONE;
    int64_t last = LOG_TIME_NONE;
};

/// Who is told while a story goes on.
class story_listener {
public:
    /// `link` was in `state` from `begin` (or since before, which the log does not tell) to `end`.
    /// Only the last of a log may have no length.
    virtual void span_ended(const story_link& /*link*/, link_state /*state*/, int64_t /*begin*/,
                            int64_t /*end*/) {}
    virtual void outage_ended(const outage& /*one*/) {}
    virtual void found(const finding& /*one*/) {}

protected:
    ~story_listener() = default;
};

struct story_counts {
    uint64_t entries = 0;
    uint64_t garbage = 0;
    uint64_t unknown = 0;
    uint32_t gaps = 0;
    uint32_t starts = 0;
    uint32_t ends = 0;
    uint32_t crashes = 0;
    uint32_t changes = 0;
    uint32_t dropped = 0;
    uint32_t impossible = 0;
    uint32_t outages = 0;
    int64_t outage_seconds = 0;
    int64_t outage_longest = 0;
    uint32_t timeouts = 0;
    uint32_t parkings = 0;
    uint32_t loops = 0;
    uint32_t associations = 0;
    uint32_t losses = 0;
    uint32_t backups = 0;
    uint32_t scans = 0;
    uint32_t moves = 0;
    uint32_t moves_done = 0;
    uint32_t moves_failed = 0;
    uint32_t client_joins = 0;
    uint32_t client_leaves = 0;
    uint32_t cable_in = 0;
    uint32_t cable_out = 0;
    uint32_t channel_changes = 0;
    uint32_t radar_off = 0;
    uint32_t messages = 0;
    uint32_t errors = 0;
};

/// What the log says about the whole node, as of its last entry.
struct story_node {
    int64_t first = LOG_TIME_NONE;
    int64_t last = LOG_TIME_NONE;
    int64_t worker_since = LOG_TIME_NONE;
    int64_t ready_after = LOG_TIME_NONE;  ///< seconds from the first start to the first ready
    bool is_extender = false;
    int32_t crash_signal = 0;
    std::array<char, 24> led{};
    int32_t hops = -1;
    intf_name backup{};
    std::array<char, IP_TEXT_ROOM> root{};  ///< who admitted this node
    int64_t root_heard = LOG_TIME_NONE;
    bool root_admitted = false;             ///< what was heard is that it admitted this node
    int64_t message_heard = LOG_TIME_NONE;  ///< from any other node
    int64_t no_uplink_since = LOG_TIME_NONE;
};

class story {
public:
    explicit story(story_listener& listener) : listener_(listener) {}
    story(const story&) = delete;
    story& operator=(const story&) = delete;

    void feed(const log_entry& entry, const log_event& event);
    /// Lines are missing here.
    void gap();
    void garbage();
    /// Ends the spans and the outage that are still open, at the last entry's time.
    void finish();
    /// The address that is known to be the root's: messages from it count as heard from the root.
    void root_set(std::string_view ip);

    /// An interface that the node has, whatever the log says about it.
    void interface_add(std::string_view name) {
        link_get(name);
    }

    const story_node& node() const {
        return node_;
    }
    const story_counts& counts() const {
        return counts_;
    }
    std::span<const story_link> links() const {
        return {links_.data(), link_count_};
    }
    const story_link* link_find(std::string_view name) const;
    /// The outage that goes on, or null.
    const outage* outage_now() const {
        return out_ ? &outage_ : nullptr;
    }
    const outage* outage_last() const {
        return counts_.outages > 0 ? &outage_before_ : nullptr;
    }
    const error_run& error(size_t text) const {
        return errors_[text];
    }

private:
    bool is_unready() const {
        return out_ || !ever_ready_;
    }

    struct sign {
        outage_cause cause = outage_cause::unknown;
        int64_t time = LOG_TIME_NONE;
        intf_name interface {};
        std::array<char, MAC_TEXT_ROOM> ap{};
        int32_t signal = 0;
    };

    story_link* link_get(std::string_view name);
    story_link* dispatched_link();
    void sign_set(outage_cause cause, std::string_view interface);
    void ap_lost(std::string_view interface, std::string_view ap);
    void wire_lost();
    void parked_release();
    void life_feed(const log_event& event);
    void driver_feed(const log_event& event);
    void backup_feed(const log_event& event);
    void radar_feed(const log_event& event);
    void count_feed(const log_event& event);
    void losses_feed(const log_event& event);
    void message_feed(const log_event& event);
    void error_feed(const log_event& event);
    void dispatched(const log_event& event);
    void state_changed(const log_entry& entry, const log_event& event);
    void worker_started();
    void state_store(story_link& link, link_state state);
    void state_set(story_link& link, link_state state);
    void span_end(story_link& link);
    void ready_check();
    void outage_begin();
    void outage_end(const story_link* link);
    void tell(finding_kind kind, const log_entry& entry, const log_event& event,
              const story_link& link);

    story_listener& listener_;
    story_node node_;
    story_counts counts_;
    std::array<story_link, STORY_LINKS_MAX> links_{};
    size_t link_count_ = 0;
    std::array<error_run, LOG_TEXTS.size()> errors_{};
    int64_t now_ = LOG_TIME_NONE;
    bool life_known_ = false;  ///< nothing is missing since the worker's start
    bool in_gap_ = false;
    bool was_ready_ = false;
    bool ever_ready_ = false;
    bool out_ = false;
    outage outage_;
    outage outage_before_;
    sign sign_;
    intf_name dispatched_{};
    std::array<char, MAC_TEXT_ROOM> mac_{};
    bool crashed_ = false;
    bool ended_ = false;
};
