#include "msg/msg_cipher.h"

#include "device/uci.h"
#include "runtime/command.h"
#include "runtime/file_io.h"

#include <cstdio>
#include <string_view>

namespace {

/// Holds every SSID; a longer value is cut.
using pass_phrase = std::array<char, 48>;

/// Read anew for every message: a changed SSID takes effect at once.
pass_phrase pass_phrase_get() {
    pass_phrase phrase{};
    wireless_uci_get("ath20", "ssid", phrase);
    return phrase;
}

}  // namespace

size_t backhaul_msg_encrypt(const char* message, msg_bytes& out) {
    const pass_phrase phrase = pass_phrase_get();
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
    const std::string_view bytes(reinterpret_cast<const char*>(data.data()), data.size());
    if (!file_rewrite(SSL_INPUT_PATH, bytes)) {
        return false;
    }
    const pass_phrase phrase = pass_phrase_get();
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
