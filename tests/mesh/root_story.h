#pragma once

// Fixture of the stories about a root: its standard interfaces, and what its timers leave in the
// journal. Link `test_story` beside `test_extender`.

#include "tests/mesh/mesh_story.h"

#include <string>

/// The root tells the mesh that it is there.
Lines announced();
/// The health check of the five standard APs, all of them up. `off`: those whose configuration says
/// that they are to be down.
Lines health_check(const Lines& off = {});
/// A service AP is enabled, `reference` being where its own `disabled` comes from when it follows.
Lines ap_on(const std::string& name);
Lines ap_on_following(const std::string& name, const std::string& reference);
Lines backhaul_ap_on();
/// The configuration of an interface is looked at and is complete.
Lines is_configured(const std::string& name);
Lines option_set(const std::string& name, const std::string& option, const std::string& value);
Lines event_told(const std::string& message);

class RootStory : public MeshStory {
protected:
    /// A standard root with an approval list, its daemon running; what came until then is skipped.
    void start_with_approvals(const std::string& list);

    /// Lines of the approval list.
    void approvals(const std::string& list);

    /// Moves to the second before `second` (of the root's life), forgets what came, and moves one
    /// second further.
    void only_second(std::uint32_t second, Where where = Where::current());

    /// Seconds since the start of the story.
    std::uint32_t age();
};
