#include "lab/report/outage.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace lab {
namespace {

OutageSummary summary_of(const std::vector<Outage>& outages, std::int64_t now) {
    OutageSummary summary;
    std::vector<std::int64_t> lengths;
    for (const Outage& outage : outages) {
        const std::int64_t length = outage_seconds(outage, now);
        lengths.push_back(length);
        summary.total += length;
        summary.worst = std::max(summary.worst, length);
        summary.is_out = summary.is_out || outage.to < 0;
    }
    summary.count = static_cast<int>(lengths.size());
    if (!lengths.empty()) {
        std::sort(lengths.begin(), lengths.end());
        summary.median = lengths[(lengths.size() - 1) / 2];
    }
    return summary;
}

}  // namespace

void outage_note(OutageBook* book, const std::string& node, std::int64_t time, bool ready) {
    NodeOutages& of_node = book->nodes[node];
    const bool was_ready_once = of_node.first_ready >= 0;
    const bool is_out = !of_node.outages.empty() && of_node.outages.back().to < 0;
    if (!was_ready_once) {
        of_node.first_ready = ready ? time : -1;
    } else if (ready && is_out) {
        of_node.outages.back().to = time;
    } else if (!ready && !is_out) {
        of_node.outages.push_back({time, -1});
    }
}

std::int64_t outage_seconds(const Outage& outage, std::int64_t now) {
    return (outage.to < 0 ? now : outage.to) - outage.from;
}

OutageSummary outage_summary(const OutageBook& book, const std::string& node, std::int64_t now,
                             std::int64_t since) {
    const auto found = book.nodes.find(node);
    if (found == book.nodes.end()) {
        return {};
    }
    std::vector<Outage> outages = found->second.outages;
    std::erase_if(outages, [since](Outage& outage) {
        outage.from = std::max(outage.from, since);
        return outage.to >= 0 && outage.to <= since;
    });
    return summary_of(outages, now);
}

OutageSummary outage_summary_of_all(const OutageBook& book, std::int64_t now) {
    std::vector<Outage> outages;
    for (const auto& entry : book.nodes) {
        outages.insert(outages.end(), entry.second.outages.begin(), entry.second.outages.end());
    }
    return summary_of(outages, now);
}

std::string duration_text(std::int64_t seconds) {
    constexpr std::int64_t MINUTE = 60;
    constexpr std::int64_t HOUR = 3600;
    std::array<char, 32> text;
    if (seconds < HOUR) {
        std::snprintf(text.data(), text.size(), "%lld:%02lld",
                      static_cast<long long>(seconds / MINUTE),
                      static_cast<long long>(seconds % MINUTE));
    } else {
        std::snprintf(text.data(), text.size(), "%lld:%02lld:%02lld",
                      static_cast<long long>(seconds / HOUR),
                      static_cast<long long>(seconds % HOUR / MINUTE),
                      static_cast<long long>(seconds % MINUTE));
    }
    return text.data();
}

}  // namespace lab
