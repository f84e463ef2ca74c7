#include "lab/scenario/statement_table.h"

#include <array>

namespace lab {
namespace {

constexpr std::array STATEMENTS = {
    Statement{{"title", "title TEXT", "What the scenario shows."}, title_read},
    Statement{
        {"include", "include FILE", "Reads that file first, named from the folder of this one."},
        include_read},
    Statement{{"mesh", "mesh SSID KEY", "SSID and key of the backhaul."}, mesh_read},
    Statement{{"seed", "seed N", "Where random choices begin."}, seed_read},
    Statement{{"association-time", "association-time SECONDS",
               "How long a station searches before it has its AP (2)."},
              association_read},
    Statement{{"boot-time", "boot-time SECONDS", "From power to the daemon's start (20)."},
              boot_read},
    Statement{{"island-time", "island-time SECONDS",
               "How long who is ready without a root is ready until it is an island (600)."},
              island_read},
    Statement{
        {"channels", "channels CHANNEL...", "Channels of the upper 5 GHz radio (100 116 132 140)."},
        channels_read},
    Statement{{"line", "line NODES", "A chain of nodes: root, e1, e2, ..."}, line_read},
    Statement{{"star", "star NODES", "Everybody hears the root."}, star_read},
    Statement{{"tree", "tree CHILDREN GRANDCHILDREN", "Two levels under the root."}, tree_read},
    Statement{{"grid", "grid ROWS COLUMNS", "Rows of nodes, the root in a corner."}, grid_read},
    Statement{{"node", "node NAME root|extender", "A node with the usual interfaces."}, node_read},
    Statement{{"group", "group NAME NODE...",
               "A name for several nodes, or groups, or `all`; for `each`."},
              group_read},
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

}  // namespace

std::span<const StatementRow> statement_table() {
    return STATEMENT_ROWS;
}

std::span<const Statement> statement_readers() {
    return STATEMENTS;
}

}  // namespace lab
