#pragma once

// Fixture of in-process tests that need an interface table: a sandbox, records that the test adds
// one by one, the runtime block as a new worker finds it, and the journal, in which shell lines and
// flow-log entries stand in the order in which they came.

#include "intf/intf_record.h"
#include "tests/harness/operation_lines.h"
#include "tests/harness/sandbox.h"
#include "tests/harness/where.h"

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace harness {

/// What happened, oldest first: "$ LINE" for each shell line, the text without its date for each
/// flow-log entry.
using Journal = Lines;

/// The journal since the test began.
Journal journal_all();

class TableTest : public SandboxTest {
protected:
    static constexpr uint32_t START_TIME = 1000000;

    /// Starts with an empty table and the clock at START_TIME, on which a sleep of the code under
    /// test moves on by itself.
    void SetUp() override;
    void TearDown() override;

    /// Appends an interface to the table.
    intf_record* intf_add(const char* name, int32_t type, uint8_t band, uint16_t priority = 0,
                          uint8_t follow_primary = 0);

    /// Stores "wireless.`key`" ("ath0.ssid").
    static void uci_put(const std::string& key, const std::string& value);

    /// The journal since the last call.
    Journal journal_take();
    /// They are these parts, one behind the other.
    void expect_journal(std::initializer_list<Journal> parts, Where where = Where::current());

private:
    std::array<intf_record, 16> table_;
    size_t journal_taken_ = 0;
};

}  // namespace harness
