#include "msg/msg_cipher.h"

#include "device/uci.h"
#include "runtime/command.h"
#include "runtime/file_io.h"
#include "runtime/runtime_block.h"
#include "runtime/scoped_lock.h"

#include <cstdio>

namespace {

/// Holds every SSID; a longer value is cut.
using pass_phrase = std::array<char, 48>;

/// What a result file holds until its line has opened it. It is no message, and no ciphertext
/// begins like it.
constexpr std::string_view NOT_WRITTEN = "not-written";

/// Puts a file of our own in the place of a result, for the line to write into: no older result
/// survives, and nobody else reads the message or puts another one there.
void result_prepare(const char* path) {
    if (!file_rewrite(path, NOT_WRITTEN, file_readers::owner)) {
        std::remove(path);
        file_rewrite(path, NOT_WRITTEN, file_readers::owner);
    }
}

/// Whether the line has written a result, of which `begin` is the beginning; if not, there is no
/// file.
bool result_is_written(const char* path, std::string_view begin) {
    if (begin != NOT_WRITTEN) {
        return true;
    }
    std::remove(path);
    return false;
}

/// Read anew for every message: a changed SSID takes effect at once.
pass_phrase pass_phrase_get() {
    pass_phrase phrase{};
    wireless_uci_get("ath20", "ssid", phrase);
    return phrase;
}

bool input_write(std::span<const uint8_t> data) {
    ++runtime.cipher_turn;
    return file_rewrite(SSL_INPUT_PATH, {reinterpret_cast<const char*>(data.data()), data.size()},
                        file_readers::owner);
}

/// As a step of its own. Returns the turn, 0 when the file cannot be written.
unsigned input_put(std::span<const uint8_t> data) {
    const ScopedLock lock(runtime.cipher_lock);
    return input_write(data) ? runtime.cipher_turn : 0;
}

}  // namespace

size_t backhaul_msg_encrypt(const char* message, msg_bytes& out) {
    const pass_phrase phrase = pass_phrase_get();
    const ScopedLock lock(runtime.cipher_lock);
    result_prepare(SSL_OUTPUT_PATH);
    // Single quotes here, double quotes below: nodes with a quote, a dollar sign or a backquote in
    // their SSID depend on the difference.
    const int run = command_format_run(COMMAND_SIZE_MEDIUM,
                                       "echo -n '%s' | openssl aes-128-cbc -e -k '%s' > "
                                       "/tmp/ssl_output",
                                       message, own_value{phrase.data(), "ath20", "ssid"});
    if (run != 0) {
        return 0;
    }
    const File file(SSL_OUTPUT_PATH, "rb");
    if (!file) {
        return 0;
    }
    const size_t size = std::fread(out.data(), 1, out.size(), file.get());
    const std::string_view begin(reinterpret_cast<const char*>(out.data()), size);
    return result_is_written(SSL_OUTPUT_PATH, begin) ? size : 0;
}

bool backhaul_msg_decrypt(std::span<const uint8_t> data, msg_text& out) {
    // Nothing is run for a datagram that cannot be kept, the question for the pass phrase included:
    // it comes between two holds of the lock.
    const unsigned turn = input_put(data);
    if (turn == 0) {
        return false;
    }
    const pass_phrase phrase = pass_phrase_get();
    const ScopedLock lock(runtime.cipher_lock);
    // The other thread's datagram has come in between.
    if (turn != runtime.cipher_turn && !input_write(data)) {
        return false;
    }
    result_prepare(SSL_DECRYPT_PATH);
    command_format_run(COMMAND_SIZE_LONG,
                       "openssl aes-128-cbc -d -k \"%s\" -in /tmp/ssl_input > /tmp/ssl_decrypt",
                       own_value{phrase.data(), "ath20", "ssid"});
    const File file(SSL_DECRYPT_PATH, "r");
    if (!file) {
        return false;
    }
    file_first_word(file.get(), out);
    if (!result_is_written(SSL_DECRYPT_PATH, out.data())) {
        out.fill('\0');
        return false;
    }
    return true;
}
