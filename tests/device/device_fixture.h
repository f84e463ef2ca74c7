#pragma once

// Fixture of the tests of the acting device operations: a sandbox with an interface table of its
// own, and the journal, in which shell lines and flow-log entries stand in the order in which they
// came.

#include "intf/intf_record.h"
#include "tests/harness/sandbox.h"

#include <array>
#include <cstdint>
#include <string>
#include <vector>

class DeviceTest : public harness::SandboxTest {
protected:
    /// Starts with an empty table, the options' defaults and the clock at START_TIME, on which a
    /// sleep of the code under test moves on by itself.
    void SetUp() override;
    void TearDown() override;

    /// Appends an interface to the table.
    intf_record* intf_add(const char* name, int32_t type, uint8_t band, uint8_t follow_primary = 0);

    /// Stores "wireless.`key`" ("ath0.ssid").
    void uci_put(const std::string& key, const std::string& value);
    std::string uci_value(const std::string& key);

    static constexpr uint32_t START_TIME = 1000000;

private:
    std::array<intf_record, 12> table_;
};

/// What happened so far, oldest first: "$ LINE" for each shell line, the text without its date for
/// each flow-log entry.
std::vector<std::string> journal();

/// The shell lines of one wireless apply, in a journal.
inline constexpr char APPLY[] = "$ /etc/init.d/wireless restart";
inline constexpr char COMMIT[] = "$ uci commit wireless";

/// A process id of this sandbox that lives, and one that no process has.
unsigned pid_alive();
unsigned pid_gone();
