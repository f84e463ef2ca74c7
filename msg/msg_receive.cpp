#include "msg/msg_receive.h"

#include "device/client_control.h"
#include "intf/intf_table.h"
#include "link/backup_link.h"
#include "link/link_recovery.h"
#include "link/uplink_scan.h"
#include "msg/bridge_address.h"
#include "msg/msg_cipher.h"
#include "msg/msg_send.h"
#include "root/admission.h"
#include "runtime/flow_log.h"
#include "runtime/runtime_block.h"

#include <sys/socket.h>
#include <cstring>

namespace {

struct keyword_row {
    const char* text;
    msg_keyword keyword;
};

constexpr std::array<keyword_row, 5> KEYWORDS{{
    {"FLUSHFORWARDING", msg_keyword::flush_forwarding},
    {"UPLINKSCAN", msg_keyword::uplink_scan},
    {"NETWORKRELOAD", msg_keyword::network_reload},
    {"CHECK_VALID", msg_keyword::check_valid},
    {"CHECK_VALID_REPLY", msg_keyword::check_valid_reply},
}};

constexpr bool keywords_in_order() {
    for (size_t i = 0; i < KEYWORDS.size(); ++i) {
        if (KEYWORDS[i].keyword != static_cast<msg_keyword>(i + 1)) {
            return false;
        }
    }
    return true;
}
static_assert(keywords_in_order());

constexpr char RECV_NAME[] = "backhaul_notification_recv";

void uplink_scan_handle() {
    backhaul_sta_uplink_scan_count_clear();
    backhaul_sta_other_band_scan_enable();
    backhaul_slave_backhaul_restore();
}

/// A refused node gets no answer and asks again whenever it would broadcast.
void check_valid_handle(const char* from) {
    if (backhaul_db_device_valid_check(from) == 0) {
        backhaul_send_unicast_msg("CHECK_VALID_REPLY", BACKHAUL_MSG_PORT, from);
    }
}

void keyword_handle(msg_keyword keyword, const char* from) {
    switch (keyword) {
        case msg_keyword::none:
            break;
        case msg_keyword::flush_forwarding:
            flow_log("%s : recv FLUSHFORWARDING from %s\n", RECV_NAME, from);
            device_forward_table_flush();
            break;
        case msg_keyword::uplink_scan:
            flow_log("%s : recv UPLINKSCAN from %s\n", RECV_NAME, from);
            uplink_scan_handle();
            break;
        case msg_keyword::network_reload:
            backhaul_network_reload_handle();
            break;
        case msg_keyword::check_valid:
            flow_log("%s : recv CHECK_VALID from %s\n", RECV_NAME, from);
            check_valid_handle(from);
            break;
        case msg_keyword::check_valid_reply:
            flow_log("%s : recv CHECK_VALID_REPLY from %s\n", RECV_NAME, from);
            runtime.backhaul_valid = 1;
            break;
    }
}

}  // namespace

msg_keyword msg_keyword_find(const char* word) {
    for (const keyword_row& row : KEYWORDS) {
        if (std::strcmp(row.text, word) == 0) {
            return row.keyword;
        }
    }
    return msg_keyword::none;
}

void backhaul_notification_recv(int sock) {
    msg_bytes data{};
    sockaddr_in sender{};
    socklen_t sender_size = sizeof(sender);
    const ssize_t size = recvfrom(sock, data.data(), data.size(), 0,
                                  reinterpret_cast<sockaddr*>(&sender), &sender_size);
    if (size <= 0) {
        return;
    }
    // Read for every datagram: the bridge's address may change. Without one nothing is filtered.
    std::array<char, IP_TEXT_SIZE> own{};
    get_intf_ip_address(own.data());
    const auto from = ip_text_get(sender.sin_addr);
    if (std::strcmp(own.data(), from.data()) == 0) {
        return;
    }
    msg_word word{};
    backhaul_msg_decrypt(std::span(data).first(static_cast<size_t>(size)), word);
    keyword_handle(msg_keyword_find(word.data()), from.data());
}

void backhaul_sta_uplink_scan_count_clear() {
    intf_table_lock();
    uplink_scan_count_reset();
    intf_table_unlock();
}

void backhaul_sta_other_band_scan_enable() {
    intf_table_lock();
    other_band_scan_enable_all();
    intf_table_unlock();
}
