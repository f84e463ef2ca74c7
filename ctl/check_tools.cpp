// The programs that the daemon calls: whether they are there, and what those answer that can be
// asked without changing anything.

#include "ctl/check.h"
#include "ctl/logs.h"
#include "ctl/text.h"
#include "ctl/tool_answer.h"
#include "ctl/tool_ask.h"
#include "runtime/file_io.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string_view>

namespace {

struct tool_row {
    const char* name;
    bool stops;
    const char* then;
};

constexpr std::array PATH_TOOLS = {
    tool_row{"uci", true, "no configuration is read or written"},
    tool_row{"wpa_cli", true, "no station is ever attached to the supplicant"},
    tool_row{"iwconfig", true, "no association is seen, no SSID set"},
    tool_row{"iwpriv", true, "no hops, no scans, no clients sent away"},
    tool_row{"ifconfig", true, "a lost station is not started anew"},
    tool_row{"openssl", true, "no message between nodes is sent or understood"},
    tool_row{"hyctl", true, "broadcasts do not pass over the backhaul"},
    tool_row{"ps", true, "hyd is restarted at each look"},
    tool_row{"grep", true, "every association counts as there, hyd as gone"},
    tool_row{"wifi", false, "interfaces that vanish are not brought up again"},
    tool_row{"radartool", false, "channels under radar are not known"},
    tool_row{"wifisys_tool", false, "the visitor network is not looked at"},
    tool_row{"wifi_channel_monitor", false, "channel changes are not passed on"},
    tool_row{"vl1905App", false, "clients that moved are not dropped elsewhere"},
    tool_row{"vlog", false, "joins and leaves are not in the system log"},
};

constexpr std::array FIXED_TOOLS = {
    tool_row{"/bin/sh", true, "no command runs"},
    tool_row{"/usr/sbin/vl1905App", true, "the service APs are never configured: never ready"},
    tool_row{"/etc/init.d/wireless", true, "no interface is ever switched on or off"},
    tool_row{"/etc/init.d/qca-wpa-supplicant", true, "the supplicant is never started"},
    tool_row{"/etc/init.d/hyd", true, "hyd is never restarted"},
    tool_row{"/sbin/velmor_led_ctrl", false, "the LED stays as it is"},
};

constexpr std::array<const char*, 6> SUPPLICANT_PLACES = {
    "/usr/sbin/wpa_supplicant",       "/sbin/wpa_supplicant", "/usr/bin/wpa_supplicant",
    "/usr/local/sbin/wpa_supplicant", "/usr/sbin/wpad",       "/bin/wpa_supplicant"};
/// The driver that interface_add names, as a text of its own in the program.
constexpr std::string_view SUPPLICANT_DRIVER{"\0athr\0", 6};
constexpr char DEFAULT_PATH[] = "/usr/sbin:/usr/bin:/sbin:/bin";

bool is_program(const char* root, const char* path) {
    struct stat status {};
    return stat(path_below(root, path).data(), &status) == 0 && S_ISREG(status.st_mode) &&
           (status.st_mode & S_IXUSR) != 0;
}

/// The program's place, below the root; empty when PATH does not lead to it.
std::array<char, LOG_PATH_SIZE> path_find(const char* root, const char* name) {
    const char* const own = std::getenv("PATH");
    std::string_view rest = root[0] == '\0' && own != nullptr ? own : DEFAULT_PATH;
    while (!rest.empty()) {
        const std::string_view folder = text_first(rest, rest.find(':'));
        rest = text_from(rest, folder.size() + 1);
        std::array<char, LOG_PATH_SIZE> path{};
        std::snprintf(path.data(), path.size(), "%.*s/%s", text_size(folder), folder.data(), name);
        if (is_program(root, path.data())) {
            return path_below(root, path.data());
        }
    }
    return {};
}

bool on_path(const char* root, const char* name) {
    return path_find(root, name)[0] != '\0';
}

void tool_gap(gap_teller& tell, const tool_row& row, const char* where) {
    std::array<char, 120> what{};
    std::snprintf(what.data(), what.size(), "%s is not %s, or may not be run", row.name, where);
    tell.gap(row.stops ? gap_kind::stops : gap_kind::weakens, "tool", what.data(), row.then,
             "install it");
}

/// Whether the file holds the bytes; read in pieces that overlap.
bool file_holds(const char* path, std::string_view bytes) {
    const File file(path, "rb");
    static std::array<char, size_t{64} * 1024> block;
    size_t kept = 0;
    while (file) {
        const size_t got = std::fread(block.data() + kept, 1, block.size() - kept, file.get());
        const std::string_view all(block.data(), kept + got);
        if (all.find(bytes) != std::string_view::npos) {
            return true;
        }
        if (got == 0) {
            break;
        }
        kept = std::min(all.size(), bytes.size() - 1);
        std::memmove(block.data(), all.data() + all.size() - kept, kept);
    }
    return false;
}

/// A script on PATH that knows the driver's name hands stations on under another one.
bool wpa_cli_is_wrapper(const char* root) {
    const auto path = path_find(root, "wpa_cli");
    return path[0] != '\0' && file_holds(path.data(), "#!") && file_holds(path.data(), "athr");
}

void supplicant_check(const check_image& image, gap_teller& tell) {
    for (const char* const place : SUPPLICANT_PLACES) {
        if (is_program(image.root, place)) {
            if (!file_holds(path_below(image.root, place).data(), SUPPLICANT_DRIVER) &&
                !wpa_cli_is_wrapper(image.root)) {
                tell.gap(gap_kind::stops, "supplicant.driver", "the supplicant has no driver athr",
                         "interface_add answers FAIL, and is retried every second for ever",
                         "build it with the radio vendor's driver, or put the kit's "
                         "wpa_cli-wrapper before it");
            }
            return;
        }
    }
    tell.gap(gap_kind::stops, "supplicant.missing", "there is no wpa_supplicant",
             "no station ever associates", "install it");
}

class tool_asker {
public:
    tool_asker(const check_image& image, gap_teller& tell) : image_(image), tell_(tell) {}

    void ask(const tool_question& question) {
        if (question.of == ask_of::node) {
            return ask_about(question, "");
        }
        for (const check_line& one : std::span(image_.lines).first(image_.line_count)) {
            if (is_meant(question.of, one)) {
                ask_about(question, one.name.data());
            }
        }
    }

private:
    bool is_meant(ask_of of, const check_line& one) const {
        const char* const name = one.name.data();
        if (!tool_line_takes(name)) {
            return false;
        }
        switch (of) {
            case ask_of::node:
                return false;
            case ask_of::section:
                // That a section lacks it has been told already.
                return uci_option_find(image_.wireless, name, "disabled") != nullptr;
            case ask_of::station:
                return one.type == BACKHAUL_STA && is_in_kernel(name);
            case ask_of::backhaul:
                return (one.type == BACKHAUL_STA || one.type == BACKHAUL_AP) && is_in_kernel(name);
            case ask_of::attached:
                return one.type == BACKHAUL_STA && is_attached(name);
        }
        return false;
    }

    /// A station that the supplicant holds has a socket in a folder of its own.
    static bool is_attached(const char* name) {
        std::array<char, LOG_PATH_SIZE> path{};
        std::snprintf(path.data(), path.size(), "/var/run/wpa_supplicant-%s/%s", name, name);
        return access(path.data(), F_OK) == 0;
    }

    static bool is_in_kernel(const char* name) {
        std::array<char, LOG_PATH_SIZE> path{};
        std::snprintf(path.data(), path.size(), "/sys/class/net/%s", name);
        return access(path.data(), F_OK) == 0;
    }

    void ask_about(const tool_question& question, const char* name) {
        if (std::string_view(question.tool) == hangs_ || !on_path(image_.root, question.tool)) {
            return;
        }
        const tool_line line = tool_line_of(question, name);
        tool_answer answer;
        switch (tool_ask(line.data(), image_.answer_limit_ms, answer)) {
            case ask_result::hangs:
                hangs_ = question.tool;
                return gap(question, "tool.hangs", line.data(),
                           "does not end in time, and was killed");
            case ask_result::failed:
                return gap(question, "tool.answer", line.data(), "could not be run");
            case ask_result::answered:
                break;
        }
        const std::string_view text(answer.text.data(), answer.size);
        if (!question.is_good(text)) {
            const tool_excerpt said = tool_answer_excerpt(text);
            std::array<char, 200> what{};
            std::snprintf(what.data(), what.size(), "answers %s, not %s", said.data(),
                          question.expected);
            gap(question, "tool.answer", line.data(), what.data());
        }
    }

    void gap(const tool_question& question, const char* id, const char* line, const char* what) {
        std::array<char, 400> whole{};
        std::snprintf(whole.data(), whole.size(), "`%s` %s", line, what);
        tell_.gap(question.stops ? gap_kind::stops : gap_kind::weakens, id, whole.data(),
                  question.then, question.help);
    }

    const check_image& image_;
    gap_teller& tell_;
    std::string_view hangs_;  ///< the tool that was last seen to hang
};

}  // namespace

void check_tools(const check_image& image, gap_teller& tell) {
    for (const tool_row& row : PATH_TOOLS) {
        if (!on_path(image.root, row.name)) {
            tool_gap(tell, row, "on PATH");
        }
    }
    for (const tool_row& row : FIXED_TOOLS) {
        if (!is_program(image.root, row.name)) {
            tool_gap(tell, row, "there");
        }
    }
    supplicant_check(image, tell);
}

void check_answers(const check_image& image, gap_teller& tell) {
    tool_asker asker(image, tell);
    for (const tool_question& question : TOOL_QUESTIONS) {
        asker.ask(question);
    }
}
