#include "ctl/status.h"

#include "ctl/logs.h"
#include "ctl/story_visitor.h"
#include "ctl/text.h"
#include "device/hop_distance.h"
#include "intake/root_announce.h"
#include "intf/intf_profile.h"
#include "intf/intf_table.h"
#include "link/backhaul_status.h"
#include "link/backhaul_type.h"
#include "root/ap_list.h"
#include "runtime/file_io.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cstring>

namespace {

/// An error series is told when it has this many lines.
constexpr uint32_t REPEATS = 3;
constexpr char NEIGHBOURS_PATH[] = "/proc/net/arp";

void line_read(const char* root, const char* path, status_word& out) {
    const File file(path_below(root, path).data(), "r");
    if (file) {
        file_next_line(file.get(), out);
    }
}

int32_t lines_count(const char* root, const char* path) {
    const File file(path_below(root, path).data(), "r");
    if (!file) {
        return -1;
    }
    std::array<char, 128> line{};
    int32_t count = 0;
    while (file_next_line(file.get(), line)) {
        count += line[0] != '\0' ? 1 : 0;
    }
    return count;
}

void profile_read(const char* root, status_view& view) {
    const File file(path_below(root, INTF_PROFILE_PATH).data(), "r");
    std::array<char, 1024> text{};
    intf_profile_line line;
    while (file && file_next_line(file.get(), text)) {
        intf_profile_line_scan(text.data(), line);
        const intf_type type = intf_type_code(line.type.data());
        if ((type == BACKHAUL_STA || type == ETHERNET) &&
            view.interface_count < view.interfaces.size()) {
            view.stations[view.interface_count] = type == BACKHAUL_STA;
            view.interfaces[view.interface_count++] = line.name;
        }
    }
}

/// Whether the kernel knows the neighbour's hardware address: lines of "IP type flags ...".
neighbour_state neighbour_read(const char* root, const char* ip) {
    const File file(path_below(root, NEIGHBOURS_PATH).data(), "r");
    std::array<char, 256> line{};
    while (file && ip[0] != '\0' && file_next_line(file.get(), line)) {
        std::array<char, 64> address{};
        unsigned flags = 0;
        if (std::sscanf(line.data(), "%63s %*s %x", address.data(), &flags) == 2 &&
            std::strcmp(address.data(), ip) == 0) {
            return (flags & 2U) != 0 ? neighbour_state::answers : neighbour_state::silent;
        }
    }
    return neighbour_state::unknown;
}

class status_teller final : public story_visitor {
public:
    status_teller(const ctl_options& options, status_view& view) : options_(options), view_(view) {}

    void node_begin(const log_source& first) override {
        story_visitor::node_begin(first);
        if (view_.root_ip[0] != '\0') {
            told_mutable().root_set(view_.root_ip.data());
        }
    }
    void node_over(const log_source& /*last*/) override {
        if (told().node().is_extender || !told().links().empty()) {
            for (size_t i = 0; i < view_.interface_count; ++i) {
                told_mutable().interface_add(view_.interfaces[i].data());
            }
        }
        view_.told = &told();
        good_ = now_find();
        if (!good_) {
            return;
        }
        status_error_find(view_);
        if (options_.json) {
            json_writer json(options_.out);
            status_json_print(view_, json);
            json.line_end();
        } else {
            status_text_print(view_, options_.out);
        }
    }

    /// False when the time that was given is none, or is before the log's end.
    bool good() const {
        return good_;
    }

private:
    bool now_find() {
        const int64_t last = told().node().last;
        // Of a node's files elsewhere the last entry is the present.
        const bool is_here = options_.root[0] == '\0' || last == LOG_TIME_NONE;
        view_.now = is_here ? log_now() : last;
        view_.now_is_log_end = !is_here && options_.now == nullptr;
        if (options_.now == nullptr) {
            return true;
        }
        if (!log_time_parse(options_.now, view_.now, view_.now)) {
            std::fprintf(stderr,
                         "backhaulctl: --now: %s is no time: \"2023-11-14 22:13:20\", or "
                         "\"22:13:20\" of the log's last day (backhaulctl status --help)\n",
                         options_.now);
            return false;
        }
        if (last != LOG_TIME_NONE && view_.now < last) {
            std::fprintf(stderr,
                         "backhaulctl: --now: %s is before the log's end, %s "
                         "(backhaulctl status --help)\n",
                         log_time_text(view_.now).data(), log_time_text(last).data());
            return false;
        }
        return true;
    }

    const ctl_options& options_;
    status_view& view_;
    bool good_ = true;
};

/// `clear`: what is on the screen goes, if there is something to show in its place.
int status_once(const ctl_options& options, bool clear) {
    status_view view;
    log_set logs;
    if (!logs_open(options, 0, logs)) {
        return EXIT_UNREADABLE;
    }
    if (clear) {
        std::fputs("\033[H\033[2J", options.out);
    }
    status_files_read(options.root, view);
    status_teller teller(options, view);
    logs.read(teller);
    return teller.good() ? output_end(options, EXIT_GOOD) : EXIT_USAGE;
}

}  // namespace

void status_files_read(const char* root, status_view& view) {
    line_read(root, BACKHAUL_STATUS_PATH, view.status);
    line_read(root, BACKHAUL_TYPE_PATH, view.type);
    line_read(root, ROOT_DISTANCE_PATH, view.distance);
    line_read(root, ROOTAP_IP_PATH, view.root_ip);
    struct stat written {};
    if (stat(path_below(root, ROOTAP_IP_PATH).data(), &written) == 0) {
        view.root_ip_since = log_time_of(written.st_mtime);
    }
    view.root_neighbour = neighbour_read(root, view.root_ip.data());
    view.extenders = lines_count(root, AP_LIST_PATH);
    view.daemons = daemons_find(root);
    profile_read(root, view);
}

void status_error_find(status_view& view) {
    const story_link* const uplink = status_uplink(*view.told);
    const bool is_ready = uplink != nullptr && state_is_ready(uplink->state);
    for (size_t i = 0; i < LOG_TEXTS.size(); ++i) {
        const error_run& run = view.told->error(i);
        // To be asked a second time is what the agent needs at every association.
        const bool is_usual = is_ready && LOG_TEXTS[i].kind == log_kind::configured_late;
        if (run.burst < REPEATS || is_usual) {
            continue;
        }
        const bool is_later = !view.has_error || run.last >= view.told->error(view.error).last;
        view.error = is_later ? i : view.error;
        view.has_error = true;
    }
}

int command_status(const ctl_options& options) {
    if (!options.watch) {
        return status_once(options, false);
    }
    const bool on_terminal = isatty(fileno(options.out)) == 1;
    ctl_options again = options;
    for (;;) {
        const int code = status_once(again, on_terminal && !options.json);
        // Whoever reads has gone: there is nothing more to show. A person waits for a log to come.
        if (code == EXIT_USAGE || std::ferror(options.out) != 0 ||
            (code == EXIT_UNREADABLE && !on_terminal)) {
            return code;
        }
        again.quiet = code == EXIT_UNREADABLE;
        sleep(static_cast<unsigned>(options.interval));
    }
}
