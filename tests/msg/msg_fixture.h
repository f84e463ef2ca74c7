#pragma once

// Fixture of the message tests: a sandbox whose "br-lan" (192.168.1.10) has a cable to a second
// network namespace, the neighbour (192.168.1.20 and 192.168.1.21), and sockets whose calls can be
// made to fail.

#include "lab/node/udp_peer.h"
#include "tests/harness/table_fixture.h"

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

using harness::joined;
using harness::Journal;

class MsgTest : public harness::TableTest {
protected:
    void SetUp() override;
    void TearDown() override;

    /// Sets the SSID of "ath20", which is the pass phrase.
    static void ssid_is(const std::string& ssid);

    /// A socket of the neighbour, bound to `port` (and to one of its addresses).
    static std::unique_ptr<lab::UdpPeer> neighbour(uint16_t port, const std::string& address = "");

    /// Runs `ip` with the lines of `commands` in the sandbox.
    static void network(const std::string& commands);
};

/// What `peer` hears within a few seconds; fails the test when it stays silent.
lab::Datagram heard_by(lab::UdpPeer& peer);

/// What `action` writes to standard output, and to standard error.
std::string printed_out(const std::function<void()>& action);
std::string printed_err(const std::function<void()>& action);

/// How the socket calls of the code under test go, and what they asked for.
struct socket_script {
    int pass_sockets = 0;  ///< so many succeed first
    int fail_sockets = 0;  ///< then so many fail with EMFILE
    bool fail_options = false;
    struct option {
        int level;
        int name;
        std::string value;
        bool operator==(const option&) const = default;
    };
    std::vector<option> options;
    std::function<void(const option&)> on_option;
};
socket_script& sockets();

/// A pass phrase as it is configured, and what the two command lines make of it.
struct phrase_row {
    const char* configured;
    const char* sealing;
    const char* opening;
};

inline constexpr std::array<phrase_row, 10> PHRASES{{
    {"mesh", "mesh", "mesh"},
    {"", "", ""},
    {"my mesh", "my", "my"},
    {"0123456789abcdef0123456789abcdef", "0123456789abcdef0123456789abcdef",
     "0123456789abcdef0123456789abcdef"},
    {"a$none_such", "a$none_such", "a"},
    {"a`echo_none`b", "a`echo_none`b", "ab"},
    {"a'b'c", "abc", "a'b'c"},
    {"a\"b\"c", "a\"b\"c", "abc"},
    {"a\\$b", "a\\$b", "a$b"},
    {"#*?!&;|<>()~", "#*?!&;|<>()~", "#*?!&;|<>()~"},
}};

/// Lines of one enciphering and of one deciphering under the pass phrase `phrase`.
inline Journal enciphered(const std::string& word, const std::string& phrase = "mesh") {
    return harness::message_sent(word, phrase);
}
inline Journal deciphered(const std::string& phrase = "mesh") {
    return harness::message_opened(phrase);
}