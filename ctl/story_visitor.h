#pragma once

// The bridge from files to stories: a story for each node, fed with what the files hold. Commands
// derive from it and look at the story before and after each entry.

#include "ctl/story.h"

#include <memory>
#include <new>

class story_visitor : public log_visitor, public story_listener {
public:
    void node_begin(const log_source& /*first*/) override {
        std::destroy_at(&story_);
        new (&story_) story(*this);
    }
    void file_begin(const log_source& /*source*/, bool follows_on) override {
        if (!follows_on && story_.counts().entries > 0) {
            story_.gap();
        }
    }
    void entry(const log_entry& entry, const log_event& event) override {
        story_.feed(entry, event);
        entry_done(entry, event);
    }
    void garbage(std::string_view /*line*/) override {
        story_.garbage();
    }
    void node_end(const log_source& last) override {
        node_over(last);
        story_.finish();
        node_done(last);
    }

    /// An entry has been fed.
    virtual void entry_done(const log_entry& /*entry*/, const log_event& /*event*/) {}
    /// A node's last entry has been fed; its spans are still open.
    virtual void node_over(const log_source& /*last*/) {}
    /// All is closed.
    virtual void node_done(const log_source& /*last*/) {}

    const story& told() const {
        return story_;
    }

protected:
    ~story_visitor() = default;
    story& told_mutable() {
        return story_;
    }

private:
    story story_{*this};
};
