#include "root/ap_list.h"

#include "device/txpower.h"
#include "root/event_log.h"
#include "runtime/file_io.h"
#include "runtime/heap.h"
#include "runtime/runtime_block.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

/// Room for one word of the list file; the rest of a longer word is dropped.
constexpr size_t LIST_WORD_SIZE = 24;

/// The address as a node holds it. All comparisons use this form: an address that is too long for
/// a node would otherwise never be found again and join anew on every tick.
almac_text almac_cut(const char* almac) {
    almac_text text{};
    std::snprintf(text.data(), text.size(), "%s", almac);
    return text;
}

int text_to_int(const char* text) {
    return static_cast<int>(std::strtol(text, nullptr, 10));
}

void node_append(ap_node* node) {
    if (runtime.ap_list_head == nullptr) {
        runtime.ap_list_head = node;
    } else {
        runtime.ap_list_tail->next = node;
    }
    runtime.ap_list_tail = node;
}

/// Takes `node` out of the list; `previous` is null when it is the head. After the only node is
/// gone the tail is stale, and nothing looks at it before the next append sets it.
void node_unlink(const ap_node* node, ap_node* previous) {
    if (previous == nullptr) {
        runtime.ap_list_head = node->next;
    } else if (node == runtime.ap_list_tail) {
        runtime.ap_list_tail = previous;
        previous->next = nullptr;
    } else {
        previous->next = node->next;
    }
}

}  // namespace

bool ap_presence_step(ap_presence& presence, const char* alive, const char* not_alive) {
    if (alive != nullptr) {
        presence.alive = text_to_int(alive);
    }
    if (not_alive != nullptr) {
        presence.not_alive = text_to_int(not_alive);
    }
    return presence.alive == 1 || (presence.alive == 0 && presence.not_alive <= 2);
}

void backhaul_ap_list_init() {
    if (!file_exists(AP_LIST_PATH)) {
        return;
    }
    const File file(AP_LIST_PATH, "r");
    if (!file) {
        std::printf("%s : can not open file\n", __func__);
        return;
    }
    // A last address without a line end does not count: the list file always ends in one.
    std::array<char, LIST_WORD_SIZE> word{};
    while (file_next_word(file.get(), word) == word_result::word) {
        backhaul_ap_node_add(word.data(), ap_source::file);
    }
}

void backhaul_ap_node_add(const char* almac, ap_source source) {
    auto* const node = heap_make<ap_node>();
    if (node == nullptr) {
        std::printf("%s : malloc fail\n", __func__);
        return;
    }
    event_log(almac, EVENT_LOG_JOIN);
    runtime.ap_count += 1;
    if (runtime.ap_count == 1) {
        device_24g_txpower_decrease();
    }
    *node = ap_node{almac_cut(almac), nullptr};
    node_append(node);
    if (source == ap_source::database) {
        backhaul_ap_list_update();
    }
}

void backhaul_ap_node_del(const char* almac) {
    const almac_text wanted = almac_cut(almac);
    ap_node* previous = nullptr;
    ap_node* node = runtime.ap_list_head;
    while (node != nullptr && std::strcmp(node->almac.data(), wanted.data()) != 0) {
        previous = node;
        node = node->next;
    }
    if (node == nullptr) {
        return;
    }
    node_unlink(node, previous);
    // `almac` may be the node's own text.
    const char* leaving = almac == node->almac.data() ? wanted.data() : almac;
    heap_drop(node);
    event_log(leaving, EVENT_LOG_LEAVE);
    backhaul_ap_list_update();
    runtime.ap_count -= 1;
    if (runtime.ap_count == 0) {
        device_24g_txpower_recover();
    }
}

bool backhaul_ap_list_find(const char* almac) {
    const almac_text wanted = almac_cut(almac);
    for (const ap_node* node = runtime.ap_list_head; node != nullptr; node = node->next) {
        if (std::strcmp(node->almac.data(), wanted.data()) == 0) {
            return true;
        }
    }
    return false;
}

void backhaul_ap_list_update() {
    FileRewrite file(AP_LIST_PATH);
    if (!file) {
        std::printf("%s : can not open file\n", __func__);
        return;
    }
    for (const ap_node* node = runtime.ap_list_head; node != nullptr; node = node->next) {
        std::fprintf(file.get(), "%s\n", node->almac.data());
    }
    file.commit();
}

void backhaul_ap_list_sync() {
    const DbTable table(SQL_EXTENDERS);
    // Not reset between rows: a null column stands for the previous row's value.
    ap_presence presence;
    for (int row = 0; row < table.rows(); ++row) {
        const char* almac = table.cell(row, 0);
        const bool present = ap_presence_step(presence, table.cell(row, 1), table.cell(row, 2));
        if (almac == nullptr) {
            continue;
        }
        const bool listed = backhaul_ap_list_find(almac);
        if (present && !listed) {
            backhaul_ap_node_add(almac, ap_source::database);
        } else if (!present && listed) {
            backhaul_ap_node_del(almac);
        }
    }
}
