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

void fail_if(bool failed, const std::string& error, const char* file, int line) {
    if (failed) {
        ADD_FAILURE_AT(file, line) << error;
    }
}

}  // namespace

Router& Story::add_router(lab::NodeOptions options, const char* file, int line) {
    options.programs = BACKHAUL_BUILD_DIR "/lab";
    options.daemon = daemon_program();
    std::string error;
    std::unique_ptr<lab::Node> node = lab::Node::make(options, error);
    if (node == nullptr || clock_.add_node(node->root(), error) != 0) {
        ADD_FAILURE_AT(file, line) << error;
        fprintf(stderr, "FAILED: %s\n", error.c_str());
        abort();
    }
    peer();  // hears from now on
    routers_.push_back(std::make_unique<Router>(std::move(node), [this] { settle(); }));
    return *routers_.back();
}

Router& Story::add_extender(lab::NodeOptions options, const char* file, int line) {
    if (options.name == lab::NodeOptions{}.name) {
        options.name = "extender";
    }
    Router& made = add_router(std::move(options), file, line);
    std::string error;
    fail_if(lab::standard_extender(made.node(), error) != 0, error, file, line);
    return made;
}

Router& Story::add_root(lab::NodeOptions options, const char* file, int line) {
    if (options.name == lab::NodeOptions{}.name) {
        options.name = "root";
    }
    Router& made = add_router(std::move(options), file, line);
    std::string error;
    fail_if(lab::standard_root(made.node(), error) != 0, error, file, line);
    return made;
}

void Story::start_extender(const std::vector<std::string>& arguments, const char* file, int line) {
    add_extender({}, file, line).start(arguments, {}, file, line);
}

void Story::start_root(const std::vector<std::string>& arguments, const char* file, int line) {
    add_root({}, file, line).start(arguments, {}, file, line);
}

void Story::start_ready_extender(const std::vector<std::string>& arguments, bool admitted,
                                 const char* file, int line) {
    start_extender(arguments, file, line);
    if (admitted) {
        admit(file, line);
    }
    advance(10, file, line);
    driver().associated("ath0", ap(1), file, line);
    advance_until([this] { return router().file("/tmp/backhaul_status") == "ready\n"; }, 60, file,
                  line);
    skip();
    heard();
}

Router& Story::router() {
    return router(0);
}

Router& Story::router(size_t number) {
    return *routers_.at(number);
}

Driver& Story::driver() {
    return router().driver();
}

void Story::advance(std::uint32_t seconds, const char* file, int line) {
    std::string error;
    fail_if(clock_.advance(seconds, error) != 0, error, file, line);
}

void Story::settle(const char* file, int line) {
    std::string error;
    fail_if(clock_.settle(error) != 0, error, file, line);
}

std::uint32_t Story::now() {
    return clock_.now();
}

lab::MovedClock& Story::clock() {
    return clock_;
}

std::uint32_t Story::advance_until(const std::function<bool()>& condition, std::uint32_t limit,
                                   const char* file, int line) {
    const std::uint32_t start = now();
    settle(file, line);
    bool holds = condition();
    if (!holds) {
        std::string error;
        const auto look = [&holds, &condition] {
            return holds = condition();
        };
        fail_if(clock_.advance(limit, error, look) != 0, error, file, line);
    }
    if (!holds) {
        ADD_FAILURE_AT(file, line) << "nothing of the kind within " << limit << " seconds; the log "
                                   << "ends with " << testing::PrintToString(router().new_log());
    }
    return now() - start;
}

std::uint32_t Story::advance_until_log(const std::string& text, std::uint32_t limit,
                                       const char* file, int line) {
    const auto is_there = [this, &text] {
        const Lines lines = router().new_log();
        return std::find(lines.begin(), lines.end(), text) != lines.end();
    };
    return advance_until(is_there, limit, file, line);
}

std::string Story::ap(unsigned number) {
    return lab::ap_address(number);
}

lab::UdpPeer& Story::peer() {
    if (peer_ == nullptr) {
        peer_ = std::make_unique<lab::UdpPeer>(36003);
        EXPECT_TRUE(peer_->ok()) << "port 36003 of the test itself";
    }
    return *peer_;
}

void Story::announce_root(const std::string& to) {
    EXPECT_EQ(peer().send(to, 36002, lab::message_seal("ImRootAP", lab::kMeshName)), 0);
    settle();
}

void Story::say(const std::string& word, const std::string& to) {
    EXPECT_EQ(peer().send(to, 36003, lab::message_seal(word, lab::kMeshName)), 0);
    settle();
}

void Story::admit(const char* file, int line) {
    announce_root();
    say("CHECK_VALID_REPLY", router().node().ip());
    router().expect_file("/tmp/rootap_ip", "192.168.1.1\n", file, line);
}

std::vector<std::string> Story::heard() {
    settle();
    std::vector<std::string> words;
    for (const lab::Datagram& datagram : peer().take()) {
        words.push_back(lab::message_open(datagram.bytes, lab::kMeshName));
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

void Story::expect_log(const Lines& lines, const char* file, int line) {
    router().expect_log(lines, file, line);
}

void Story::expect_shell(const Lines& lines, const char* file, int line) {
    router().expect_shell(lines, file, line);
}

void Story::expect_calls(const Lines& lines, const char* file, int line) {
    router().expect_calls(lines, file, line);
}

void Story::expect_out(const Lines& lines, const char* file, int line) {
    router().expect_out(lines, file, line);
}

void Story::expect_err(const Lines& lines, const char* file, int line) {
    router().expect_err(lines, file, line);
}

void Story::expect_journal(const Lines& lines, const char* file, int line) {
    router().expect_journal(lines, file, line);
}

void Story::expect_status(const std::string& text, const char* file, int line) {
    router().expect_status(text, file, line);
}

void Story::expect_file(const std::string& path, const std::string& text, const char* file,
                        int line) {
    router().expect_file(path, text, file, line);
}

void Story::expect_no_file(const std::string& path, const char* file, int line) {
    router().expect_no_file(path, file, line);
}

void Story::expect_state(const std::string& interface, int state, const char* file, int line) {
    router().expect_state(interface, state, file, line);
}

void Story::skip() {
    router().skip();
}

}  // namespace harness
