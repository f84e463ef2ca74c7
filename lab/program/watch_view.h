// What the live view shows and what its keys mean.
//
// Functions of values: watch.cpp owns the terminal and the connection. Texts come out of nodes'
// files and logs, so every line is made harmless before it is drawn: no node can move the cursor
// or change the terminal.
#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "lab/program/api.h"
#include "lab/report/mesh_status.h"

namespace lab {

struct WatchView {
    MeshStatus status;
    std::size_t selected = 0;      // node
    std::vector<std::string> log;  // newest lines of its flow log with their time, oldest first
    std::string message;           // what came of the last key
    bool types = false;            // a verb is being typed behind ":"
    std::string typed;
    bool quits = false;
};

// What a key asks of the mesh. Without a text: nothing.
struct WatchRequest {
    ApiAction action = ApiAction::step;
    Json body;
    std::string text;  // to show: "deauth e1"
};

// A key that is no letter has a number past all letters.
inline constexpr int KEY_UP = 0x100;
inline constexpr int KEY_DOWN = 0x101;

// Keys in what a terminal sent; unknown escape sequences are left out.
std::vector<int> watch_keys(std::string_view bytes);

// Does what the key means to the view, and returns what has to be asked of the mesh.
WatchRequest watch_key(WatchView& view, int key);

// "1-9 or arrows: node  d: deauth  ...", every key with what it does.
std::string watch_keys_line();

// The whole screen, line by line from its top: `rows` lines at most, each `columns` wide at most.
std::string watch_draw(const WatchView& view, std::size_t rows, std::size_t columns,
                       bool in_colour);

// At most that many columns of a line; where something was cut off, the last is ">". Sequences that
// set colours stay, and are ended when something was cut off; all other control characters and
// broken characters become "?".
std::string line_clipped(std::string_view line, std::size_t columns);

}  // namespace lab
