#include "tests/harness/story.h"

#include <cstdlib>
#include <utility>

#include "lab/node/evidence.h"
#include "tests/harness/contract_record.h"
#include "tests/harness/outside.h"

namespace harness {
namespace {

std::string daemon_program() {
    const char* wanted = getenv("BACKHAUL_DAEMON");
    return wanted == nullptr ? BACKHAUL_BUILD_DIR "/backhaul_monitor" : wanted;
}

}  // namespace

Router& Story::add_router(lab::NodeOptions options, Where where) {
    options.programs = BACKHAUL_BUILD_DIR "/lab";
    if (options.daemon.empty()) {
        options.daemon = daemon_program();
    }
    std::string error;
    std::unique_ptr<lab::Node> node = lab::Node::make(options, error);
    if (node == nullptr || !clock_.add_node(node->root(), error)) {
        fail_at(where, error);
        fprintf(stderr, "FAILED: %s\n", error.c_str());
        abort();
    }
    peer();  // hears from now on
    routers_.push_back(std::make_unique<Router>(std::move(node), [this] { settle(); }));
    return *routers_.back();
}

Router& Story::add_extender(lab::NodeOptions options, Where where) {
    if (options.name == lab::NodeOptions{}.name) {
        options.name = "extender";
    }
    Router& made = add_router(std::move(options), where);
    std::string error;
    fail_if(!lab::standard_extender(made.node(), error), error, where);
    return made;
}

Router& Story::add_root(lab::NodeOptions options, Where where) {
    if (options.name == lab::NodeOptions{}.name) {
        options.name = "root";
    }
    Router& made = add_router(std::move(options), where);
    std::string error;
    fail_if(!lab::standard_root(made.node(), error), error, where);
    return made;
}

void Story::start_extender(const std::vector<std::string>& arguments, Where where) {
    add_extender({}, where).start(arguments, {}, where);
}

void Story::start_root(const std::vector<std::string>& arguments, Where where) {
    add_root({}, where).start(arguments, {}, where);
}

void Story::start_ready_extender(const std::vector<std::string>& arguments, bool admitted,
                                 Where where) {
    start_extender(arguments, where);
    if (admitted) {
        admit(where);
    }
    advance(10, where);
    driver().associated("ath0", ap(1), where);
    advance_until([this] { return router().file("/tmp/backhaul_status") == "ready\n"; }, 60, where);
    skip();
    heard();
}

void Story::advance(std::uint32_t seconds, Where where) {
    std::string error;
    fail_if(!clock_.advance(seconds, error), error, where);
}

void Story::settle(Where where) {
    std::string error;
    fail_if(!clock_.settle(error), error, where);
}

std::uint32_t Story::advance_until(const std::function<bool()>& condition, std::uint32_t limit,
                                   Where where) {
    const std::uint32_t start = now();
    settle(where);
    bool holds = condition();
    if (!holds) {
        std::string error;
        const auto look = [&holds, &condition] {
            return holds = condition();
        };
        fail_if(!clock_.advance(limit, error, look), error, where);
    }
    if (!holds) {
        fail_at(where, "nothing of the kind within ", limit, " seconds; the log ", "ends with ",
                testing::PrintToString(router().new_log()));
    }
    return now() - start;
}

std::uint32_t Story::advance_until_log(const std::string& text, std::uint32_t limit, Where where) {
    const auto is_there = [this, &text] {
        const Lines lines = router().new_log();
        return std::find(lines.begin(), lines.end(), text) != lines.end();
    };
    return advance_until(is_there, limit, where);
}

lab::UdpPeer& Story::peer() {
    if (peer_ == nullptr) {
        peer_ = std::make_unique<lab::UdpPeer>(36003);
        EXPECT_TRUE(peer_->ok()) << "port 36003 of the test itself";
    }
    return *peer_;
}

void Story::announce_root(const std::string& to) {
    EXPECT_TRUE(peer().send(to, 36002, lab::message_seal("ImRootAP", lab::MESH_NAME)));
    settle();
}

void Story::say(const std::string& word, const std::string& to) {
    EXPECT_TRUE(peer().send(to, 36003, lab::message_seal(word, lab::MESH_NAME)));
    settle();
}

void Story::admit(Where where) {
    announce_root();
    say("CHECK_VALID_REPLY", router().node().ip());
    router().expect_file("/tmp/rootap_ip", "192.168.1.1\n", where);
}

std::vector<std::string> Story::heard() {
    settle();
    std::vector<std::string> words;
    for (const lab::Datagram& datagram : peer().take()) {
        words.push_back(lab::message_open(datagram.bytes, lab::MESH_NAME));
    }
    return words;
}

void Story::TearDown() {
    std::string ignored;
    clock_.patience = std::chrono::milliseconds(2000);
    clock_.settle(ignored);  // an orphan that ended just now is still being reaped
    for (const auto& one : routers_) {
        if (check_zombies_) {
            const std::vector<std::string> left = lab::zombies(one->node());
            EXPECT_TRUE(left.empty()) << "zombies: " << testing::PrintToString(left);
        }
        if (check_sanitizers_) {
            for (const std::string& report : lab::sanitizer_reports(one->node())) {
                ADD_FAILURE() << report;
            }
        }
        one->note_contract();
    }
    contract_save();
    if (HasFailure()) {
        keep_evidence();
    }
}

void Story::keep_evidence() {
    const auto* about = testing::UnitTest::GetInstance()->current_test_info();
    lab::EvidenceFolder folder;
    std::string error;
    if (!lab::evidence_folder_make(evidence_place(),
                                   std::string(about->test_suite_name()) + "." + about->name(),
                                   &folder, error)) {
        printf("%s\n", error.c_str());
        return;
    }
    for (const auto& one : routers_) {
        lab::evidence_collect(one->node(), folder.path);
    }
    printf("evidence: %s\n", folder.name.c_str());
}

}  // namespace harness
