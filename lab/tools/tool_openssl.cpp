#include "lab/tools/tool_openssl.h"

#include <nettle/aes.h>
#include <nettle/cbc.h>
#include <nettle/sha2.h>

#include <algorithm>
#include <array>
#include <cstdint>

namespace lab {
namespace {

constexpr std::string_view MAGIC = "Salted__";
constexpr std::size_t SALT_LENGTH = 8;
constexpr std::size_t HEAD_LENGTH = MAGIC.size() + SALT_LENGTH;
constexpr std::size_t BLOCK = AES_BLOCK_SIZE;

const std::uint8_t* bytes_of(std::string_view text) {
    return reinterpret_cast<const std::uint8_t*>(text.data());
}

std::array<std::uint8_t, SHA256_DIGEST_SIZE> digest_of(std::string_view first,
                                                       std::string_view second) {
    sha256_ctx context;
    std::array<std::uint8_t, SHA256_DIGEST_SIZE> digest{};
    sha256_init(&context);
    sha256_update(&context, first.size(), bytes_of(first));
    sha256_update(&context, second.size(), bytes_of(second));
    sha256_digest(&context, digest.size(), digest.data());
    return digest;
}

}  // namespace

std::optional<std::string> openssl_seal(std::string_view message, std::string_view pass_phrase,
                                        std::string_view salt) {
    const auto salted = digest_of(message, salt);
    std::string sealed(MAGIC);
    sealed.append(reinterpret_cast<const char*>(salted.data()), SALT_LENGTH);
    // The first half of the digest is the key, the second the block before the first.
    auto key = digest_of(pass_phrase, std::string_view(sealed).substr(MAGIC.size()));
    const std::size_t padding = BLOCK - message.size() % BLOCK;
    std::string padded(message);
    padded.append(padding, static_cast<char>(padding));
    aes128_ctx context;
    aes128_set_encrypt_key(&context, key.data());
    std::string cipher(padded.size(), '\0');
    cbc_encrypt(&context, reinterpret_cast<nettle_cipher_func*>(aes128_encrypt), BLOCK,
                key.data() + AES128_KEY_SIZE, padded.size(),
                reinterpret_cast<std::uint8_t*>(cipher.data()), bytes_of(padded));
    return sealed + cipher;
}

std::optional<Sealed> openssl_open(std::string_view sealed, std::string_view pass_phrase) {
    if (sealed.size() < HEAD_LENGTH || !sealed.starts_with(MAGIC)) {
        return Sealed{"", false};
    }
    auto key = digest_of(pass_phrase, sealed.substr(MAGIC.size(), SALT_LENGTH));
    const std::string_view cipher = sealed.substr(HEAD_LENGTH);
    const std::size_t whole = cipher.size() / BLOCK * BLOCK;
    aes128_ctx context;
    aes128_set_decrypt_key(&context, key.data());
    std::string plain(whole, '\0');
    cbc_decrypt(&context, reinterpret_cast<nettle_cipher_func*>(aes128_decrypt), BLOCK,
                key.data() + AES128_KEY_SIZE, whole, reinterpret_cast<std::uint8_t*>(plain.data()),
                bytes_of(cipher));
    if (whole == 0 || whole != cipher.size()) {
        return Sealed{plain, false};
    }
    const std::size_t padding = static_cast<unsigned char>(plain.back());
    const bool good =
        padding >= 1 && padding <= BLOCK &&
        std::all_of(plain.end() - static_cast<std::ptrdiff_t>(std::min(padding, BLOCK)),
                    plain.end(), [&](char one) { return one == plain.back(); });
    // The last block is held back until its padding is known to be right.
    plain.resize(whole - (good ? padding : BLOCK));
    return Sealed{plain, good};
}

}  // namespace lab
