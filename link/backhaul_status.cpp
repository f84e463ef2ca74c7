#include "link/backhaul_status.h"

#include "link/link_state.h"
#include "runtime/file_io.h"
#include "runtime/flow_log.h"

std::string_view backhaul_status_text(int32_t status) {
    switch (status) {
        case BACKHAUL_READY:
            return "ready\n";
        case CONNECT_WITH_BACKHAUL_AP:
            return "connected\n";
        default:
            return "not ready\n";
    }
}

void backhaul_status_write(int32_t status) {
    if (file_rewrite(BACKHAUL_STATUS_PATH, backhaul_status_text(status)) != 0) {
        // Readers of the log know this line without a function name.
        flow_log("can't open /tmp/backhaul_status\n");
    }
}
