// A batch of link messages as the driver sends them when many clients move at once: how long the
// socket thread needs to find the events in it.

#include "intake/netlink_walk.h"
#include "intake/wireless_event.h"

#include <benchmark/benchmark.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <vector>

namespace {

constexpr size_t RECORD_SIZE = 20;
constexpr uint16_t IWEVREGISTERED = 0x8C03;

template <typename T>
void append(std::vector<uint8_t>& bytes, T value) {
    const size_t at = bytes.size();
    bytes.resize(at + sizeof value);
    std::memcpy(bytes.data() + at, &value, sizeof value);
}

void append_message(std::vector<uint8_t>& bytes, size_t records) {
    const size_t attribute_size = 4 + records * RECORD_SIZE;
    const size_t message_size = NETLINK_HEADER_SIZE + LINK_INFO_SIZE + attribute_size;
    append(bytes, static_cast<uint32_t>(message_size));
    append(bytes, NETLINK_TYPE_NEWLINK);
    bytes.resize(bytes.size() + NETLINK_HEADER_SIZE - 6 + LINK_INFO_SIZE);
    append(bytes, static_cast<uint16_t>(attribute_size));
    append(bytes, LINK_ATTRIBUTE_WIRELESS);
    for (size_t i = 0; i < records; ++i) {
        append(bytes, static_cast<uint16_t>(RECORD_SIZE));
        append(bytes, IWEVREGISTERED);
        append(bytes, uint16_t{1});
        bytes.resize(bytes.size() + RECORD_SIZE - 6, static_cast<uint8_t>(i));
    }
}

size_t count_of_stream(std::span<const uint8_t> stream) {
    size_t events = 0;
    while (stream.size() >= 4) {
        const wireless_record record = wireless_event_decode(stream);
        if (record.length == 0) {
            break;
        }
        events += record.event.code != WIRELESS_EVENT_NONE ? 1 : 0;
        stream = stream.subspan(record.length);
    }
    return events;
}

size_t count_events(std::span<const uint8_t> batch) {
    size_t events = 0;
    netlink_message message;
    while (netlink_message_next(batch, message)) {
        std::span<const uint8_t> attributes = message.attributes;
        link_attribute attribute;
        while (link_attribute_next(attributes, attribute)) {
            events += count_of_stream(attribute.payload);
        }
    }
    return events;
}

void decodes_a_batch(benchmark::State& state) {
    const auto messages = static_cast<size_t>(state.range(0));
    std::vector<uint8_t> batch;
    for (size_t i = 0; i < messages; ++i) {
        append_message(batch, 3);
    }
    if (count_events(batch) != messages * 3) {
        state.SkipWithError("the batch does not decode");
    }
    for (auto _ : state) {
        benchmark::DoNotOptimize(count_events(batch));
    }
    state.SetItemsProcessed(state.iterations() * state.range(0) * 3);
}

}  // namespace

BENCHMARK(decodes_a_batch)->Arg(1)->Arg(10)->Arg(80);
