#pragma once

// Fixture of the faults: an extender's day in a broken world, and the proof that it is whole again
// once the world is.

#include "tests/process/extender_story.h"

#include <string>
#include <vector>

class FaultStory : public ExtenderStory {
protected:
    /// A ready, admitted extender; notes what it has open. With a program for the daemon to be
    /// started through it is the router that was added before.
    void start_whole(const std::vector<std::string>& through = {});

    /// The same of an extender whose daemon runs already.
    void start_whole_running();

    /// Everything that makes it act, at once: a loss and a return of its link, a client, a command,
    /// a message, an announcement; then so many seconds. Nothing is expected.
    void live(std::uint32_t seconds = 20);

    /// Announcement, message, driver event and command are handled, the status is one of its words,
    /// nothing is left open, and the next worker becomes ready.
    void expect_whole(Where where = Where::current());

    /// The driver's event of a client is handled at once.
    void expect_event_handled(Where where = Where::current());

    /// Runs a program in the router; it must succeed.
    void inside(const std::vector<std::string>& words, Where where = Where::current());

    /// Ends the worker by SIGKILL and lets the next one start.
    void next_worker();

private:
    size_t descriptors_ = 0;
};
