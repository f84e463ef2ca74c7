#pragma once

// Fixture of the stories about what comes to a node from others and goes out to them: words on the
// message port and what is left of them in the journal. Link `test_story` beside `test_extender`.

#include "lab/node/udp_peer.h"
#include "tests/harness/story.h"
#include "tests/process/extender_lines.h"

#include <cstdint>
#include <string>
#include <vector>

inline constexpr char APPROVAL_LIST[] = "/tmp/ApplicationData/Approvelist";
inline constexpr char SSL_INPUT[] = "/tmp/ssl_input";
inline constexpr char SSL_OUTPUT[] = "/tmp/ssl_output";
inline constexpr char SSL_DECRYPT[] = "/tmp/ssl_decrypt";

/// A word was understood.
Lines received(const std::string& word, const std::string& from = "192.168.1.1");

class MeshStory : public harness::Story {
protected:
    using Words = std::vector<std::string>;

    /// A ready extender that has made all scans of this outage.
    void start_with_scans_used_up(Where where = Where::current());
    /// From here on its first scan of another six.
    void expect_scans_anew(Where where = Where::current());

    /// One command into the FIFO of a router, served.
    void command(const std::string& bytes);
    void command(harness::Router& to, const std::string& bytes);

    /// Bytes from a neighbour, "192.168.1.1" unless told otherwise, to a port of router().
    void datagram(const std::string& bytes, std::uint16_t port = 36003,
                  const std::string& from = "192.168.1.1");

    /// A second neighbour, "192.168.1.2".
    static std::string second_neighbour();

    /// A program in a router's namespaces, with status 0.
    void run_inside(harness::Router& in, const std::vector<std::string>& words,
                    Where where = Where::current());
};
