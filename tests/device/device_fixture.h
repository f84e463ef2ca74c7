#pragma once

// Fixture of the tests of the acting device operations: a sandbox with an interface table of its
// own, and the journal of everything that happened since the test began.

#include "tests/harness/table_fixture.h"

#include <string>

class DeviceTest : public harness::TableTest {
protected:
    /// Starts with the device layer's own memory as a new worker has it.
    void SetUp() override;

    /// Appends an interface to the table.
    intf_record* intf_add(const char* name, int32_t type, uint8_t band, uint8_t follow_primary = 0);

    /// Committed value of "wireless.`key`".
    static std::string uci_value(const std::string& key);
};

/// What happened so far, oldest first: "$ LINE" for each shell line, the text without its date for
/// each flow-log entry.
harness::Journal journal();

/// The shell lines of one wireless apply, in a journal.
inline constexpr char APPLY[] = "$ /etc/init.d/wireless restart";
inline constexpr char COMMIT[] = "$ uci commit wireless";

/// A process id of this sandbox that lives, and one that no process has.
unsigned pid_alive();
unsigned pid_gone();
