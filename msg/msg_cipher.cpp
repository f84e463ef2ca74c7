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

/// Read anew for every message: a changed SSID takes effect at once.
pass_phrase pass_phrase_get() {
    pass_phrase phrase{};
    wireless_uci_get("ath20", "ssid", phrase);
    return phrase;
}

/// Times that SSL_INPUT_PATH was written; under `cipher_lock`.
unsigned input_turn = 0;

bool input_write(std::span<const uint8_t> data) {
    ++input_turn;
    return file_rewrite(SSL_INPUT_PATH, {reinterpret_cast<const char*>(data.data()), data.size()});
}

/// As a step of its own. Returns the turn, 0 when the file cannot be written.
unsigned input_put(std::span<const uint8_t> data) {
    const ScopedLock lock(runtime.cipher_lock);
    return input_write(data) ? input_turn : 0;
}

}  // namespace

size_t backhaul_msg_encrypt(const char* message, msg_bytes& out) {
    const pass_phrase phrase = pass_phrase_get();
    const ScopedLock lock(runtime.cipher_lock);
    // Single quotes here, double quotes below: nodes with a quote, a dollar sign or a backquote in
    // their SSID depend on the difference.
    const int run = command_format_run(COMMAND_SIZE_MEDIUM,
                                       "echo -n '%s' | openssl aes-128-cbc -e -k '%s' > "
                                       "/tmp/ssl_output",
                                       message, phrase.data());
    if (run != 0) {
        return 0;
    }
    const File file(SSL_OUTPUT_PATH, "rb");
    if (!file) {
        return 0;
    }
    return std::fread(out.data(), 1, out.size(), file.get());
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
    if (turn != input_turn && !input_write(data)) {
        return false;
    }
    // No old plaintext may survive a failure.
    std::remove(SSL_DECRYPT_PATH);
    command_format_run(COMMAND_SIZE_LONG,
                       "openssl aes-128-cbc -d -k \"%s\" -in /tmp/ssl_input > /tmp/ssl_decrypt",
                       phrase.data());
    const File file(SSL_DECRYPT_PATH, "r");
    if (!file) {
        return false;
    }
    file_first_word(file.get(), out);
    return true;
}
