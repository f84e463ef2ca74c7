#include "link/backhaul_status.h"

#include "runtime/file_io.h"
#include "runtime/flow_log.h"

std::string_view backhaul_status_text(backhaul_status status) {
    switch (status) {
        case backhaul_status::ready:
            return "ready\n";
        case backhaul_status::connected:
            return "connected\n";
        case backhaul_status::not_ready:
            break;
    }
    return "not ready\n";
}

void backhaul_status_write(backhaul_status status) {
    if (!file_rewrite(BACKHAUL_STATUS_PATH, backhaul_status_text(status))) {
        // Readers of the log know this line without a function name.
        flow_log("can't open /tmp/backhaul_status\n");
    }
}
