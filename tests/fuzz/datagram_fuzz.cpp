// Datagrams of both ports on their way through: the bytes before they are deciphered, and what
// comes out of the deciphering. The line between the two is not run: its result is a part of the
// input.

#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cctype>
#include <cstring>

#include "device/client_control.h"
#include "intake/msg_receive.h"
#include "intake/root_announce.h"
#include "link/backup_link.h"
#include "link/network_reload.h"
#include "msg/msg_cipher.h"
#include "msg/msg_send.h"
#include "runtime/runtime_block.h"
#include "tests/fuzz/bed/input.h"
#include "tests/fuzz/bed/place.h"
#include "tests/fuzz/bed/shell.h"
#include "topology/admission.h"

namespace {

using fuzz::require;

std::vector<std::string> deeds;
bool sender_is_approved = false;

}  // namespace

// What a message sets off, in the place of the daemon's own.

void device_forward_table_flush() {
    deeds.emplace_back("FLUSHFORWARDING");
}

void uplink_scan_reopen() {
    deeds.emplace_back("UPLINKSCAN");
}

void backhaul_network_reload_handle() {
    deeds.emplace_back("NETWORKRELOAD");
}

bool backhaul_db_device_valid_check(const char* /*ip*/) {
    return sender_is_approved;
}

void backhaul_send_unicast_msg(msg_word message, uint16_t port, const char* /*ip*/) {
    require(message == msg_word::check_valid_reply && port == BACKHAUL_MSG_PORT,
            "the only answer is that to CHECK_VALID");
    deeds.emplace_back("CHECK_VALID");
}

namespace {

/// What the line between the two makes of a datagram.
struct Deciphering {
    bool is_killed = false;  // before it opened its result
    std::string plain;
    std::string pass_phrase;
};

/// The first word of the plain text, as scanf reads it; a line that was killed leaves none.
std::string wanted_word(const Deciphering& line) {
    const fuzz::ByteStream stream(line.plain);
    std::array<char, MSG_SIZE> word{};
    if (!line.is_killed) {
        std::fscanf(stream.get(), "%255s", word.data());
    }
    // What a result holds until its line has opened it is told apart by being no word of a message.
    return word.data();
}

void lines_answer(const Deciphering& line) {
    fuzz::shell().answer = [line](const std::string& text) -> std::optional<std::string> {
        if (text.starts_with("uci get ")) {
            return line.pass_phrase + "\n";
        }
        if (!line.is_killed) {
            // Whatever the pass phrase makes of the line: what comes out of it is the input's
            // affair.
            fuzz::file_put(SSL_DECRYPT_PATH, line.plain);
        }
        return std::nullopt;
    };
}

/// The word that is acted upon; as scanf wants it, with a zero for its end.
void message_check(const std::string& bytes, const Deciphering& line) {
    std::array<int, 2> ends{-1, -1};
    require(socketpair(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0, ends.data()) == 0, "a pair is there");
    send(ends[0], bytes.data(), bytes.size(), 0);
    deeds.clear();
    runtime.backhaul_valid = false;
    backhaul_notification_recv(ends[1]);
    close(ends[0]);
    close(ends[1]);
    if (bytes.empty()) {
        require(deeds.empty() && fuzz::shell().lines.empty(), "an empty datagram does nothing");
        return;
    }
    const std::string word = wanted_word(line);
    const bool is_known = word == "FLUSHFORWARDING" || word == "UPLINKSCAN" ||
                          word == "NETWORKRELOAD" || (word == "CHECK_VALID" && sender_is_approved);
    require(is_known ? deeds == std::vector<std::string>{word} : deeds.empty(),
            "a message sets off what its word says");
    require(runtime.backhaul_valid == (word == "CHECK_VALID_REPLY"), "only the reply admits");
}

void announcement_check(const std::string& bytes, const Deciphering& line) {
    runtime.rootap_ip.set("");
    unlink(ROOTAP_IP_PATH);
    const in_addr sender{htonl(0xC0A80101)};
    root_announce_handle({reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()},
                         sender);
    const bool is_root = wanted_word(line) == "ImRootAP";
    require((std::strcmp(runtime.rootap_ip.get().data(), "192.168.1.1") == 0) == is_root,
            "a root is who says so");
    require(fuzz::file_get(ROOTAP_IP_PATH) == (is_root ? "192.168.1.1\n" : ""),
            "its address is in the file");
}

void input_file_check(const std::string& bytes) {
    const std::string kept = fuzz::file_get(SSL_INPUT_PATH);
    require(kept == bytes.substr(0, MSG_SIZE), "the line gets the datagram as it came");
}

/// Cannot be longer than the pass phrase's room allows.
void lines_check() {
    for (const std::string& text : fuzz::shell().lines) {
        require(text.size() < 256, "a line fits its buffer");
        require(text.starts_with("uci get wireless.ath20.ssid") || text.starts_with("openssl "),
                "two lines are run and no other");
    }
}

}  // namespace

// The name is the fuzzer engine's.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    fuzz::shell_reset();
    fuzz::Input input(data, size);
    const std::uint8_t choice = input.byte();
    sender_is_approved = (choice & 1U) != 0;
    Deciphering line;
    line.is_killed = (choice & 2U) != 0;
    line.pass_phrase = (choice & 4U) != 0 ? "mesh" : input.text_until('\0');
    const std::string bytes = input.text(input.byte() + (choice & 8U) * 32U);
    line.plain = input.rest();
    lines_answer(line);
    message_check(bytes, line);
    if (!bytes.empty()) {
        input_file_check(bytes);
    }
    announcement_check(bytes.substr(0, MSG_SIZE), line);
    input_file_check(bytes);
    lines_check();
    return 0;
}
