// The configuration store: named sections, explicit values, and texts that a shell or the
// supplicant's file would read otherwise.

#include "ctl/check.h"
#include "ctl/logs.h"
#include "ctl/text.h"
#include "intf/intf_profile.h"
#include "runtime/file_io.h"
#include "runtime/heap.h"

#include <algorithm>
#include <cstring>
#include <string_view>

namespace {

constexpr char WIRELESS_PATH[] = "/etc/config/wireless";
constexpr char HYD_PATH[] = "/etc/config/hyd";
constexpr std::string_view HYD_SECTION = "config";
constexpr std::string_view MESSAGE_AP = "ath20";
constexpr std::array<std::string_view, 3> COMPANIONS = {"ath22", "ath23", "ath24"};
/// Files of the agent that say: configuration received and applied.
constexpr std::array AGENT_RESULTS = {
    "/tmp/vl1905/vl1905WIFIState_24G",    "/tmp/vl1905/vl1905WIFIState_5G",
    "/tmp/vl1905/vl1905WIFIState_G1_24G", "/tmp/vl1905/vl1905WIFIState_G1_5G",
    "/tmp/vl1905/vl1905WIFIState_V_24G",  "/tmp/vl1905/vl1905WIFIState_V_5G"};

bool store_read(const char* root, const char* path, uci_file& store) {
    const File file(path_below(root, path).data(), "r");
    std::array<char, 1024> line{};
    while (file && file_next_line(file.get(), line)) {
        uci_line_read(line.data(), store);
    }
    return static_cast<bool>(file);
}

/// The first character that is read otherwise than it is meant; '\0' when there is none.
char strange_letter(std::string_view text) {
    for (const char c : text) {
        if (static_cast<unsigned char>(c) <= ' ' || c == 0x7f ||
            std::string_view("\"'`$\\").find(c) != std::string_view::npos) {
            return c;
        }
    }
    return '\0';
}

class store_checker {
public:
    store_checker(const check_image& image, gap_teller& tell) : image_(image), tell_(tell) {}

    void interface(const check_line& one) {
        name_ = one.name.data();
        if (one.type == ETHERNET || one.type == AP_TIMER_INTF || one.type == INTF_TYPE_OTHER) {
            return;
        }
        if (uci_section_find(image_.wireless, name_) == image_.wireless.section_count) {
            return gap(gap_kind::stops, "store.section", "has no section of its name",
                       "uci get and uci set fail: it is never configured, switched on or off",
                       "name the section after the interface: config wifi-iface 'NAME'");
        }
        disabled(one);
        words(one);
    }

    void agent_results() {
        bool answered = false;
        for (const char* const path : AGENT_RESULTS) {
            answered = answered || file_exists(path_below(image_.root, path).data());
        }
        for (const check_line& one : std::span(image_.lines).first(image_.line_count)) {
            name_ = one.name.data();
            if (answered && intf_type_is_service_ap(one.type) && one.follow == 0 &&
                value("disabled") == "1") {
                gap(gap_kind::stops, "store.agent",
                    "is disabled although the agent has applied its configuration",
                    "the daemon never sets disabled 0 on a service AP: it stays off for ever",
                    "the agent has to set disabled 0 when it applies a configuration");
            }
        }
    }

private:
    std::string_view value(std::string_view option) const {
        const char* const text = uci_option_find(image_.wireless, name_, option);
        return text == nullptr ? std::string_view{} : text;
    }

    void disabled(const check_line& one) {
        const char* const text = uci_option_find(image_.wireless, name_, "disabled");
        if (text == nullptr) {
            const bool service = intf_type_is_service_ap(one.type);
            gap(service ? gap_kind::stops : gap_kind::weakens, "store.disabled",
                "has no explicit disabled",
                service ? "the daemon takes it for switched off: it stays off for ever"
                        : "nothing tells whether it is on until the daemon first sets it",
                "write option disabled '0'");
        } else if (std::strcmp(text, "0") != 0 && std::strcmp(text, "1") != 0) {
            gap(gap_kind::stops, "store.disabled_value", "has a disabled that is neither 0 nor 1",
                "the daemon takes it for switched off", "write option disabled '0'");
        }
    }

    void words(const check_line& one) {
        const bool joins = one.type == BACKHAUL_STA;
        const bool is_message_ap = name_ == MESSAGE_AP;
        if (!joins && one.type != BACKHAUL_AP) {
            return;
        }
        if (value("ssid").empty()) {
            gap(is_message_ap ? gap_kind::stops : gap_kind::weakens, "store.ssid", "has no ssid",
                is_message_ap ? "messages of nodes have an empty pass phrase and are not understood"
                              : "the daemon waits until there is one",
                "set it");
        }
        if (joins && value("WPAPSKkey").empty()) {
            gap(gap_kind::weakens, "store.key", "has no WPAPSKkey",
                "the daemon waits until there is one", "set it");
        }
        if (joins && value("auth") != "WPA2PSK") {
            gap(gap_kind::stops, "store.auth", "has an auth that is not WPA2PSK",
                "the supplicant's file gets neither key nor closing brace", "set auth to WPA2PSK");
        }
        for (const char* const option : {"ssid", "WPAPSKkey"}) {
            letters(option, value(option));
        }
    }

    void letters(const char* option, std::string_view text) {
        const char letter = strange_letter(text);
        std::array<char, 96> what{};
        if (letter != '\0') {
            std::snprintf(what.data(), what.size(), "has a %s with a blank or control character",
                          option);
            if (letter > ' ' && letter < 0x7f) {
                std::snprintf(what.data(), what.size(), "has a %s with the character %c", option,
                              letter);
            }
            gap(gap_kind::stops, "store.letters", what.data(),
                "the shell or the supplicant's file reads it otherwise, or cuts it",
                "use letters, digits and - _ . only");
        } else if (text.size() > 64) {
            std::snprintf(what.data(), what.size(), "has a %s of more than 64 characters", option);
            gap(gap_kind::stops, "store.length", what.data(), "the daemon cuts it", "shorten it");
        }
    }

    void gap(gap_kind kind, const char* id, const char* what, const char* then, const char* help) {
        std::array<char, 200> whole{};
        std::snprintf(whole.data(), whole.size(), "wireless.%s %s", name_, what);
        tell_.gap(kind, id, whole.data(), then, help);
    }

    const check_image& image_;
    gap_teller& tell_;
    const char* name_ = "";
};

void anonymous_check(const check_image& image, gap_teller& tell) {
    const auto sections = std::span(image.wireless.sections).first(image.wireless.section_count);
    const auto count = std::ranges::count_if(sections, [](const uci_section& one) {
        return one.name[0] == '\0' && std::strcmp(one.type.data(), "wifi-iface") == 0;
    });
    if (count > 0) {
        std::array<char, 120> what{};
        std::snprintf(what.data(), what.size(), "%d anonymous wifi-iface section%s in %s",
                      static_cast<int>(count), count == 1 ? "" : "s", WIRELESS_PATH);
        tell.gap(gap_kind::stops, "store.anonymous", what.data(),
                 "the daemon asks by name: wireless.ath0.ssid, and gets nothing",
                 "give each section the interface's name");
    }
}

void companions_check(const check_image& image, gap_teller& tell) {
    const auto lines = std::span(image.lines).first(image.line_count);
    for (const std::string_view name : COMPANIONS) {
        const bool in_store = uci_section_find(image.wireless, name) < image.wireless.section_count;
        const auto* const line =
            std::ranges::find_if(lines.begin(), lines.end(), [&](const check_line& one) {
                return name == one.name.data();
            }).base();
        const bool in_profile = line != lines.data() + lines.size();
        if (!in_store) {
            std::array<char, 120> what{};
            std::snprintf(what.data(), what.size(), "wireless.%.*s has no section of its name",
                          text_size(name), name.data());
            tell.gap(gap_kind::weakens, "store.companion", what.data(),
                     "uci set and uci commit fail at each change of the approval list",
                     "add: config wifi-iface 'NAME', also where there is no such interface");
        } else if (in_profile && line->follow == 0 && intf_type_is_service_ap(line->type)) {
            std::array<char, 120> what{};
            std::snprintf(what.data(), what.size(), "the companion %.*s follows no primary AP",
                          text_size(name), name.data());
            tell.gap(gap_kind::weakens, "store.companion_follow", what.data(),
                     "the approval list does not switch it", "give it the follow flag 1");
        }
    }
}

void hyd_check(const check_image& image, gap_teller& tell) {
    auto* const hyd = heap_make<uci_file>();
    if (hyd == nullptr) {
        return;
    }
    const bool there = store_read(image.root, HYD_PATH, *hyd);
    if (!there || uci_section_find(*hyd, HYD_SECTION) == hyd->section_count) {
        tell.gap(
            gap_kind::stops, "hyd.config",
            there ? "/etc/config/hyd has no section named config" : "/etc/config/hyd is not there",
            "uci set hyd.config.Enable fails: hyd is not held back while the service APs are "
            "loaded, nor started again",
            "install it with: config hyd 'config' and option Enable '1'");
    }
    heap_drop(hyd);
}

}  // namespace

void check_store(check_image& image, gap_teller& tell) {
    image.has_store = store_read(image.root, WIRELESS_PATH, image.wireless);
    if (!image.has_store) {
        tell.gap(gap_kind::stops, "store.missing", "/etc/config/wireless is not there",
                 "the daemon finds no SSID and no key, and waits for ever",
                 "install it, or mount the store before the daemon starts");
    } else {
        store_checker checker(image, tell);
        for (const check_line& one : std::span(image.lines).first(image.line_count)) {
            checker.interface(one);
        }
        checker.agent_results();
        anonymous_check(image, tell);
        companions_check(image, tell);
    }
    hyd_check(image, tell);
}
