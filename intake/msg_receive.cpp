#include "intake/msg_receive.h"

#include "device/client_control.h"
#include "link/backup_link.h"
#include "link/network_reload.h"
#include "msg/bridge_address.h"
#include "msg/msg_cipher.h"
#include "msg/msg_send.h"
#include "runtime/flow_log.h"
#include "runtime/runtime_block.h"
#include "topology/admission.h"

#include <sys/socket.h>
#include <cstring>

namespace {

constexpr char RECV_NAME[] = "backhaul_notification_recv";

/// A refused node gets no answer and asks again whenever it would broadcast.
void check_valid_handle(const char* from) {
    if (backhaul_db_device_valid_check(from)) {
        backhaul_send_unicast_msg(msg_word::check_valid_reply, BACKHAUL_MSG_PORT, from);
    }
}

void word_handle(msg_word word, const char* from) {
    switch (word) {
        case msg_word::flush_forwarding:
            flow_log("%s : recv FLUSHFORWARDING from %s\n", RECV_NAME, from);
            device_forward_table_flush();
            break;
        case msg_word::uplink_scan:
            flow_log("%s : recv UPLINKSCAN from %s\n", RECV_NAME, from);
            uplink_scan_reopen();
            break;
        case msg_word::network_reload:
            backhaul_network_reload_handle();
            break;
        case msg_word::check_valid:
            flow_log("%s : recv CHECK_VALID from %s\n", RECV_NAME, from);
            check_valid_handle(from);
            break;
        case msg_word::check_valid_reply:
            flow_log("%s : recv CHECK_VALID_REPLY from %s\n", RECV_NAME, from);
            runtime.backhaul_valid = true;
            break;
        case msg_word::root_announcement:
        case msg_word::unknown:
            break;
    }
}

}  // namespace

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
    msg_text text{};
    backhaul_msg_decrypt(std::span(data).first(static_cast<size_t>(size)), text);
    word_handle(msg_word_find(text.data()), from.data());
}
