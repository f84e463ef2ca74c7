#include "device/ap_alive.h"

#include "device/association.h"
#include "device/uci.h"
#include "device/wireless_apply.h"
#include "intf/intf_table.h"
#include "runtime/file_io.h"
#include "runtime/flow_log.h"
#include "runtime/runtime_block.h"

#include <array>
#include <cstring>
#include <string_view>

namespace {

/// Whether the wireless service is applying settings to the radio of `band`.
bool radio_is_setting(uint8_t band) {
    const radio_row* const row = radio_row_find(band);
    if (row == nullptr) {
        return false;
    }
    const File file(row->status_path, "r");
    if (!file) {
        return false;
    }
    std::array<char, 128> word{};
    file_first_word(file.get(), word);
    return std::strstr(word.data(), "isSetting") != nullptr;
}

}  // namespace

void ap_alive_chk(backhaul_ap_check check) {
    const bool backhaul_ap_watched =
        runtime.backhaul_ap_enable || check == backhaul_ap_check::always;
    for (const intf_record& record : intf_table_walk()) {
        const bool watched = intf_type_is_service_ap(record.type) ||
                             (record.type == BACKHAUL_AP && backhaul_ap_watched);
        if (watched && !ap_intf_alive(&record)) {
            flow_log("%s(not alive) : reload %s\n", __func__, record.name.data());
            device_wireless_apply(&record);
        }
    }
}

bool ap_intf_alive(const intf_record* record) {
    uci_value disabled{};
    wireless_uci_get(record->name.data(), "disabled", disabled);
    if (std::string_view(disabled.data()) == "1") {
        return true;
    }
    if (radio_is_setting(record->band)) {
        return true;
    }
    return intf_associated(record->name.data());
}
