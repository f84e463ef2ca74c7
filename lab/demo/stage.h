// The stage of the demonstration: stand-in routers with real daemons, one moved time, and steps
// that are told as they happen, each with the daemon's own evidence.
//
// Used by the acts on one thread. A step does something (starts a daemon, sends a driver event,
// writes a command) and then sees evidence: a line of the flow log, a shell line, a file. Evidence
// of one router is looked for in the order in which it must come: each find starts behind the one
// before. Looking moves time second by second until the evidence is there, at most as long as the
// caller allows. The first piece that is not seen ends the act; the folder with everything that
// the routers left is then printed.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "lab/clock/clock_control.h"
#include "lab/driver/netlink_sender.h"
#include "lab/node/daemon.h"
#include "lab/node/journal.h"
#include "lab/node/node.h"
#include "lab/sandbox/outside.h"

namespace lab {

class Actor {
public:
    explicit Actor(std::unique_ptr<Node> node);

    Node& node() {
        return *node_;
    }
    const std::string& root() const {
        return node_->root();
    }
    const std::string& name() const {
        return node_->options().name;
    }

private:
    friend class Stage;

    std::unique_ptr<Node> node_;
    Daemon daemon_;
    Journal journal_;
    DriverSender driver_;
    size_t cursor_ = 0;  // behind the last evidence
};

struct StageOptions {
    std::string programs;  // folder of the lab's helper programs
    std::string daemon;
    const OutsidePlace& evidence;  // where to leave it
    bool colour = false;
};

class Stage {
public:
    explicit Stage(StageOptions options);

    // Routers, before their daemons start. The reference stays valid.
    Actor& add_extender(const std::string& name, const std::string& address);
    Actor& add_root(const std::string& name, const std::string& address);

    // False once something was not seen: the act then goes no further.
    bool good() const {
        return good_;
    }

    // Headings: of an act, and of one step in it.
    void act(const std::string& title);
    void step(const std::string& title);

    // What a step does. All of them wait until the routers are quiet again.
    void start(Actor& actor, const std::vector<std::string>& arguments = {});
    void associated(Actor& actor, const std::string& station, const std::string& ap);
    void lost(Actor& actor, const std::string& station);
    void channel(Actor& actor, const std::string& interface, unsigned channel);
    void command(Actor& actor, const std::string& word);
    void advance(std::uint32_t seconds);

    // What a step sees, within so many seconds of moved time.
    void see_log(Actor& actor, const std::string& text, std::uint32_t within = 0);
    void see_shell(Actor& actor, const std::string& line, std::uint32_t within = 0);
    void see_state(Actor& actor, const std::string& interface, int from, int to,
                   std::uint32_t within = 0);
    void see_file(Actor& actor, const std::string& path, const std::string& text,
                  std::uint32_t within = 0);
    void see_no_file_line(Actor& actor, const std::string& path, const std::string& text,
                          std::uint32_t within = 0);
    // That the log has no such line since the last evidence, after so many seconds.
    void see_quiet(Actor& actor, const std::string& text, std::uint32_t seconds);

    // Prints how many steps and pieces of evidence there were. Returns the exit code.
    int finish();

private:
    Actor& add(NodeOptions options, int (*furnish)(const Node&, std::string&));
    void settle();
    void fail(const std::string& text);
    void tell(const Actor& actor, const char* kind, const std::string& text);
    void see_entry(Actor& actor, EntryKind kind, const std::string& text, std::uint32_t within);
    bool find_entry(Actor& actor, EntryKind kind, const std::string& text);
    bool wait_for(std::uint32_t within, const std::function<bool()>& condition);
    std::string paint(const char* colour, const std::string& text) const;
    std::string clock_text() const;

    StageOptions options_;
    std::vector<std::unique_ptr<Actor>> actors_;
    MovedClock clock_;
    std::uint32_t started_ = 0;
    int steps_ = 0;
    int seen_ = 0;
    bool good_ = true;
};

}  // namespace lab
