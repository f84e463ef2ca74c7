#include "lab/rules/islands.h"

#include <algorithm>

namespace lab {
namespace {

// Who belongs together at this look.
std::vector<std::set<std::string>> groups_of(const StrandedNodes& stranded) {
    std::vector<std::set<std::string>> groups;
    for (const auto& [node, above] : stranded) {
        std::set<std::string> group = {node};
        if (!above.empty()) {
            group.insert(above);
        }
        std::erase_if(groups, [&group](const std::set<std::string>& other) {
            const bool touches = std::ranges::any_of(
                other, [&group](const std::string& name) { return group.contains(name); });
            if (touches) {
                group.insert(other.begin(), other.end());
            }
            return touches;
        });
        groups.push_back(std::move(group));
    }
    for (std::set<std::string>& group : groups) {
        std::erase_if(group, [&](const std::string& name) { return !stranded.contains(name); });
    }
    return groups;
}

// The oldest island that one of the group is on takes in the whole group, and the others' nodes.
void group_note(IslandBook* book, std::int64_t time, const std::set<std::string>& group) {
    Island* home = nullptr;
    for (Island& island : book->islands) {
        const bool is_theirs = std::ranges::any_of(
            group, [&island](const std::string& name) { return island.stranded.contains(name); });
        if (is_theirs && home == nullptr) {
            home = &island;
        } else if (is_theirs) {
            home->stranded.merge(island.stranded);
            island.stranded.clear();
            island.from = time;
        }
    }
    if (home == nullptr) {
        book->islands.push_back({time, -1, group});
    } else {
        home->stranded.insert(group.begin(), group.end());
    }
}

}  // namespace

void islands_note(IslandBook* book, std::int64_t time, const StrandedNodes& stranded) {
    for (Island& island : book->islands) {
        std::erase_if(island.stranded,
                      [&](const std::string& name) { return !stranded.contains(name); });
    }
    for (const std::set<std::string>& group : groups_of(stranded)) {
        group_note(book, time, group);
    }
    std::erase_if(book->islands, [&](Island& island) {
        const bool ends = island.to < 0 && island.stranded.empty();
        island.to = ends ? time : island.to;
        return ends && time - island.from <= book->patience;
    });
}

IslandSummary islands_summary(const IslandBook& book, std::int64_t now) {
    IslandSummary summary;
    for (const Island& island : book.islands) {
        const std::int64_t length = (island.to < 0 ? now : island.to) - island.from;
        if (length > book.patience) {
            ++summary.count;
            summary.seconds += length;
            summary.longest = std::max(summary.longest, length);
        }
    }
    return summary;
}

}  // namespace lab
