// Messages that cannot be sent: no route, no bridge, no address, no socket.

#include "tests/mesh/mesh_story.h"

#include <sys/resource.h>

namespace {

class SendFailure : public MeshStory {
protected:
    void start_without_route() {
        lab::NodeOptions options;
        options.gateway = "";
        add_extender(options).start();
        heard();
        skip();
    }

    const Lines unreachable =
        joined({message_sent("CHECK_VALID"), {"backhaul_send_unicast_msg : sendto error 101 ''"}});
};

TEST_F(SendFailure, is_told_once_while_the_root_is_not_known) {
    start_extender();
    heard();
    skip();
    command("network_reload\n");
    expect_journal(admission_asked_in_vain());
    advance(9);
    expect_journal({});
    command("uplink_scan\n");
    expect_journal(
        joined({{"backhaul_slave_backhaul_restore : Enter"}, admission_asked_in_vain()}));
    EXPECT_EQ(heard(), Words{});
}

TEST_F(SendFailure, is_told_every_two_seconds_without_a_route_until_the_root_is_heard) {
    start_without_route();
    command("network_reload\n");
    expect_journal(unreachable);
    advance(1);
    expect_journal({});
    advance(1);
    expect_journal(unreachable);
    // Its thread serves nothing else meanwhile.
    command("uplink_scan\n");
    advance(2);
    expect_journal(unreachable);
    announce_root();
    expect_journal(message_opened());
    EXPECT_EQ(heard(), Words{});
    advance(2);
    expect_journal(joined({message_sent("CHECK_VALID"),
                           {"backhaul_slave_backhaul_restore : Enter"},
                           message_sent("CHECK_VALID")}));
    EXPECT_EQ(heard(), (Words{"CHECK_VALID", "CHECK_VALID"}));
    advance(3);
    expect_journal({});
}

TEST_F(SendFailure, keeps_a_link_from_becoming_ready_until_the_root_is_heard) {
    start_without_route();
    advance(10);
    driver().associated("ath0", ap(1));
    advance(16);
    expect_status("connected\n");
    skip();
    advance(60);
    expect_status("connected\n");
    Lines sixty_seconds;
    for (int round = 0; round < 30; ++round) {
        sixty_seconds = joined({sixty_seconds, unreachable});
    }
    expect_journal(sixty_seconds);
    announce_root();
    advance(2);
    expect_journal(joined({message_opened(), message_sent("CHECK_VALID"), {"..."}}));
    advance_until([this] { return router().file("/tmp/backhaul_status") == "ready\n"; }, 3);
}

TEST_F(SendFailure, of_the_last_socket_ends_the_worker) {
    start_root();
    skip();
    const rlimit none{3, 3};
    ASSERT_EQ(prlimit(router().daemon().worker(), RLIMIT_NOFILE, &none, nullptr), 0);
    command("network_reload\n");
    expect_err({"socket: Too many open files"});
    expect_journal({"normal termination : 1"});
    advance(1);
    expect_out_of_both({"Wait pid", "Master"});
    skip();
    command("network_reload\n");
    expect_journal(message_sent("NETWORKRELOAD"));
}

TEST_F(SendFailure, is_silent_when_openssl_yields_nothing) {
    start_root();
    // A tool that prints nothing: the shell leaves an empty file.
    run_inside(router(),
               {"sh", "-c",
                "printf '#!/bin/true\\n' > /run/lab/bin/openssl; chmod 755 /run/lab/bin/openssl"});
    heard();
    skip();
    command("network_reload\n");
    expect_journal(message_sent("NETWORKRELOAD"));
    expect_file(SSL_OUTPUT, "");
    datagram("anything");
    expect_journal(message_opened());
    EXPECT_EQ(heard(), Words{});
}

}  // namespace
