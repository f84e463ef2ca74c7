#include "tests/contract/coverage.h"

#include <algorithm>

#include "lab/tools/small_file.h"
#include "lab/tools/text_escape.h"

namespace contract {
namespace {

constexpr std::string_view LAB_PROGRAMS = "lab_";

bool contains(const std::vector<std::string>& all, const std::string& one) {
    return std::find(all.begin(), all.end(), one) != all.end();
}

KindCount& count_of(Report& report, const std::string& kind) {
    const auto is_it = [&kind](const KindCount& count) {
        return count.kind == kind;
    };
    const auto found = std::find_if(report.counts.begin(), report.counts.end(), is_it);
    if (found != report.counts.end()) {
        return *found;
    }
    report.counts.push_back({kind, 0, 0, 0});
    return report.counts.back();
}

}  // namespace

Seen seen_read_folder(const std::string& folder, int* tests) {
    Seen seen;
    *tests = 0;
    for (const std::string& name : lab::folder_list(folder)) {
        if (name.rfind(LAB_PROGRAMS, 0) == 0) {
            continue;
        }
        std::string content;
        lab::file_read(folder + "/" + name, &content);
        for (const std::string_view line : lab::text_split(content, '\n')) {
            seen.emplace(line);
        }
        ++*tests;
    }
    return seen;
}

std::vector<bool> produced(const std::vector<Text>& texts, const Seen& seen) {
    std::vector<bool> is_produced(texts.size(), false);
    harness::ContractRecord record;
    for (const std::string& line : seen) {
        if (!harness::contract_record_read(line, &record)) {
            continue;
        }
        for (size_t at = 0; at < texts.size(); ++at) {
            is_produced[at] = is_produced[at] || text_explains(texts[at], record);
        }
    }
    return is_produced;
}

std::vector<std::string> exceptions_read(const std::string& content,
                                         std::vector<std::string>* errors) {
    std::vector<std::string> labels;
    bool has_reason = false;
    for (const std::string_view line : lab::text_split(content, '\n')) {
        if (line.empty()) {
            has_reason = false;
        } else if (line[0] == '#') {
            has_reason = true;
        } else {
            labels.emplace_back(line);
            if (!has_reason) {
                errors->push_back("no reason given: " + labels.back());
            }
        }
    }
    return labels;
}

Report report_make(const std::vector<Text>& texts, const std::vector<bool>& is_produced,
                   const std::vector<std::string>& exceptions) {
    Report report;
    std::vector<std::string> wanted;
    for (size_t at = 0; at < texts.size(); ++at) {
        const std::string label = text_label(texts[at]);
        KindCount& count = count_of(report, texts[at].kind);
        count.texts += 1;
        if (is_produced[at]) {
            count.produced += 1;
        } else if (contains(exceptions, label)) {
            count.excepted += 1;
            wanted.push_back(label);
        } else {
            report.missing.push_back(label);
        }
    }
    for (const std::string& label : exceptions) {
        if (!contains(wanted, label)) {
            report.needless.push_back(label);
        }
    }
    return report;
}

}  // namespace contract
