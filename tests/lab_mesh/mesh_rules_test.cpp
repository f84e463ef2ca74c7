// The rules on a mesh that really runs: something is broken by hand, and the mesh has to tell it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <csignal>
#include <ctime>
#include <memory>
#include <string>
#include <vector>

#include "lab/mesh/mesh.h"
#include "lab/rules/link_table.h"
#include "lab/scenario/scenario_parse.h"
#include "lab/tools/small_file.h"
#include "tests/harness/sandbox.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

class MeshRules : public harness::SandboxTest {
protected:
    void SetUp() override {
        lab::Scenario scenario;
        std::vector<lab::ScenarioError> errors;
        ASSERT_TRUE(lab::scenario_parse(
            "node root root\nnode e1 extender\nhears root e1 -55\n" + more_nodes(), &scenario,
            &errors));
        lab::MeshOptions options;
        options.programs = BACKHAUL_BUILD_DIR "/lab";
        options.daemon = BACKHAUL_BUILD_DIR "/backhaul_monitor";
        mesh = lab::Mesh::make(scenario, options, error);
        ASSERT_NE(mesh, nullptr) << error;
        while (mesh->passed() < 100 && e1_status() != "ready\n") {
            pass(1);
        }
        ASSERT_EQ(e1_status(), "ready\n");
        pass(40);
        ASSERT_THAT(broken(), IsEmpty());
    }

    virtual std::string more_nodes() const {
        return "";
    }

    void pass(int seconds) {
        for (int second = 0; second < seconds; ++second) {
            ASSERT_TRUE(mesh->second(error)) << error;
        }
    }

    void verb(lab::VerbKind kind, const std::string& node, int number = 0) {
        lab::Verb done;
        done.kind = kind;
        done.node = node;
        done.number = number;
        std::string note;
        ASSERT_TRUE(mesh->verb(done, &note, error)) << error;
        EXPECT_EQ(note, "");
    }

    // Lets the mesh go on meanwhile: it answers the node's tools while it waits for quiet.
    void run_on_e1(const std::string& line, int seconds) {
        lab::SpawnPlan plan;
        plan.words = {"sh", "-c", line};
        const pid_t shell = e1().spawn(plan, error);
        ASSERT_GT(shell, 0) << error;
        pass(seconds);
        ASSERT_EQ(waitpid(shell, nullptr, WNOHANG), shell);
    }

    const lab::Node& e1() const {
        return mesh->node(1).node();
    }

    std::string e1_status() const {
        std::string text;
        lab::file_read(e1().at("/tmp/backhaul_status"), &text);
        return text;
    }

    int e1_worker() const {
        return mesh->observation().nodes[1].worker_pid;
    }

    std::vector<std::string> broken() const {
        std::vector<std::string> texts;
        for (const lab::Violation& one : mesh->violations()) {
            texts.push_back(one.rule + " " + one.node + ": " + one.text +
                            (one.known.empty() ? "" : " (known)"));
        }
        return texts;
    }

    std::string error;
    std::unique_ptr<lab::Mesh> mesh;
};

TEST_F(MeshRules, tell_a_status_file_with_another_text) {
    lab::file_write(e1().at("/tmp/backhaul_status"), "redy\n");
    pass(1);
    EXPECT_THAT(broken(), ElementsAre("status-text e1: the status file holds \"redy\\n\""));
}

TEST_F(MeshRules, tell_a_status_file_that_claims_what_no_record_says) {
    verb(lab::VerbKind::ap_off, "root");
    ASSERT_EQ(e1_status(), "not ready\n");
    lab::file_write(e1().at("/tmp/backhaul_status"), "ready\n");
    pass(5);
    EXPECT_THAT(broken(),
                ElementsAre("status-state e1: the status file says ready, but no record is"));
}

TEST_F(MeshRules, tell_a_worker_that_nothing_had_ended) {
    const int worker = e1_worker();
    ASSERT_GT(worker, 0);
    kill(worker, SIGKILL);
    pass(1);
    EXPECT_THAT(broken(), ElementsAre("worker e1: worker " + std::to_string(worker) +
                                      " ended and nothing had ended it"));
}

TEST_F(MeshRules, see_the_second_in_which_a_worker_is_gone_before_another_comes) {
    kill(e1_worker(), SIGKILL);
    // A verb elsewhere: all is looked at, and no second passes.
    verb(lab::VerbKind::kill_worker, "root", SIGCONT);
    EXPECT_EQ(e1_worker(), 0);
    pass(1);
    EXPECT_GT(e1_worker(), 0);
    std::vector<std::string> told;
    for (const lab::MeshEvent& event : mesh->events()) {
        if (event.node == "e1" && (event.text == "worker ended" || event.text == "new worker")) {
            told.push_back(event.text);
        }
    }
    EXPECT_THAT(told, ElementsAre("worker ended", "new worker"));
}

TEST_F(MeshRules, expect_a_worker_to_end_only_for_a_while_after_a_signal_that_it_survived) {
    verb(lab::VerbKind::kill_worker, "e1", SIGCONT);
    pass(301);
    EXPECT_THAT(broken(), IsEmpty());
    kill(e1_worker(), SIGKILL);
    pass(1);
    EXPECT_THAT(broken(), ElementsAre(StartsWith("worker e1: worker ")));
}

TEST_F(MeshRules, tell_a_service_ap_that_is_on_the_air_without_a_backhaul) {
    verb(lab::VerbKind::ap_off, "root");
    pass(1);
    ASSERT_THAT(mesh->observation().nodes[1].service_aps_up, IsEmpty());
    run_on_e1(
        "uci set wireless.ath10.disabled=0; uci commit wireless; "
        "echo wifi0 > /tmp/WirelessDev; echo ath10 > /tmp/wifi24G_Apply; "
        "/etc/init.d/wireless restart",
        13);
    EXPECT_THAT(broken(), ElementsAre("service-aps e1: ath10 up without a backhaul"));
}

TEST_F(MeshRules, tell_a_second_uplink_and_the_loop_that_it_closes) {
    run_on_e1(
        "uci set wireless.ath1.disabled=0; uci commit wireless; "
        "echo wifi0 > /tmp/WirelessDev; echo ath1 > /tmp/wifi24G_Apply; "
        "/etc/init.d/wireless restart; "
        "cp /tmp/wpa_supplicant-ath0.conf /tmp/wpa_supplicant-ath1.conf; "
        "wpa_cli -g /var/run/wpa_supplicantglobal interface_add ath1 "
        "/tmp/wpa_supplicant-ath1.conf athr /var/run/wpa_supplicant-ath1 '' br-lan",
        10);
    EXPECT_THAT(broken(), ElementsAre(StartsWith("no-loop root: broadcast e1 at "),
                                      StartsWith("no-loop e1: broadcast e1 at "),
                                      "one-uplink e1: ath0, ath1 carry traffic at once (known)"));
}

class MeshRulesOfThree : public MeshRules {
protected:
    std::string more_nodes() const override {
        return "node e2 extender\n";
    }
};

TEST_F(MeshRulesOfThree, count_as_out_who_is_ready_by_a_cable_below_one_without_a_root) {
    lab::Verb cable;
    cable.kind = lab::VerbKind::cable_in;
    cable.node = "e2";
    cable.peer = "e1";
    std::string note;
    ASSERT_TRUE(mesh->verb(cable, &note, error)) << error;
    const auto e2_ready = [this] {
        return lab::link_tracker_has(*mesh->tracker("e2"), lab::STATE_ETH_READY);
    };
    while (mesh->passed() < 400 && !e2_ready()) {
        pass(1);
    }
    ASSERT_TRUE(e2_ready());
    pass(10);
    ASSERT_FALSE(lab::outage_summary(mesh->outages(), "e2", mesh->observation().time).is_out);
    const std::size_t told = mesh->violations().size();
    verb(lab::VerbKind::power_off, "root");
    pass(620);
    EXPECT_TRUE(e2_ready());
    EXPECT_GE(lab::outage_summary(mesh->outages(), "e2", mesh->observation().time).total, 615);
    const std::vector<std::string> all = broken();
    EXPECT_THAT(std::vector<std::string>(all.begin() + static_cast<long>(told), all.end()),
                ElementsAre("ready-needs-root e2: ready for over 60 s without a way to a root, "
                            "below e1 (known)",
                            "no-island e2: ready for over 600 s without a way to a root, below e1 "
                            "(known)"));
}

TEST_F(MeshRules, tell_a_state_change_that_does_not_follow) {
    const std::time_t now = mesh->started() + mesh->passed();
    std::tm parts{};
    char date[32] = "";
    gmtime_r(&now, &parts);
    std::strftime(date, sizeof(date), "%a %b %e %H:%M:%S %Y", &parts);
    lab::file_append(
        e1().at("/var/log/backhaul_flow_log"),
        std::string(date) + " : backhaul_intf_state_change : change ath0 state from 5 to 7\n");
    pass(1);
    EXPECT_THAT(broken(), ElementsAre("transitions e1: ath0 was in state 5, but by the expected "
                                      "table in 7"));
}

}  // namespace
