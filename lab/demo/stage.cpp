#include "lab/demo/stage.h"

#include <array>
#include <cstdio>
#include <utility>

#include "lab/node/database.h"
#include "lab/node/evidence.h"
#include "lab/node/standard.h"
#include "lab/tools/small_file.h"
#include "lab/tools/state_layout.h"

namespace lab {
namespace {

constexpr char kBold[] = "1";
constexpr char kGreen[] = "32";
constexpr char kRed[] = "31";
constexpr char kFaint[] = "2";

}  // namespace

Actor::Actor(std::unique_ptr<Node> node)
    : node_(std::move(node)), daemon_(*node_), journal_(*node_) {}

Stage::Stage(StageOptions options) : options_(std::move(options)) {}

std::string Stage::paint(const char* colour, const std::string& text) const {
    return options_.colour ? "\033[" + std::string(colour) + "m" + text + "\033[0m" : text;
}

std::string Stage::clock_text() const {
    const std::uint32_t passed = clock_.now() < started_ ? 0 : clock_.now() - started_;
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%02u:%02u:%02u", passed / 3600, passed / 60 % 60,
                  passed % 60);
    return text.data();
}

void Stage::fail(const std::string& text) {
    if (!good_) {
        return;
    }
    good_ = false;
    printf("          %s %s\n", paint(kRed, "NOT SEEN").c_str(), text.c_str());
    EvidenceFolder folder;
    std::string error;
    if (!evidence_folder_make(options_.evidence, "demonstration", &folder, error)) {
        printf("          %s\n", error.c_str());
        return;
    }
    for (const auto& actor : actors_) {
        evidence_collect(actor->node(), folder.path);
    }
    printf("          evidence: %s\n", folder.name.c_str());
}

void Stage::settle() {
    std::string error;
    if (good_ && clock_.settle(error) != 0) {
        fail(error);
    }
}

Actor& Stage::add(NodeOptions options, int (*furnish)(const Node&, std::string&)) {
    options.programs = options_.programs;
    options.daemon = options_.daemon;
    options.start_time = started_ == 0 ? kNodeStartTime : clock_.now();
    std::string error;
    std::unique_ptr<Node> node = Node::make(options, error);
    if (node == nullptr || furnish(*node, error) != 0 ||
        clock_.add_node(node->root(), error) != 0) {
        fprintf(stderr, "cannot make a router: %s\n", error.c_str());
        exit(1);
    }
    started_ = started_ == 0 ? clock_.now() : started_;
    actors_.push_back(std::make_unique<Actor>(std::move(node)));
    Actor& actor = *actors_.back();
    if (driver_open(&actor.driver_, actor.node().init()) != 0) {
        fail(actor.driver_.error);
    }
    return actor;
}

Actor& Stage::add_extender(const std::string& name, const std::string& address) {
    NodeOptions options;
    options.name = name;
    options.address = address;
    return add(std::move(options), standard_extender);
}

Actor& Stage::add_root(const std::string& name, const std::string& address) {
    NodeOptions options;
    options.name = name;
    options.address = address;
    options.gateway = "192.168.1.254";
    return add(std::move(options), standard_root);
}

void Stage::act(const std::string& title) {
    printf("\n%s\n", paint(kBold, title).c_str());
}

void Stage::step(const std::string& title) {
    if (good_) {
        ++steps_;
        printf("%s  %s\n", clock_text().c_str(), title.c_str());
    }
}

void Stage::tell(const Actor& actor, const char* kind, const std::string& text) {
    ++seen_;
    const std::string who = actors_.size() > 1 ? actor.name() + " " : "";
    printf("%s  %s %s%s %s\n", paint(kFaint, clock_text()).c_str(), paint(kGreen, "seen").c_str(),
           who.c_str(), kind, text.c_str());
}

void Stage::start(Actor& actor, const std::vector<std::string>& arguments) {
    std::string error;
    DaemonOptions options;
    options.arguments = arguments;
    if (good_ && actor.daemon_.start(options, error) != 0) {
        fail(error);
    }
    settle();
}

void Stage::associated(Actor& actor, const std::string& station, const std::string& ap) {
    wifi_associated_set(actor.root(), station, ap);
    if (good_ && driver_associated(&actor.driver_, station, mac_from_text(ap)) != 0) {
        fail(actor.driver_.error);
    }
    settle();
}

void Stage::lost(Actor& actor, const std::string& station) {
    wifi_not_associated_set(actor.root(), station);
    if (good_ && driver_disassociated(&actor.driver_, station) != 0) {
        fail(actor.driver_.error);
    }
    settle();
}

void Stage::channel(Actor& actor, const std::string& interface, unsigned channel) {
    if (good_ && driver_channel_changed(&actor.driver_, interface,
                                        static_cast<std::uint8_t>(channel)) != 0) {
        fail(actor.driver_.error);
    }
    settle();
}

void Stage::command(Actor& actor, const std::string& word) {
    std::string error;
    if (good_ && fifo_command(actor.node(), word + "\n", error) != 0) {
        fail(error);
    }
    settle();
}

void Stage::advance(std::uint32_t seconds) {
    std::string error;
    if (good_ && clock_.advance(seconds, error) != 0) {
        fail(error);
    }
}

bool Stage::wait_for(std::uint32_t within, const std::function<bool()>& condition) {
    settle();
    if (!good_) {
        return false;
    }
    bool holds = condition();
    if (!holds && within > 0) {
        std::string error;
        if (clock_.advance(within, error, [&] { return holds = condition(); }) != 0) {
            fail(error);
            return false;
        }
    }
    return holds;
}

bool Stage::find_entry(Actor& actor, EntryKind kind, const std::string& text) {
    actor.journal_.update();
    const std::vector<JournalEntry>& entries = actor.journal_.entries();
    for (size_t at = actor.cursor_; at < entries.size(); ++at) {
        if (entries[at].kind == kind && entries[at].text == text) {
            actor.cursor_ = at + 1;
            return true;
        }
    }
    return false;
}

void Stage::see_entry(Actor& actor, EntryKind kind, const std::string& text, std::uint32_t within) {
    const char* word = kind == EntryKind::LOG ? "log  " : "ran  ";
    if (wait_for(within, [&] { return find_entry(actor, kind, text); })) {
        tell(actor, word, text);
    } else {
        fail(actor.name() + " " + word + " " + text);
    }
}

void Stage::see_log(Actor& actor, const std::string& text, std::uint32_t within) {
    see_entry(actor, EntryKind::LOG, text, within);
}

void Stage::see_shell(Actor& actor, const std::string& line, std::uint32_t within) {
    see_entry(actor, EntryKind::SHELL, line, within);
}

void Stage::see_state(Actor& actor, const std::string& interface, int from, int to,
                      std::uint32_t within) {
    see_log(actor,
            "backhaul_intf_state_change : change " + interface + " state from " +
                std::to_string(from) + " to " + std::to_string(to),
            within);
}

void Stage::see_file(Actor& actor, const std::string& path, const std::string& text,
                     std::uint32_t within) {
    std::string found;
    const auto is_text = [&] {
        found.clear();
        file_read(actor.node().at(path), &found);
        return found == text;
    };
    if (wait_for(within, is_text)) {
        tell(actor, "file ", path + " = \"" + without_line_end(text) + "\"");
    } else {
        fail(path + " = \"" + without_line_end(text) + "\"; it holds \"" + without_line_end(found) +
             "\"");
    }
}

void Stage::see_no_file_line(Actor& actor, const std::string& path, const std::string& text,
                             std::uint32_t within) {
    std::string found;
    const auto is_gone = [&] {
        found.clear();
        file_read(actor.node().at(path), &found);
        return found.find(text) == std::string::npos;
    };
    if (wait_for(within, is_gone)) {
        tell(actor, "file ", path + " no longer holds " + text);
    } else {
        fail(path + " without " + text);
    }
}

void Stage::see_quiet(Actor& actor, const std::string& text, std::uint32_t seconds) {
    const size_t before = actor.cursor_;
    if (wait_for(seconds, [&] { return find_entry(actor, EntryKind::LOG, text); })) {
        fail("no such line: " + text);
    } else if (good_) {
        actor.cursor_ = before;
        tell(actor, "quiet", "no \"" + text + "\" for " + std::to_string(seconds) + " seconds");
    }
}

int Stage::finish() {
    if (good_) {
        printf("\n%s: %d steps, %d pieces of evidence, %s of the daemon's time\n",
               paint(kGreen, "every step was seen").c_str(), steps_, seen_, clock_text().c_str());
        return 0;
    }
    printf("\n%s after %d steps and %d pieces of evidence\n", paint(kRed, "stopped").c_str(),
           steps_, seen_);
    return 1;
}

}  // namespace lab
