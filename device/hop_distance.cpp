#include "device/hop_distance.h"

#include "runtime/command.h"
#include "runtime/file_io.h"
#include "runtime/flow_log.h"

#include <array>
#include <cstdio>

int hop_distance_parse(const char* line) {
    int distance = 0;
    if (sscanf(line, "%*[^:]:%d\n", &distance) != 1) {
        return 0;
    }
    return distance;
}

int qca_dist_get(const intf_record* record) {
    std::remove(ATH_DIST_PATH);
    command_format_run(COMMAND_SIZE_SHORT, "iwpriv %s get_whc_dist > /tmp/ath_dist",
                       record->name.data());
    std::array<char, 64> line{};
    {
        const File answer(ATH_DIST_PATH, "r");
        if (!answer) {
            return -1;
        }
        if (!file_next_piece(answer.get(), line)) {
            line[0] = '\0';
        }
    }
    const int distance = hop_distance_parse(line.data());
    flow_log("%s : dist %d\n", __func__, distance);
    std::array<char, 16> text{};
    const int length = snprintf(text.data(), text.size(), "%d\n", distance);
    file_rewrite(ROOT_DISTANCE_PATH, {text.data(), static_cast<size_t>(length)});
    return distance;
}
