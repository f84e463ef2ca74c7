// Enciphering and deciphering against the real openssl command, run here without a shell.

#include "msg/msg_cipher.h"

#include "lab/tools/record.h"
#include "runtime/runtime_block.h"
#include "runtime/scoped_lock.h"
#include "tests/msg/msg_fixture.h"

#include <gmock/gmock.h>
#include <sys/stat.h>
#include <cstdlib>
#include <filesystem>
#include <thread>

namespace {

using harness::file_is_there;
using harness::file_text;
using harness::put_file;
using lab::message_open;
using lab::message_seal;

class MsgCipher : public MsgTest {
protected:
    static std::string encrypt(const char* word) {
        msg_bytes bytes{};
        const size_t size = backhaul_msg_encrypt(word, bytes);
        return {reinterpret_cast<const char*>(bytes.data()), size};
    }
    struct plain {
        bool result;
        std::string word;
    };
    static plain decrypt(const std::string& bytes) {
        msg_text word{};
        const std::span data(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
        const bool result = backhaul_msg_decrypt(data, word);
        return {result, word.data()};
    }
};

TEST_F(MsgCipher, seals_so_that_the_real_tool_opens_it) {
    for (const phrase_row& row : PHRASES) {
        ssid_is(row.configured);
        const std::string sealed = encrypt("UPLINKSCAN");
        EXPECT_EQ(message_open(sealed, row.sealing), "UPLINKSCAN") << row.configured;
        EXPECT_EQ(sealed.size(), 32u);
        EXPECT_EQ(sealed.substr(0, 8), "Salted__");
    }
}

TEST_F(MsgCipher, opens_what_the_real_tool_sealed) {
    for (const phrase_row& row : PHRASES) {
        ssid_is(row.configured);
        const plain opened = decrypt(message_seal("UPLINKSCAN", row.opening));
        EXPECT_TRUE(opened.result) << row.configured;
        EXPECT_EQ(opened.word, "UPLINKSCAN") << row.configured;
    }
}

TEST_F(MsgCipher, opens_under_a_single_quote_what_it_cannot_seal) {
    ssid_is("it's");
    EXPECT_EQ(encrypt("UPLINKSCAN"), "");
    EXPECT_EQ(decrypt(message_seal("UPLINKSCAN", "it's")).word, "UPLINKSCAN");
    expect_journal({enciphered("UPLINKSCAN", "it's"), deciphered("it's")});
}

TEST_F(MsgCipher, runs_its_two_lines_with_two_kinds_of_quotes) {
    encrypt("CHECK_VALID");
    expect_journal({enciphered("CHECK_VALID")});
    decrypt("anything");
    expect_journal({deciphered()});
    ssid_is("two words");
    encrypt("ImRootAP");
    decrypt("anything");
    expect_journal({enciphered("ImRootAP", "two"), deciphered("two")});
}

TEST_F(MsgCipher, seals_the_longest_word_in_48_bytes) {
    EXPECT_EQ(encrypt("CHECK_VALID_REPLY").size(), 48u);
    EXPECT_EQ(encrypt("FLUSHFORWARDING").size(), 32u);
}

TEST_F(MsgCipher, salts_each_message_anew) {
    EXPECT_NE(encrypt("UPLINKSCAN"), encrypt("UPLINKSCAN"));
}

TEST_F(MsgCipher, cuts_a_pass_phrase_at_47_characters) {
    ssid_is(std::string(64, 'p'));
    const std::string cut(47, 'p');
    EXPECT_EQ(message_open(encrypt("CHECK_VALID_REPLY"), cut), "CHECK_VALID_REPLY");
    EXPECT_EQ(decrypt(message_seal("UPLINKSCAN", cut)).word, "UPLINKSCAN");
    expect_journal({enciphered("CHECK_VALID_REPLY", cut), deciphered(cut)});
}

TEST_F(MsgCipher, refuses_a_line_that_does_not_fit) {
    ssid_is(std::string(47, 'p'));
    put_file("/tmp/ssl_output", "old");
    EXPECT_EQ(encrypt(std::string(21, 'w').c_str()).size(), 48u) << "127 characters";
    EXPECT_EQ(encrypt(std::string(22, 'w').c_str()), "");
    const std::string phrase(47, 'p');
    expect_journal({enciphered(std::string(21, 'w'), phrase), {"$ uci get wireless.ath20.ssid"}});
}

TEST_F(MsgCipher, has_nothing_to_send_when_openssl_is_missing) {
    const std::string sealed = message_seal("UPLINKSCAN", "mesh");
    const std::string path = getenv("PATH");
    setenv("PATH", "/run/lab/bin", 1);
    put_file("/tmp/ssl_output", "old");
    EXPECT_EQ(encrypt("UPLINKSCAN"), "");
    const plain opened = decrypt(sealed);
    EXPECT_TRUE(opened.result);
    EXPECT_EQ(opened.word, "");
    setenv("PATH", path.c_str(), 1);
}

TEST_F(MsgCipher, has_nothing_to_send_when_the_output_cannot_be_read) {
    put_file("/tmp/ssl_output/kept", "");
    EXPECT_EQ(encrypt("UPLINKSCAN"), "");
    std::filesystem::remove_all("/tmp/ssl_output");
    ssid_is("it's");
    EXPECT_EQ(encrypt("UPLINKSCAN"), "") << "the shell refuses the line";
    EXPECT_FALSE(file_is_there("/tmp/ssl_output"));
}

TEST_F(MsgCipher, takes_at_most_256_bytes_from_the_output) {
    // A tool of our own in the place of the real one.
    put_file("/tmp/bin/openssl",
             "#!/bin/bash\nprintf 'a%.0s' {1..256}; printf 'b%.0s' {1..1000}\n");
    ASSERT_EQ(chmod("/tmp/bin/openssl", 0755), 0);
    const std::string path = getenv("PATH");
    setenv("PATH", ("/tmp/bin:" + path).c_str(), 1);
    EXPECT_EQ(encrypt("UPLINKSCAN"), std::string(256, 'a'));
    setenv("PATH", path.c_str(), 1);
}

TEST_F(MsgCipher, never_sends_an_old_ciphertext) {
    encrypt("UPLINKSCAN");
    ssid_is("it's");
    EXPECT_EQ(encrypt("UPLINKSCAN"), "") << "the shell refuses the line";
    EXPECT_FALSE(file_is_there("/tmp/ssl_output"));
}

TEST_F(MsgCipher, lets_nobody_else_read_or_write_its_files_whatever_the_umask) {
    const mode_t before = umask(0);
    decrypt(encrypt("UPLINKSCAN"));
    umask(before);
    for (const char* const path : {"/tmp/ssl_output", "/tmp/ssl_input", "/tmp/ssl_decrypt"}) {
        struct stat about {};
        ASSERT_EQ(lstat(path, &about), 0) << path;
        EXPECT_EQ(about.st_mode & 0777U, 0600U) << path;
    }
}

TEST_F(MsgCipher, works_whatever_stands_in_the_place_of_its_files) {
    put_file("/tmp/victim", "victim\n");
    for (const char* const path : {"/tmp/ssl_output", "/tmp/ssl_input", "/tmp/ssl_decrypt"}) {
        for (const char* const target : {"/tmp/victim", "/tmp/dangling", "/dev/zero"}) {
            std::filesystem::remove(path);
            std::filesystem::create_symlink(target, path);
            EXPECT_EQ(decrypt(encrypt("UPLINKSCAN")).word, "UPLINKSCAN") << path << " " << target;
        }
        std::filesystem::remove(path);
        ASSERT_EQ(mkfifo(path, 0666), 0);
        EXPECT_EQ(decrypt(encrypt("UPLINKSCAN")).word, "UPLINKSCAN") << path;
    }
    EXPECT_EQ(file_text("/tmp/victim"), "victim\n");
    EXPECT_FALSE(file_is_there("/tmp/dangling"));
}

TEST_F(MsgCipher, leaves_its_files_behind) {
    const std::string sealed = encrypt("UPLINKSCAN");
    EXPECT_EQ(file_text("/tmp/ssl_output"), sealed);
    const std::string other = message_seal("CHECK_VALID rest\n", "mesh");
    EXPECT_EQ(decrypt(other).word, "CHECK_VALID");
    EXPECT_EQ(file_text("/tmp/ssl_input"), other);
    EXPECT_EQ(file_text("/tmp/ssl_decrypt"), "CHECK_VALID rest\n");
}

TEST_F(MsgCipher, never_takes_an_old_plaintext_for_a_new_one) {
    put_file("/tmp/ssl_decrypt", "UPLINKSCAN");
    EXPECT_EQ(decrypt("garbage").word, "");
    put_file("/tmp/ssl_decrypt", "UPLINKSCAN");
    ssid_is("odd\"quote");
    const plain opened = decrypt("garbage");
    EXPECT_FALSE(opened.result) << "the shell refuses the line";
    EXPECT_EQ(opened.word, "");
    EXPECT_FALSE(file_is_there("/tmp/ssl_decrypt"));
}

TEST_F(MsgCipher, fails_before_anything_is_run_when_its_input_cannot_be_written) {
    std::filesystem::create_directory("/tmp/ssl_input");
    const plain opened = decrypt(message_seal("UPLINKSCAN", "mesh"));
    EXPECT_FALSE(opened.result);
    EXPECT_EQ(opened.word, "");
    expect_journal({});
}

TEST_F(MsgCipher, keeps_the_files_of_two_messages_apart) {
    const auto open_all = [](const char* word) {
        for (int i = 0; i < 10; ++i) {
            EXPECT_EQ(decrypt(message_seal(word, "mesh")).word, word);
        }
    };
    std::thread other([&] { open_all("UPLINKSCAN"); });
    std::thread sender([] {
        for (int i = 0; i < 10; ++i) {
            EXPECT_EQ(message_open(encrypt("NETWORKRELOAD"), "mesh"), "NETWORKRELOAD");
        }
    });
    open_all("FLUSHFORWARDING");
    for (int i = 0; i < 10; ++i) {
        EXPECT_EQ(message_open(encrypt("CHECK_VALID_REPLY"), "mesh"), "CHECK_VALID_REPLY");
    }
    other.join();
    sender.join();
}

TEST_F(MsgCipher, asks_for_the_pass_phrase_while_another_message_has_the_files) {
    std::string sealed;
    std::thread sender;
    {
        const ScopedLock another(runtime.cipher_lock);
        sender = std::thread([&sealed] { sealed = encrypt("UPLINKSCAN"); });
        EXPECT_TRUE(harness::wait_until([] { return !lab::recorded_call_texts("").empty(); }));
    }
    sender.join();
    EXPECT_EQ(message_open(sealed, "mesh"), "UPLINKSCAN");
    expect_journal({enciphered("UPLINKSCAN")});
}

TEST_F(MsgCipher, finds_no_word_under_a_wrong_pass_phrase) {
    for (int i = 0; i < 20; ++i) {
        EXPECT_NE(decrypt(message_seal("UPLINKSCAN", "other")).word, "UPLINKSCAN");
    }
}

TEST_F(MsgCipher, gives_the_first_word_only) {
    EXPECT_EQ(decrypt(message_seal("FLUSHFORWARDING and more", "mesh")).word, "FLUSHFORWARDING");
    EXPECT_EQ(decrypt(message_seal(" \n\t UPLINKSCAN\n", "mesh")).word, "UPLINKSCAN");
    EXPECT_EQ(decrypt(message_seal("   ", "mesh")).word, "");
    EXPECT_EQ(decrypt(message_seal("", "mesh")).word, "");
}

TEST_F(MsgCipher, cuts_a_word_at_255_characters) {
    EXPECT_EQ(decrypt(message_seal(std::string(1000, 'w'), "mesh")).word, std::string(255, 'w'));
}

}  // namespace
