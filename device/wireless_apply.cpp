#include "device/wireless_apply.h"

#include "runtime/command.h"
#include "runtime/file_io.h"
#include "runtime/runtime_block.h"
#include "runtime/scoped_lock.h"
#include "runtime/table_check.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace {

constexpr std::array<radio_row, 4> RADIO_TABLE = {{
    {BAND_24G, "wifi0", "/tmp/wifi24G_Apply", "/tmp/wifi24G_Status"},
    {BAND_5G, "wifi1", "/tmp/wifi5G_Apply", "/tmp/wifi5G_Status"},
    {BAND_5G_LOW, "wifi1", "/tmp/wifi5G_Apply", "/tmp/wifi5G_Status"},
    {BAND_5G_HIGH, "wifi2", "/tmp/wifi5G_2_Apply", "/tmp/wifi5G_2_Status"},
}};

static_assert(table_keys_are_unique(RADIO_TABLE, [](const auto& row) { return row.band; }),
              "each band has one radio");
static_assert(std::ranges::all_of(RADIO_TABLE,
                                  [](const radio_row& row) {
                                      return std::string_view(row.radio).size() == 5;
                                  }),
              "the wireless service reads exactly five characters");

}  // namespace

const radio_row* radio_row_find(uint8_t band) {
    const auto* const row = std::ranges::find(RADIO_TABLE, band, &radio_row::band);
    return row != RADIO_TABLE.end() ? row : nullptr;
}

void device_wireless_apply(const intf_record* record) {
    const radio_row* const row = radio_row_find(record->band);
    if (row == nullptr) {
        return;
    }
    // Held over the restart: the service reads one pair of files at a time.
    const ScopedLock lock(runtime.apply_lock);
    file_rewrite(WIRELESS_DEV_PATH, row->radio);
    file_rewrite(row->apply_path, record->name.data());
    command_run("/etc/init.d/wireless restart");
}
