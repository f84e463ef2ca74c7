// Batches of routing-netlink messages, walked down to the records of their wireless attributes.

#include "intake/netlink_walk.h"

#include <cstdlib>

#include "intake/wireless_event.h"

namespace {

bool is_inside(std::span<const uint8_t> part, std::span<const uint8_t> whole) {
    return part.empty() || (part.data() >= whole.data() &&
                            part.data() + part.size() <= whole.data() + whole.size());
}

void walk_records(std::span<const uint8_t> payload) {
    while (payload.size() >= 4) {
        const size_t length = wireless_event_decode(payload).length;
        if (length == 0) {
            return;
        }
        payload = payload.subspan(length);
    }
}

void walk_attributes(std::span<const uint8_t> attributes) {
    const auto whole = attributes;
    link_attribute attribute;
    for (size_t before = attributes.size(); link_attribute_next(attributes, attribute);
         before = attributes.size()) {
        if (attributes.size() >= before || !is_inside(attribute.payload, whole)) {
            std::abort();
        }
        if (attribute.type == LINK_ATTRIBUTE_WIRELESS) {
            walk_records(attribute.payload);
        }
    }
}

}  // namespace

// The name is the fuzzer engine's.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::span<const uint8_t> whole(data, size);
    std::span<const uint8_t> batch = whole;
    netlink_message message;
    for (size_t before = batch.size(); netlink_message_next(batch, message);
         before = batch.size()) {
        if (batch.size() >= before || !is_inside(message.attributes, whole)) {
            std::abort();
        }
        if (message.has_link) {
            walk_attributes(message.attributes);
        }
    }
    return 0;
}
