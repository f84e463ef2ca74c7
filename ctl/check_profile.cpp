// The interface profile, line by line, as the daemon's loader reads it.

#include "ctl/check.h"
#include "ctl/logs.h"
#include "intf/intf_profile.h"
#include "intf/intf_table.h"
#include "runtime/file_io.h"

#include <algorithm>
#include <cstring>

namespace {

/// The loader counts records in pieces of this many bytes, line ends among them.
constexpr long PIECE_SIZE_MAX = 63;

class profile_checker {
public:
    profile_checker(check_image& image, gap_teller& tell) : image_(image), tell_(tell) {}

    /// `size` is what the line takes in the file, with its end.
    void line(const char* text, long size) {
        ++number_;
        if (std::strspn(text, " \t\r") == std::strlen(text)) {
            return gap(gap_kind::weakens, "profile.blank", "is empty",
                       "the interface before it is there twice", "remove the line");
        }
        if (size > PIECE_SIZE_MAX) {
            gap(gap_kind::weakens, "profile.long", "has more than 62 characters",
                "the last interface is there twice", "shorten it");
        }
        columns(text);
        intf_profile_line_scan(text, scanned_);
        if (image_.line_count == image_.lines.size()) {
            return;
        }
        check_line& one = image_.lines[image_.line_count];
        one.name = scanned_.name;
        one.type = intf_type_code(scanned_.type.data());
        one.band = intf_band_code(scanned_.band.data());
        one.priority = scanned_.priority;
        one.follow = scanned_.follow_primary;
        fields(one);
        ++image_.line_count;
    }

private:
    void columns(const char* text) {
        std::array<char, 80> name{};
        std::array<char, 80> type{};
        std::array<char, 80> band{};
        long priority = -1;
        long follow = -1;
        const int count = std::sscanf(text, "%79s %79s %79s %ld %ld", name.data(), type.data(),
                                      band.data(), &priority, &follow);
        if (count < 5) {
            gap(gap_kind::weakens, "profile.columns", "has fewer than five columns",
                "what is missing is taken from the line before", "write all five columns");
        } else if (priority < 0 || priority > 65535 || follow < 0 || follow > 255) {
            gap(gap_kind::weakens, "profile.number", "has a number out of range",
                "it wraps: another station may be preferred", "priority 0..65535, follow 0..255");
        }
        if (std::strlen(name.data()) >= INTF_NAME_SIZE) {
            gap(gap_kind::stops, "profile.name", "has a name of more than 15 characters",
                "it is cut, and no tool knows the interface", "shorten it");
        }
    }

    void fields(const check_line& one) {
        if (one.type == INTF_TYPE_OTHER) {
            gap(gap_kind::stops, "profile.type", "has a type that is none",
                "the interface is left alone, whatever happens",
                "one of MAIN_SERVICE_AP GUEST_SERVICE_AP VISITOR_SERVICE_AP BACKHAUL_STA "
                "BACKHAUL_AP PRE_DEF_AP ETHERNET AP_TIMER_INTF");
        } else if (one.band == BAND_NONE && one.type != ETHERNET && one.type != AP_TIMER_INTF) {
            gap(gap_kind::stops, "profile.band", "has a band that is none",
                "the wireless service is never told to apply the interface", "one of 2, 5, 5l, 5h");
        }
        const auto before = std::span(image_.lines).first(image_.line_count);
        const auto twice = std::ranges::any_of(
            before, [&](const check_line& other) { return other.name == one.name; });
        if (twice) {
            gap(gap_kind::weakens, "profile.twice", "names an interface that is there already",
                "only the first one hears of events", "remove one of them");
        }
    }

    void gap(gap_kind kind, const char* id, const char* what, const char* then, const char* help) {
        std::array<char, 160> whole{};
        std::snprintf(whole.data(), whole.size(), "%s: line %d %s", INTF_PROFILE_PATH, number_,
                      what);
        tell_.gap(kind, id, whole.data(), then, help);
    }

    check_image& image_;
    gap_teller& tell_;
    intf_profile_line scanned_;
    int number_ = 0;
};

size_t type_count(const check_image& image, intf_type type) {
    const auto lines = std::span(image.lines).first(image.line_count);
    return static_cast<size_t>(
        std::ranges::count_if(lines, [&](const check_line& one) { return one.type == type; }));
}

/// Independent service APs below the upper 5 GHz radio: only these have files that are tested.
bool agent_can_answer(const check_image& image) {
    const auto lines = std::span(image.lines).first(image.line_count);
    bool any = false;
    for (const check_line& one : lines) {
        const bool independent = intf_type_is_service_ap(one.type) && one.follow == 0;
        if (independent && one.band != BAND_5G_HIGH) {
            return true;
        }
        any = any || independent;
    }
    return !any;
}

void extender_check(const check_image& image, gap_teller& tell) {
    const auto lines = std::span(image.lines).first(image.line_count);
    if (type_count(image, BACKHAUL_STA) == 0) {
        tell.gap(gap_kind::stops, "profile.station", "the profile has no BACKHAUL_STA",
                 "nothing ever connects this extender", "add its backhaul stations");
    }
    const bool has_eth = std::ranges::any_of(lines, [](const check_line& one) {
        return std::strcmp(one.name.data(), ETH_INTF_NAME) == 0;
    });
    if (!has_eth) {
        tell.gap(gap_kind::stops, "profile.eth", "the profile has no line eth",
                 "an extender's worker ends at once and is started for ever",
                 "add: eth ETHERNET 0 0 0");
    }
    if (!agent_can_answer(image)) {
        tell.gap(gap_kind::stops, "profile.service",
                 "all independent service APs are on the upper 5 GHz radio",
                 "the agent's files for it are never looked at: the node never gets ready",
                 "give a service AP on 2.4 GHz or lower 5 GHz the follow flag 0");
    }
}

}  // namespace

void check_profile(check_image& image, gap_teller& tell) {
    const File file(path_below(image.root, INTF_PROFILE_PATH).data(), "r");
    if (!file) {
        return tell.gap(gap_kind::stops, "profile.missing", "/tmp/wifi_if_profile is not there",
                        "the worker ends a second after its start, for ever",
                        "write it before the daemon starts");
    }
    profile_checker checker(image, tell);
    std::array<char, 1024> text{};
    for (long begin = 0; file_next_line(file.get(), text); begin = std::ftell(file.get())) {
        checker.line(text.data(), std::ftell(file.get()) - begin);
    }
    if (image.line_count == 0) {
        return tell.gap(gap_kind::stops, "profile.empty", "/tmp/wifi_if_profile has no interface",
                        "the worker ends a second after its start, for ever",
                        "write the node's interfaces into it");
    }
    if (!image.is_root_node) {
        extender_check(image, tell);
    }
    if (type_count(image, AP_TIMER_INTF) == 0) {
        tell.gap(gap_kind::weakens, "profile.timer", "the profile has no AP_TIMER_INTF",
                 "interfaces that vanish are not brought up again",
                 "add: timer AP_TIMER_INTF 0 0 0");
    }
}
