#pragma once

// Enciphering of node messages with the openssl tool, under the SSID of "ath20" as pass phrase.
//
// Any sending thread enciphers; the socket thread and the announce thread decipher. The files have
// fixed names: `cipher_lock` keeps one call's files from another's, and a slow openssl line holds
// up the others.

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

inline constexpr char SSL_OUTPUT_PATH[] = "/tmp/ssl_output";
inline constexpr char SSL_INPUT_PATH[] = "/tmp/ssl_input";
inline constexpr char SSL_DECRYPT_PATH[] = "/tmp/ssl_decrypt";
/// Largest datagram, and the room for a plaintext word with its terminator.
inline constexpr size_t MSG_SIZE = 256;

using msg_bytes = std::array<uint8_t, MSG_SIZE>;
using msg_text = std::array<char, MSG_SIZE>;

/// Enciphers `message` into `out`. Returns the number of bytes, 0 when nothing could be produced.
size_t backhaul_msg_encrypt(const char* message, msg_bytes& out);

/// Deciphers `data` and puts the first word of the plaintext into `out` (zeroed by the caller).
/// False when one of the files cannot be opened.
bool backhaul_msg_decrypt(std::span<const uint8_t> data, msg_text& out);
