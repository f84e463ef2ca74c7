#include "lab/scenario/scenario_parse.h"

#include <algorithm>
#include <array>

#include "lab/scenario/scenario_step.h"
#include "lab/scenario/statements.h"
#include "lab/scenario/words.h"

namespace lab {
namespace {

using Words = std::span<const std::string>;

// A file that is no scenario at all is wrong in every line.
constexpr std::size_t MOST_ERRORS = 50;

struct Statement {
    StatementRow row;
    StatementReader read;
};

constexpr std::array STATEMENTS = {
    Statement{{"title", "title TEXT", "What the scenario shows."}, title_read},
    Statement{{"mesh", "mesh SSID KEY", "SSID and key of the backhaul."}, mesh_read},
    Statement{{"seed", "seed N", "Where random choices begin."}, seed_read},
    Statement{{"association-time", "association-time SECONDS",
               "How long a station searches before it has its AP (2)."},
              association_read},
    Statement{{"boot-time", "boot-time SECONDS", "From power to the daemon's start (20)."},
              boot_read},
    Statement{
        {"channels", "channels CHANNEL...", "Channels of the upper 5 GHz radio (100 116 132 140)."},
        channels_read},
    Statement{{"line", "line NODES", "A chain of nodes: root, e1, e2, ..."}, line_read},
    Statement{{"star", "star NODES", "Everybody hears the root."}, star_read},
    Statement{{"tree", "tree CHILDREN GRANDCHILDREN", "Two levels under the root."}, tree_read},
    Statement{{"grid", "grid ROWS COLUMNS", "Rows of nodes, the root in a corner."}, grid_read},
    Statement{{"node", "node NAME root|extender", "A node with the usual interfaces."}, node_read},
    Statement{{"options", "options NODE [WORD...]",
               "The daemon's options besides -m, in the place of -d."},
              options_read},
    Statement{{"interface", "interface NODE NAME TYPE BAND PRIORITY FOLLOW",
               "A line of the profile, new or in the place of the one with that name."},
              interface_read},
    Statement{{"without", "without NODE INTERFACE...|all", "The node lacks these interfaces."},
              without_read},
    Statement{{"unconfigured", "unconfigured NODE STATION...",
               "These stations have no SSID and key yet."},
              unconfigured_read},
    Statement{{"unapproved", "unapproved NODE", "The node is not on the approval list yet."},
              unapproved_read},
    Statement{{"uci", "uci NODE KEY VALUE", "An entry of the configuration store."}, uci_read},
    Statement{{"hears", "hears NODE NODE SIGNAL [BAND]",
               "Both hear each other with so many dBm or `none`, on all bands or on 2, 5h or 5l."},
              hears_read},
    Statement{{"cable", "cable NODE PEER", "A cable up to the peer is plugged in."}, cable_read},
};

constexpr auto statement_rows() {
    std::array<StatementRow, STATEMENTS.size()> rows;
    for (std::size_t at = 0; at < rows.size(); ++at) {
        rows[at] = STATEMENTS[at].row;
    }
    return rows;
}
constexpr std::array STATEMENT_ROWS = statement_rows();

bool statement_read(Words words, Scenario* scenario, int line, std::string& error) {
    for (const Statement& statement : STATEMENTS) {
        if (statement.row.name == words[0]) {
            const bool good = statement.read(words.subspan(1), scenario, error);
            if (!good && error.empty()) {
                error = "say `" + std::string(statement.row.usage) + "`";
            }
            return good;
        }
    }
    ScenarioStep step;
    step.line = line;
    if (!step_parse(words, *scenario, &step, error)) {
        return false;
    }
    if (scenario->steps.size() >= MOST_STEPS) {
        error = "a scenario has at most " + std::to_string(MOST_STEPS) + " steps";
        return false;
    }
    scenario->steps.push_back(step);
    return true;
}

}  // namespace

std::span<const StatementRow> statement_table() {
    return STATEMENT_ROWS;
}

bool scenario_parse(std::string_view text, Scenario* scenario, std::vector<ScenarioError>* errors) {
    *scenario = {};
    errors->clear();
    int line = 0;
    while (!text.empty()) {
        ++line;
        const std::size_t end = std::min(text.find('\n'), text.size());
        std::vector<std::string> words;
        std::string error;
        const bool cut = line_words(text.substr(0, end), &words, error);
        text.remove_prefix(std::min(end + 1, text.size()));
        if (cut && words.empty()) {
            continue;
        }
        if (!cut || !statement_read(words, scenario, line, error)) {
            errors->push_back({line, error});
            if (errors->size() >= MOST_ERRORS) {
                errors->push_back({line, "too many mistakes: what follows was not read"});
                return false;
            }
        }
    }
    if (errors->empty() && scenario->nodes.empty()) {
        errors->push_back({line, "there is no node: begin with `node root root` or `line 3`"});
    }
    return errors->empty();
}

std::string scenario_errors_text(std::string_view file, const std::vector<ScenarioError>& errors) {
    std::string text;
    for (const ScenarioError& error : errors) {
        text += std::string(file) + ":" + std::to_string(error.line) + ": " + error.text + "\n";
    }
    return text;
}

}  // namespace lab
