// Batches of the driver's socket as the daemon takes them: through the kernel's filter, down the
// walk, to what each event sets off. The same batch without the filter sets off the same.

#include <linux/filter.h>
#include <net/if.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cstring>

#include "device/channel_monitor.h"
#include "device/client_control.h"
#include "intake/netlink_filter.h"
#include "intake/netlink_intake.h"
#include "intake/netlink_walk.h"
#include "intf/intf_table.h"
#include "link/slave_event.h"
#include "radar/dfs.h"
#include "runtime/runtime_block.h"
#include "tests/fuzz/bed/input.h"
#include "tests/fuzz/bed/shell.h"

namespace {

using fuzz::require;

constexpr size_t RECORDS = 4;
/// Longest text of the log, but for an address and a number.
constexpr size_t BATCH_MAX = 8192;

std::vector<std::string> deeds;
std::array<intf_record, RECORDS> records;

/// The station in the first place waits for an AP that it was told, where a loss is ignored.
void records_make() {
    static constexpr std::array<const char*, RECORDS> NAMES = {"ath0", "ath1", "ath20", "ath10"};
    static constexpr std::array TYPES = {BACKHAUL_STA, BACKHAUL_STA, BACKHAUL_AP, MAIN_SERVICE_AP};
    for (size_t at = 0; at < RECORDS; ++at) {
        intf_record& record = records[at];
        std::snprintf(record.name.data(), record.name.size(), "%s", NAMES[at]);
        record.type = TYPES[at];
        record.bssid.set({});
        record.channel = 36;
        record.state = at == 0 ? CONNECTING_TARGET_BACKHAUL_AP : BACKHAUL_READY;
    }
    runtime.intf_table = records.data();
    runtime.intf_num = RECORDS;
}

const char* table_name(const intf_record* record) {
    require(record >= records.data() && record < records.data() + RECORDS,
            "an event is of a record of the table");
    return record->name.data();
}

}  // namespace

// What events set off, in the place of the daemon's own.

void wifi_slave_event_process(intf_record* record, slave_event event) {
    require(event == ASSOC || event == AP_DISASSOC, "the driver tells of two link events");
    require(event == ASSOC || record->state != CONNECTING_TARGET_BACKHAUL_AP,
            "a loss while the AP is changed is ignored");
    require(event != ASSOC || !bssid_is_zero(record->bssid.get()), "an AP has an address");
    deeds.push_back(std::string(table_name(record)) + (event == ASSOC ? " up " : " down ") +
                    mac_format(record->bssid.get()).data());
}

void device_kick_wifi_client(const char* device_mac, const char* station_mac) {
    require(device_mac == nullptr && std::strlen(station_mac) == MAC_TEXT_SIZE - 1,
            "a client has an address and no device");
    deeds.push_back(std::string("client ") + station_mac);
}

void wifi_channel_monitor_once() {
    deeds.emplace_back("monitor");
}

void backhaul_dfs_check(intf_record* record, uint8_t channel) {
    require(record->type == BACKHAUL_AP, "radar concerns backhaul APs");
    deeds.push_back(std::string(table_name(record)) + " channel " + std::to_string(channel));
}

/// Indices 1 to 4 are those of the table, 5 a wired interface; others have gone.
extern "C" char* __wrap_if_indextoname(unsigned index, char* name) {
    if (index == 0 || index > RECORDS + 1) {
        return nullptr;
    }
    std::snprintf(name, IF_NAMESIZE, "%s",
                  index <= RECORDS ? records[index - 1].name.data() : "eth0.1234567890");
    return name;
}

namespace {

/// A queue of datagrams in the place of the driver's, filtered by the kernel where asked for.
class Queue {
public:
    explicit Queue(bool is_filtered) {
        require(socketpair(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0, ends_.data()) == 0,
                "a pair is there");
        if (is_filtered) {
            const auto filter = netlink_filter();
            const sock_fprog program{static_cast<unsigned short>(filter.size()),
                                     const_cast<sock_filter*>(filter.data())};
            require(
                setsockopt(ends_[1], SOL_SOCKET, SO_ATTACH_FILTER, &program, sizeof program) == 0,
                "the kernel takes the filter");
        }
    }

    /// What the daemon does with the batch, deeds and log.
    std::vector<std::string> handle(const std::string& batch) const {
        records_make();
        deeds.clear();
        fuzz::shell_reset();
        require(send(ends_[0], batch.data(), batch.size(), 0) == static_cast<ssize_t>(batch.size()),
                "a batch is sent");
        runtime.netlink_fd = ends_[1];
        netlink_recv();
        std::array<char, 1> none{};
        require(recv(ends_[1], none.data(), none.size(), MSG_DONTWAIT) < 0,
                "a batch is taken at once");
        std::vector<std::string> all = deeds;
        for (const std::string& text : fuzz::shell().log) {
            require(text.back() == '\n', "a log text is one line");
            all.push_back(text);
        }
        return all;
    }

private:
    std::array<int, 2> ends_{-1, -1};
};

/// Whether a message of the batch brings wireless data: such a batch must pass.
bool has_wireless_data(const std::string& batch) {
    std::span<const uint8_t> rest(reinterpret_cast<const uint8_t*>(batch.data()), batch.size());
    netlink_message message;
    while (netlink_message_next(rest, message)) {
        link_attribute attribute;
        while (link_attribute_next(message.attributes, attribute)) {
            if (attribute.type == LINK_ATTRIBUTE_WIRELESS) {
                return true;
            }
        }
    }
    return false;
}

}  // namespace

// The name is the fuzzer engine's.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const Queue filtered(true);
    static const Queue open(false);
    const std::string batch = fuzz::Input(data, size).text(BATCH_MAX);
    const auto through_filter = filtered.handle(batch);
    const auto all = open.handle(batch);
    require(through_filter == all || !has_wireless_data(batch),
            "the filter lets in what brings wireless data");
    require(through_filter == all || through_filter.empty(), "the filter takes a batch or not");
    return 0;
}
