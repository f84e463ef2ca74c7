#include "link/backhaul_type.h"

#include "runtime/file_io.h"

namespace {

const char* backhaul_type_text(backhaul_type type) {
    switch (type) {
        case BACKHAUL_TYPE_WIFI:
            return "wifi\n";
        case BACKHAUL_TYPE_ETHERNET:
            return "ethernet\n";
    }
    return "other\n";
}

}  // namespace

void backhaul_type_file_write(backhaul_type type) {
    file_rewrite(BACKHAUL_TYPE_PATH, backhaul_type_text(type));
}
