#include "tests/harness/table_fixture.h"

#include "lab/tools/record.h"
#include "lab/tools/state_layout.h"
#include "runtime/runtime_block.h"

#include <unistd.h>

#include <cstring>

namespace harness {

namespace {

/// The runtime block as a new worker finds it; the locks stay as they are.
void runtime_fresh(std::array<intf_record, 16>& table) {
    runtime.intf_num = 0;
    runtime.intf_table = table.data();
    runtime.max_disconnect = 3;
    runtime.loop_disconnect = 10;
    runtime.ready_decay = 5;
    runtime.intf_init = true;
    runtime.backhaul_ap_enable = 0;
    runtime.master = 0;
    runtime.approval_changed = 0;
    runtime.backhaul_sta_num = 0;
    runtime.intf_init_done = 0;
    runtime.backup_backhaul_sta = nullptr;
    runtime.best_backhaul_sta = nullptr;
    runtime.eth_backhaul_active = 0;
    runtime.sta_unconfigured = 0;
    runtime.rootap_ip.set("");
    runtime.active_timer_count = 0;
    runtime.flow_log_lines = 0;
    runtime.backhaul_valid = 0;
    runtime.companion_reload = {};
    for (Relaxed<bool>& enabled : runtime.service_ap_enabled) {
        enabled = 0;
    }
}

}  // namespace

Journal journal_all() {
    // Somebody may log and run lines meanwhile: both are taken from one moment.
    std::vector<lab::LineRecord> records;
    std::string log;
    do {
        records = lab::line_records("");
        log = file_text("/var/log/backhaul_flow_log");
    } while (lab::line_records("").size() != records.size());
    Journal entries;
    size_t at = 0;
    // A shell line's record tells how long the flow log was when it started.
    const auto log_until = [&](size_t end) {
        for (const std::string& line : without_dates(log.substr(at, end - at))) {
            entries.push_back(line);
        }
        at = end;
    };
    for (const lab::LineRecord& record : records) {
        log_until(static_cast<size_t>(record.stamp.flow_log_size));
        entries.push_back("$ " + record.line);
    }
    log_until(log.size());
    return entries;
}

void TableTest::SetUp() {
    SandboxTest::SetUp();
    unlink("/var/run/wpa_supplicant-global.pid");
    runtime_fresh(table_);
    journal_taken_ = 0;
    clock_start(START_TIME);
}

void TableTest::TearDown() {
    for (int* const fd : {&runtime.netlink_fd, &runtime.fifo_fd, &runtime.msg_fd}) {
        if (*fd != -1) {
            close(*fd);
        }
        *fd = -1;
    }
    runtime.max_fd = 0;
    runtime.master = 0;
    runtime.backhaul_valid = 0;
    runtime.intf_num = 0;
    runtime.intf_table = nullptr;
    SandboxTest::TearDown();
}

intf_record* TableTest::intf_add(const char* name, int32_t type, uint8_t band, uint16_t priority,
                                 uint8_t follow_primary) {
    const auto index = static_cast<size_t>(runtime.intf_num.load());
    intf_record& record = table_.at(index);
    std::strncpy(record.name.data(), name, record.name.size() - 1);
    record.type = static_cast<intf_type>(type);
    record.band = band;
    record.priority = priority;
    record.follow_primary = follow_primary;
    record.other_band_scan_enable = 1;
    runtime.intf_num = static_cast<int32_t>(index) + 1;
    return &record;
}

void TableTest::uci_put(const std::string& key, const std::string& value) {
    ASSERT_TRUE(lab::uci_store_set("", "wireless." + key, value));
}

Journal TableTest::journal_take() {
    Journal all = journal_all();
    Journal fresh(all.begin() + static_cast<std::ptrdiff_t>(journal_taken_), all.end());
    journal_taken_ = all.size();
    return fresh;
}

void TableTest::expect_journal(std::initializer_list<Journal> parts, Where where) {
    const testing::ScopedTrace trace(where.file, where.line, "");
    EXPECT_EQ(journal_take(), joined(parts));
}

}  // namespace harness
