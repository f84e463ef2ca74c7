// Streams of wireless event records, decoded to their end.

#include "intake/wireless_event.h"

#include <cstdlib>

// The name is the fuzzer engine's.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::span<const uint8_t> stream(data, size);
    while (stream.size() >= 4) {
        const wireless_record record = wireless_event_decode(stream);
        const bool is_known =
            record.event.code >= WIRELESS_EVENT_NONE && record.event.code <= CHANNEL_CHANGE;
        const bool advances = record.length > 4 && record.length <= stream.size();
        if (!is_known || (record.length != 0 && !advances)) {
            std::abort();
        }
        if (record.length == 0) {
            break;
        }
        stream = stream.subspan(record.length);
    }
    return 0;
}
