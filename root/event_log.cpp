#include "root/event_log.h"

#include <cstdio>

#include "runtime/command.h"
#include "runtime/file_io.h"
#include "runtime/heap.h"
#include "runtime/runtime_block.h"
#include "topology/topology_db.h"

namespace {

constexpr size_t DEVICE_NAME_SIZE = 64;

/// Appends `entry` and drops the oldest one when there are more than five.
void event_list_append(event_log_entry* entry) {
    if (runtime.event_log_head == nullptr) {
        runtime.event_log_head = entry;
        runtime.event_log_tail = entry;
        runtime.event_log_num = 1;
        return;
    }
    runtime.event_log_tail->next = entry;
    runtime.event_log_tail = entry;
    if (runtime.event_log_num >= EVENT_LOG_ENTRIES_MAX) {
        const event_log_entry* const oldest = runtime.event_log_head;
        runtime.event_log_head = oldest->next;
        heap_drop(oldest);
        return;
    }
    ++runtime.event_log_num;
}

void event_file_write() {
    FileRewrite file(EVENT_LOG_PATH);
    if (!file) {
        return;
    }
    for (const event_log_entry* entry = runtime.event_log_head; entry != nullptr;
         entry = entry->next) {
        std::fprintf(file.get(), "%s\n", entry->text.data());
    }
    file.commit();
}

}  // namespace

std::array<char, EVENT_LOG_TEXT_SIZE> event_log_message(const char* device_name, const char* almac,
                                                        event_log_kind kind) {
    std::array<char, EVENT_LOG_TEXT_SIZE> text{};
    std::snprintf(text.data(), text.size(), "%s(%s) %s", device_name, almac,
                  kind == EVENT_LOG_JOIN ? "join" : "leave");
    return text;
}

void event_log(const char* almac, event_log_kind kind) {
    std::array<char, DEVICE_NAME_SIZE> name{};
    backhaul_db_devname_get(almac, name);
    const auto text = event_log_message(name.data(), almac, kind);
    command_format_cut_run(COMMAND_SIZE_MEDIUM, "vlog 0 0 \"%s\"", text.data());

    auto* const entry = heap_make<event_log_entry>();
    if (entry != nullptr) {
        entry->text = text;
        event_list_append(entry);
    }
    event_file_write();
}
