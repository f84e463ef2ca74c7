#include "tests/fuzz/lives/steps.h"

#include <arpa/inet.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <utility>

#include "device/autoconfig_table.h"
#include "runtime/runtime_block.h"
#include "tests/fuzz/lives/driver_bytes.h"
#include "tests/fuzz/lives/life.h"

namespace lives {
namespace {

constexpr size_t STEPS_MAX = 160;
constexpr int64_t SECONDS_MAX = 2700;  // one step's
constexpr unsigned PASS_MINUTES = 41;
constexpr unsigned ACCESS_POINTS = 16;
constexpr unsigned TOOL_SECONDS_MAX = 200;

constexpr std::array FIFO_WORDS = {"master",     "slave",    "approval_list_changed", "uplink_scan",
                                   "eth_detect", "eth_lost", "network_reload",        "nonsense"};
constexpr std::array MESSAGE_WORDS = {
    "FLUSHFORWARDING",   "UPLINKSCAN", "NETWORKRELOAD", "CHECK_VALID",
    "CHECK_VALID_REPLY", "ImRootAP",   "nonsense",      ""};
constexpr std::array OPTIONS = {"ssid", "WPAPSKkey", "auth", "disabled"};
// Files that others write.
constexpr std::array FILES = {"/tmp/ApplicationData/Approvelist",
                              "/tmp/assoc_list.5g",
                              "/tmp/assoc_list.24g",
                              "/tmp/FirstMAC",
                              "/tmp/backhaul_ap_list",
                              "/tmp/wifi24G_Status",
                              "/tmp/wifi5G_Status",
                              "/var/run/wpa_supplicant-global.pid",
                              "/tmp/netprobe.db",
                              "/tmp/wifi_if_profile",
                              "/tmp/wpa_result",
                              "/tmp/nol_list",
                              "/tmp/backhaul_mode_change",
                              "/var/log/backhaul_flow_log.1"};
constexpr std::array SEND_ERRORS = {0, ENETUNREACH, ENODEV, EPERM, EACCES};
constexpr std::array PROFILES = {
    "",  // the whole one stays
    "ath0 BACKHAUL_STA 5h 200 0\nath10 MAIN_SERVICE_AP 2 0 0\neth ETHERNET 0 0 0\n",
    "ath0 BACKHAUL_STA 5 200 0\nath2 BACKHAUL_STA 2 200 0\nath10 MAIN_SERVICE_AP 5 0 0\n"
    "ath20 BACKHAUL_AP 5h 0 0\n",
    "ath0 BACKHAUL_STA 5h 200 0\nath1 BACKHAUL_STA 5l 150 0\nath11 GUEST_SERVICE_AP 2 0 1\n"
    "timer AP_TIMER_INTF 0 0 0\neth ETHERNET 0 0 0\n",
};

template <typename List>
auto choice(const List& list, unsigned number) {
    return list[number % list.size()];
}

std::string interface_of(const Step& step) {
    return choice(INTERFACES, step.a);
}

unsigned interface_index(const Step& step) {
    return step.a % static_cast<unsigned>(INTERFACES.size()) + 1;
}

void driver_tells(Life& life, std::string bytes) {
    life.driver_events.push_back(std::move(bytes));
}

void station_move(Life& life, const Step& step, bool is_with, bool is_told) {
    const std::string name = interface_of(step);
    const std::string mac = is_with ? access_point_mac(step.b % ACCESS_POINTS) : std::string();
    life.around.associated[name] = mac;
    if (is_told) {
        driver_tells(life, driver_ap_event(interface_index(step), mac));
    }
}

uint32_t node_ip(unsigned number) {
    return htonl(0xC0A80002 + number % 8);
}

void message_put(Life& life, const Step& step, std::string bytes, uint16_t port) {
    life.datagrams[port].push_back({std::move(bytes), node_ip(step.a)});
}

std::string message_word(Life& life, const Step& step) {
    return encipher(life.around.options["ath20.ssid"], choice(MESSAGE_WORDS, step.b));
}

void device_put(Life& life, const Step& step) {
    constexpr unsigned NODES = 8;
    const unsigned number = step.a % NODES;
    DeviceRow row{.almac = node_mac(number), .name = step.text};
    if (step.a >= 128) {
        row.almac = step.text;  // whatever the prober was told
    }
    const uint32_t ip = node_ip(number);
    std::array<char, INET_ADDRSTRLEN> ip_text{};
    inet_ntop(AF_INET, &ip, ip_text.data(), ip_text.size());
    row.ip = ip_text.data();
    if ((step.b & 1U) != 0) {
        row.alive = (step.b & 2U) != 0 ? "1" : "0";
    }
    if ((step.b & 4U) != 0) {
        row.not_alive = std::to_string(step.b >> 4U);
    }
    auto& rows = life.around.devices;
    std::erase_if(rows, [&](const DeviceRow& old) { return old.ip == row.ip; });
    if ((step.b & 8U) == 0) {
        rows.push_back(row);
    }
}

void link_put(Life& life, const Step& step) {
    const std::string almac = node_mac(step.a % 16);
    auto& rows = life.around.links;
    std::erase_if(rows, [&](const LinkRow& old) { return old.almac == almac; });
    rows.push_back({.mac = access_point_mac(step.a % ACCESS_POINTS),
                    .almac = almac,
                    .ap_almac = step.b == 255 ? std::nullopt : std::optional(node_mac(step.b % 16)),
                    .status = step.b / 16});
}

void file_put(Life& life, const Step& step) {
    constexpr std::array KINDS = {FileKind::regular, FileKind::missing, FileKind::folder,
                                  FileKind::fifo, FileKind::unreadable};
    life.files.put(choice(FILES, step.a), choice(KINDS, step.b), step.text);
}

void agent_configures(Life& life, const Step& /*step*/) {
    for (const char* const path : AUTOCONFIG_FILES) {
        life.files.put(path, FileKind::regular);
    }
}

void refuse_from_now(Life& life, const Step& step) {
    const unsigned bits = step.a;
    life.files.is_full = (bits & 1U) != 0;
    life.around.descriptors_refused = (bits & 2U) != 0;
    life.around.memory_refused = (bits & 4U) != 0;
    life.around.threads_refused = (bits & 8U) != 0;
}

void profile_put(Life& life, const Step& step) {
    std::string content = choice(PROFILES, step.a);
    if (content.empty()) {
        content = life.files.text("/tmp/wifi_if_profile");
    }
    life.files.put("/tmp/wifi_if_profile", FileKind::regular, content + step.text);
}

void options_put(Life& life, const Step& step) {
    life.around.max_disconnect = step.a;
    life.around.backhaul_ap_enable = (step.b & 1U) != 0;
    life.around.intf_init = (step.b & 2U) == 0;
    life.around.ready_decay = static_cast<uint8_t>(step.b >> 4U);
}

ToolMood& tool_mood(Life& life, const Step& step) {
    return life.around.tools[step.a % life.around.tools.size()];
}

enum class StepSide : uint8_t {
    surroundings,  // the worker meets it when it asks
    event,         // it comes in to the worker that runs
};

struct StepRow {
    const char* words;  // {i} interface a, {a}, {b}, {t} the text
    bool has_text;
    StepSide side;
    void (*act)(Life& life, const Step& step);
};

constexpr StepSide AROUND = StepSide::surroundings;
constexpr StepSide EVENT = StepSide::event;

// In the order of StepKind.
constexpr std::array<StepRow, static_cast<size_t>(StepKind::count)> STEPS = {{
    {"{a} s and {b} min pass", false, EVENT,
     [](Life& life, const Step& step) {
         life.pass(std::min<int64_t>(step.a + 60 * (step.b % PASS_MINUTES), SECONDS_MAX));
     }},
    {"driver: {i} is with access point {b}", false, EVENT,
     [](Life& life, const Step& step) {
         station_move(life, step, true, true);
     }},
    {"driver: {i} has lost its access point", false, EVENT,
     [](Life& life, const Step& step) {
         station_move(life, step, false, true);
     }},
    {"{i} is with access point {b}, the driver says nothing", false, AROUND,
     [](Life& life, const Step& step) {
         station_move(life, step, true, false);
     }},
    {"{i} has lost its access point, the driver says nothing", false, AROUND,
     [](Life& life, const Step& step) {
         station_move(life, step, false, false);
     }},
    {"driver: a client of {i}, event {b}", false, EVENT,
     [](Life& life, const Step& step) {
         driver_tells(life, driver_client_event(interface_index(step), step.b));
     }},
    {"driver: {i} is on channel {b}", false, EVENT,
     [](Life& life, const Step& step) {
         driver_tells(life, driver_channel_event(interface_index(step), step.b));
     }},
    {"driver: bytes {t}", true, EVENT,
     [](Life& life, const Step& step) {
         driver_tells(life, step.text);
     }},
    {"driver: too many events", false, EVENT,
     [](Life& life, const Step& /*step*/) {
         life.driver_overrun = true;
     }},
    {"FIFO: word {a}", false, EVENT,
     [](Life& life, const Step& step) {
         life.fifo_words += std::string(choice(FIFO_WORDS, step.a)) + "\n";
     }},
    {"FIFO: {t}", true, EVENT,
     [](Life& life, const Step& step) {
         life.fifo_words += step.text;
     }},
    {"node {a} sends word {b}", false, EVENT,
     [](Life& life, const Step& step) {
         message_put(life, step, message_word(life, step), BACKHAUL_MSG_PORT);
     }},
    {"node {a} sends bytes {t}", true, EVENT,
     [](Life& life, const Step& step) {
         message_put(life, step, step.text, BACKHAUL_MSG_PORT);
     }},
    {"node {a} sends word {b} to the announcements", false, EVENT,
     [](Life& life, const Step& step) {
         message_put(life, step, message_word(life, step), ROOT_ANNOUNCE_PORT);
     }},
    {"tool {a} will answer: {t}", true, AROUND,
     [](Life& life, const Step& step) {
         tool_mood(life, step).answers.push_back(step.text);
     }},
    {"tool {a} will take {b} s", false, AROUND,
     [](Life& life, const Step& step) {
         tool_mood(life, step).seconds = step.b % TOOL_SECONDS_MAX;
     }},
    {"option {b} of {i} is: {t}", true, AROUND,
     [](Life& life, const Step& step) {
         life.around.options[interface_of(step) + "." + choice(OPTIONS, step.b)] = step.text;
     }},
    {"file {a} (kind {b}) holds: {t}", true, AROUND, file_put},
    {"the agent has configured the access points", false, AROUND, agent_configures},
    {"database: device {a}, alive {b}, name: {t}", true, AROUND, device_put},
    {"database: node {a} is below {b}", false, AROUND, link_put},
    {"database: fails if odd, {a}", false, AROUND,
     [](Life& life, const Step& step) {
         life.around.database_fails = step.a % 2 != 0;
     }},
    {"bridge: has an address if odd, {a}", false, AROUND,
     [](Life& life, const Step& step) {
         life.around.bridge_has_address = step.a % 2 != 0;
     }},
    {"sends end with error {a}", false, AROUND,
     [](Life& life, const Step& step) {
         life.around.send_error = choice(SEND_ERRORS, step.a);
     }},
    {"refused from now on: {a}", false, AROUND, refuse_from_now},
    {"another thread comes first after {a} commands", false, AROUND,
     [](Life& life, const Step& step) {
         life.around.preempt_after = step.a;
     }},
    {"the wall clock moves: {a} - 128 h, {b} s", false, AROUND,
     [](Life& life, const Step& step) {
         life.clock_moves((step.a - 128) * 3600 + step.b);
     }},
    {"radar: channels {a}, blocked {b}", false, AROUND,
     [](Life& life, const Step& step) {
         life.around.channels = step.a;
         life.around.blocked = step.b;
     }},
    {"the worker is killed", false, EVENT,
     [](Life& life, const Step& /*step*/) {
         life.worker_drop();
     }},
    {"the next worker's options: {a} losses, {b}", false, AROUND, options_put},
    {"profile {a}: {t}", true, AROUND, profile_put},
}};

void replace(std::string& text, const std::string& what, const std::string& with) {
    const size_t at = text.find(what);
    if (at != std::string::npos) {
        text.replace(at, what.size(), with);
    }
}

std::string printable(const std::string& text) {
    static constexpr char DIGITS[] = "0123456789abcdef";
    std::string out = "\"";
    for (const char c : text) {
        const auto byte = static_cast<uint8_t>(c);
        if (byte < 0x20 || byte >= 0x7f) {
            out += {'\\', 'x', DIGITS[byte >> 4U], DIGITS[byte & 0xFU]};
        } else {
            out += c;
        }
    }
    return out + "\"";
}

}  // namespace

std::vector<Step> steps_read(std::span<const uint8_t> bytes) {
    std::vector<Step> steps;
    const auto take = [&bytes]() -> uint8_t {
        if (bytes.empty()) {
            return 0;
        }
        const uint8_t byte = bytes.front();
        bytes = bytes.subspan(1);
        return byte;
    };
    while (!bytes.empty() && steps.size() < STEPS_MAX) {
        Step step;
        step.kind = static_cast<StepKind>(take() % static_cast<uint8_t>(StepKind::count));
        step.a = take();
        step.b = take();
        if (STEPS[static_cast<size_t>(step.kind)].has_text) {
            const size_t length = std::min<size_t>(take(), bytes.size());
            step.text.assign(bytes.begin(), bytes.begin() + static_cast<ptrdiff_t>(length));
            bytes = bytes.subspan(length);
        }
        steps.push_back(std::move(step));
    }
    return steps;
}

std::string steps_write(const std::vector<Step>& steps) {
    std::string bytes;
    for (const Step& step : steps) {
        bytes +=
            {static_cast<char>(step.kind), static_cast<char>(step.a), static_cast<char>(step.b)};
        if (STEPS[static_cast<size_t>(step.kind)].has_text) {
            bytes += static_cast<char>(step.text.size());
            bytes += step.text;
        }
    }
    return bytes;
}

std::string step_text(const Step& step) {
    std::string words = STEPS[static_cast<size_t>(step.kind)].words;
    replace(words, "{i}", interface_of(step));
    replace(words, "{a}", std::to_string(step.a));
    replace(words, "{b}", std::to_string(step.b));
    replace(words, "{t}", printable(step.text));
    return words;
}

bool step_run(Life& life, const Step& step) {
    const StepRow& row = STEPS[static_cast<size_t>(step.kind)];
    life.tell("* " + step_text(step));
    if (row.side == StepSide::surroundings) {
        row.act(life, step);
        return true;
    }
    life.worker_require();
    if (!life.settle()) {
        return false;
    }
    row.act(life, step);
    return life.settle();
}

}  // namespace lives
