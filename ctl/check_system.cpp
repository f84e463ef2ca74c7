// Network, database, folders and kernel settings of an image.

#include "ctl/check.h"
#include "ctl/daemon_process.h"
#include "ctl/logs.h"
#include "ctl/text.h"
#include "runtime/descriptor.h"
#include "runtime/file_io.h"
#include "runtime/heap.h"
#include "topology/topology_db.h"

#include <net/if.h>
#include <netinet/in.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string_view>

namespace {

bool udp_port_used(const char* root, unsigned port) {
    const File file(path_below(root, "/proc/net/udp").data(), "r");
    std::array<char, 256> line{};
    while (file && file_next_line(file.get(), line)) {
        unsigned number = 0;
        if (std::sscanf(line.data(), " %*d: %*x:%x", &number) == 1 && number == port) {
            return true;
        }
    }
    return false;
}

void ports_check(const check_image& image, gap_teller& tell) {
    const int daemons = daemons_find(image.root).supervisors;
    if (daemons > 1) {
        tell.gap(gap_kind::stops, "port.second", "more than one daemon runs",
                 "the second one's worker ends each second, and has taken the FIFO of the first",
                 "end one, then send SIGUSR1 to the other's worker");
    }
    for (const unsigned port : {36003U, 36002U}) {
        if (daemons == 0 && udp_port_used(image.root, port)) {
            std::array<char, 100> what{};
            std::snprintf(what.data(), what.size(), "UDP port %u is in use by another program",
                          port);
            tell.gap(gap_kind::stops, "port.used", what.data(),
                     "the worker ends each second: bind: Address already in use",
                     "end that program, or move it to another port");
        }
    }
}

/// Routes of the bridge: one of its own network tells that it has an address.
void routes_check(const check_image& image, gap_teller& tell) {
    const File file(path_below(image.root, "/proc/net/route").data(), "r");
    std::array<char, 256> line{};
    bool has_address = false;
    bool has_default = false;
    while (file && file_next_line(file.get(), line)) {
        std::array<char, 20> name{};
        unsigned long target = 0;
        if (std::sscanf(line.data(), "%19s %lx", name.data(), &target) == 2) {
            const bool bridge = std::strcmp(name.data(), "br-lan") == 0;
            has_default = has_default || (target == 0 || target == 0xFFFFFFFFUL);
            has_address = has_address || (bridge && target != 0);
        }
    }
    if (!has_address) {
        tell.gap(gap_kind::stops, "bridge.address", "br-lan has no IPv4 address",
                 "no message reaches another node", "give the bridge an address");
    } else if (!has_default) {
        tell.gap(gap_kind::weakens, "bridge.route", "there is no default route",
                 "a send before the root is heard is retried every 2 s, and events wait",
                 "give br-lan a default route, or one to 255.255.255.255");
    }
}

/// Where the parenthesis ends that is opened first; no further than a definition is long.
size_t closing_find(std::string_view text) {
    constexpr size_t DEFINITION_MAX = 4000;
    int depth = 0;
    for (size_t at = 0; at < text.size() && at < DEFINITION_MAX; ++at) {
        depth += text[at] == '(' ? 1 : text[at] == ')' ? -1 : 0;
        if (depth == 0 && text[at] == ')') {
            return at;
        }
    }
    return 0;
}

/// What a name may stand between.
constexpr std::string_view QUOTES = "\"'`[";

/// The words of a table's definition, which the database holds as text, behind "CREATE TABLE NAME".
bool table_has(std::string_view all, const char* table, const char* column, bool& found) {
    constexpr std::string_view BEGIN = "CREATE TABLE ";
    const std::string_view name(table);
    for (size_t at = all.find(BEGIN); at != std::string_view::npos; at = all.find(BEGIN, at + 1)) {
        std::string_view rest = text_from(all, at + BEGIN.size());
        const bool quoted = !rest.empty() && QUOTES.find(rest[0]) != std::string_view::npos;
        rest.remove_prefix(quoted ? 1 : 0);
        if (!rest.starts_with(name)) {
            continue;
        }
        rest.remove_prefix(name.size());
        const size_t open = rest.find('(');
        if (open > 3) {
            continue;
        }
        found = true;
        rest = text_first(rest, closing_find(rest));
        for (size_t is = rest.find(column); is != std::string_view::npos;
             is = rest.find(column, is + 1)) {
            const char before = is == 0 ? ' ' : rest[is - 1];
            const size_t end = is + std::strlen(column);
            const char after = end < rest.size() ? rest[end] : ' ';
            const auto parts = std::string_view(" (,\"`[]\n\t)");
            if (parts.find(before) != std::string_view::npos &&
                parts.find(after) != std::string_view::npos) {
                return true;
            }
        }
    }
    return false;
}

constexpr size_t DATABASE_LOOK = size_t{256} * 1024;

void tables_check(std::string_view all, gap_teller& tell) {
    constexpr std::array<std::array<const char*, 2>, 10> COLUMNS = {{
        {"Device", "ALMac"},
        {"Device", "Alive"},
        {"Device", "nNotAlive"},
        {"Device", "DevType"},
        {"Device", "DevName"},
        {"Device", "IP"},
        {"ExtenderWiFiLink", "Mac"},
        {"ExtenderWiFiLink", "ALMac"},
        {"ExtenderWiFiLink", "AP_ALMac"},
        {"ExtenderWiFiLink", "Status"},
    }};
    for (const auto& [table, column] : COLUMNS) {
        bool found = false;
        if (table_has(all, table, column, found)) {
            continue;
        }
        std::array<char, 120> what{};
        std::snprintf(what.data(), what.size(), "/tmp/netprobe.db has no %s %s.%s",
                      found ? "column" : "table with the column", table, column);
        tell.gap(gap_kind::stops, found ? "database.column" : "database.table", what.data(),
                 "questions to the database fail: nobody is admitted, no loop is seen",
                 "let the prober write the tables of the integration page");
    }
}

struct setting_row {
    const char* path;
    int least;
    const char* then;
};

constexpr std::array SETTINGS = {
    setting_row{"/proc/sys/fs/protected_symlinks", 1,
                "who may write in /tmp leads the daemon's results into other files"},
    setting_row{"/proc/sys/fs/protected_hardlinks", 1, "the same with hard links"},
    setting_row{"/proc/sys/fs/protected_fifos", 1, "the shell can be made to wait for ever"},
    setting_row{"/proc/sys/fs/protected_regular", 1,
                "results can be read and changed by whoever made the file first"},
};

}  // namespace

/// Files do not tell it, so only the own node's is known.
void broadcast_check(const check_image& image, gap_teller& tell) {
    const Descriptor sock(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    ifreq request{};
    std::snprintf(request.ifr_name, sizeof request.ifr_name, "%s", "br-lan");
    if (image.root[0] != '\0' || !sock || ioctl(sock.get(), SIOCGIFBRDADDR, &request) < 0) {
        return;
    }
    sockaddr_in address{};
    std::memcpy(&address, &request.ifr_broadaddr, sizeof address);
    if (address.sin_addr.s_addr == 0) {
        tell.gap(gap_kind::stops, "bridge.broadcast", "br-lan has no broadcast address",
                 "announcements and messages to all nodes reach nobody, without a line in the log",
                 "ip addr add ADDRESS/BITS brd + dev br-lan");
    }
}

void check_network(const check_image& image, gap_teller& tell) {
    ports_check(image, tell);
    struct stat status {};
    if (stat(path_below(image.root, "/sys/class/net/br-lan").data(), &status) != 0) {
        return tell.gap(gap_kind::stops, "bridge.missing", "there is no bridge br-lan",
                        "no message reaches another node, and stations have no bridge to be put in",
                        "make it before the daemon starts");
    }
    routes_check(image, tell);
    broadcast_check(image, tell);
}

void check_database(const check_image& image, gap_teller& tell) {
    const File file(path_below(image.root, TOPOLOGY_DB_PATH).data(), "rb");
    if (!file) {
        return tell.gap(gap_kind::stops, "database.missing", "/tmp/netprobe.db is not there",
                        "the worker waits for it", "start the prober before the daemon");
    }
    auto* const bytes = heap_make<char>(DATABASE_LOOK);
    if (bytes == nullptr) {
        return;
    }
    const size_t size = std::fread(bytes, 1, DATABASE_LOOK, file.get());
    const std::string_view all(bytes, size);
    if (!all.starts_with("SQLite format 3")) {
        tell.gap(gap_kind::stops, "database.format", "/tmp/netprobe.db is no SQLite database",
                 "the worker waits for one", "remove it and start the prober");
    } else {
        tables_check(all, tell);
    }
    heap_drop(bytes);
}

void check_system(const check_image& image, gap_teller& tell) {
    for (const char* const folder : {"/tmp", "/var/log", "/var/run"}) {
        struct stat status {};
        const auto path = path_below(image.root, folder);
        const bool there = stat(path.data(), &status) == 0 && S_ISDIR(status.st_mode);
        std::array<char, 80> what{};
        if (!there || (status.st_mode & S_IWUSR) == 0 ||
            (image.root[0] == '\0' && access(path.data(), W_OK) != 0)) {
            std::snprintf(what.data(), what.size(), "%s cannot be written", folder);
            tell.gap(gap_kind::stops, "folder", what.data(),
                     "logs, results or the command FIFO are missing", "mount it writable");
        } else if (std::strcmp(folder, "/tmp") == 0 && (status.st_mode & S_IWOTH) != 0 &&
                   (status.st_mode & S_ISVTX) == 0) {
            tell.gap(gap_kind::weakens, "folder.sticky", "/tmp has no sticky bit",
                     "anybody may rename anything in it", "chmod 1777 /tmp");
        }
    }
    for (const setting_row& row : SETTINGS) {
        const File file(path_below(image.root, row.path).data(), "r");
        int value = 0;
        if (!file || !file_first_number(file.get(), value) || value < row.least) {
            std::array<char, 100> what{};
            std::snprintf(what.data(), what.size(), "%s is not %d", row.path, row.least);
            tell.gap(gap_kind::weakens, "kernel", what.data(), row.then, "set it at boot");
        }
    }
}
