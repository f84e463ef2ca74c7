// Who is in the mesh: the root's list of extenders, its file, and the log of joins and leaves.

#include "tests/mesh/root_story.h"

namespace {

constexpr char LIST[] = "/tmp/backhaul_ap_list";
constexpr char EVENTS[] = "/var/log/backhaul_log";

Lines txpower_recover() {
    return {"device_24g_txpower_recover : recover WiFi 2.4G Tx power",
            "$ iwconfig ath0 txpower auto", "$ iwpriv wifi0 cca_threshold -75",
            "$ iwpriv wifi1 cca_threshold -75"};
}

class RootList : public RootStory {
protected:
    /// A root whose database knows nobody yet.
    void start_alone() {
        add_root().sql("DELETE FROM Device WHERE DevType='L2Device';");
        router().start({"-m"});
        skip();
    }

    void device(const std::string& last, const std::string& name) {
        router().sql("INSERT INTO Device VALUES ('02:00:00:00:00:" + last +
                     "', 1, 0, 'L2Device', '" + name + "', '192.168.1.1" + last + "');");
    }
    void probes(const std::string& last, const std::string& alive, const std::string& missed) {
        router().sql("UPDATE Device SET Alive=" + alive + ", nNotAlive=" + missed +
                     " WHERE ALMac='02:00:00:00:00:" + last + "';");
    }

    /// The next look at the list, and what it left besides the announcement.
    void next_look(const Lines& expected, Where where = Where::current()) {
        only_second((age() / 10 + 1) * 10, where);
        expect_journal(joined({expected, announced()}), where);
    }
};

TEST_F(RootList, takes_a_node_in_at_the_next_look) {
    start_alone();
    next_look({});
    expect_no_file(LIST);
    device("41", "Attic");
    next_look(joined({event_told("Attic(02:00:00:00:00:41) join"), txpower_decrease()}));
    expect_file(LIST, "02:00:00:00:00:41\n");
    expect_file(EVENTS, "Attic(02:00:00:00:00:41) join\n");
    expect_file("/tmp/dynamic_24g_txpower", "23\n");
    device("42", "Barn");
    next_look(event_told("Barn(02:00:00:00:00:42) join"));
    expect_file(LIST, "02:00:00:00:00:41\n02:00:00:00:00:42\n");
    next_look({});
}

TEST_F(RootList, keeps_a_node_for_two_missed_probes_and_drops_it_at_the_third) {
    start_alone();
    device("41", "Attic");
    next_look(joined({event_told("Attic(02:00:00:00:00:41) join"), txpower_decrease()}));
    for (const char* missed : {"1", "2"}) {
        probes("41", "0", missed);
        next_look({});
        expect_file(LIST, "02:00:00:00:00:41\n");
    }
    probes("41", "0", "3");
    next_look(joined({event_told("Attic(02:00:00:00:00:41) leave"), txpower_recover()}));
    expect_file(LIST, "");
    expect_no_file("/tmp/dynamic_24g_txpower");
    // Back with two misses again: it is present.
    probes("41", "0", "2");
    next_look(joined({event_told("Attic(02:00:00:00:00:41) join"), txpower_decrease()}));
    expect_file(EVENTS,
                "Attic(02:00:00:00:00:41) join\n"
                "Attic(02:00:00:00:00:41) leave\n"
                "Attic(02:00:00:00:00:41) join\n");
}

TEST_F(RootList, is_taken_over_by_the_next_worker_with_a_join_for_each_node) {
    start_alone();
    for (const auto& [last, name] : {std::pair{"41", "Attic"}, {"42", "Barn"}, {"43", "Cellar"}}) {
        device(last, name);
    }
    advance(10);
    router().sql("UPDATE Device SET Alive=2 WHERE DevName='Barn';");
    router().kill_worker(10);
    skip();
    advance(1);
    // Behind the interfaces of the start; the events of the old worker are forgotten.
    expect_journal(joined({{"<-- backhaul_monitor start -->", "..."},
                           ap_on_following("ath23", "ath11"),
                           event_told("Attic(02:00:00:00:00:41) join"),
                           txpower_decrease(),
                           event_told("Barn(02:00:00:00:00:42) join"),
                           event_told("Cellar(02:00:00:00:00:43) join")}));
    expect_file(EVENTS,
                "Attic(02:00:00:00:00:41) join\n"
                "Barn(02:00:00:00:00:42) join\n"
                "Cellar(02:00:00:00:00:43) join\n");
    expect_file(LIST, "02:00:00:00:00:41\n02:00:00:00:00:42\n02:00:00:00:00:43\n");
    advance(9);
    skip();
    advance(1);
    expect_journal(joined({event_told("Barn(02:00:00:00:00:42) leave"), announced()}));
    expect_file(LIST, "02:00:00:00:00:41\n02:00:00:00:00:43\n");
}

TEST_F(RootList, is_not_told_of_by_an_extender) {
    add_extender().put_file(LIST, "02:00:00:00:00:41\n");
    router().start();
    admit();
    skip();
    advance(9);
    expect_calls({});
    expect_file(LIST, "02:00:00:00:00:41\n");
}

TEST_F(RootList, lives_with_a_folder_in_the_place_of_its_file) {
    add_root().put_file(std::string(LIST) + "/keep", "");
    router().start({"-m"});
    skip();
    next_look(joined({event_told("Extender(02:00:00:00:00:20) join"), txpower_decrease()}));
    expect_out({"backhaul_ap_list_update : can not open file"});
    next_look({});
    probes("20", "2", "0");
    next_look(joined({event_told("Extender(02:00:00:00:00:20) leave"), txpower_recover()}));
    expect_out({"backhaul_ap_list_update : can not open file"});
}

TEST_F(RootList, stays_as_it_is_while_the_database_cannot_be_read) {
    start_alone();
    device("41", "Attic");
    next_look(joined({event_told("Attic(02:00:00:00:00:41) join"), txpower_decrease()}));
    router().sql("UPDATE Device SET Alive=2; ALTER TABLE Device RENAME TO Elsewhere;");
    next_look({});
    expect_file(LIST, "02:00:00:00:00:41\n");
    router().sql("ALTER TABLE Elsewhere RENAME TO Device;");
    next_look(joined({event_told("Attic(02:00:00:00:00:41) leave"), txpower_recover()}));
}

TEST_F(RootList, leaves_the_five_newest_events_in_their_log) {
    start_alone();
    for (const auto& [last, name] :
         {std::pair{"41", "Attic"}, {"42", "Barn"}, {"43", "Cellar"}, {"44", ""}}) {
        device(last, name);
    }
    advance(10);
    router().sql("UPDATE Device SET Alive=2 WHERE DevName IN ('Attic', 'Cellar');");
    advance(10);
    expect_file(EVENTS,
                "Barn(02:00:00:00:00:42) join\n"
                "Cellar(02:00:00:00:00:43) join\n"
                "(02:00:00:00:00:44) join\n"
                "Attic(02:00:00:00:00:41) leave\n"
                "Cellar(02:00:00:00:00:43) leave\n");
    expect_file(LIST, "02:00:00:00:00:42\n02:00:00:00:00:44\n");
}

TEST_F(RootList, cuts_a_message_at_95_characters_and_a_name_at_63) {
    start_alone();
    device("41", std::string(300, 'n'));
    const std::string told = std::string(63, 'n') + "(02:00:00:00:00:41) join";
    next_look(joined({event_told(told), txpower_decrease()}));
    expect_file(EVENTS, told + "\n");
}

}  // namespace
