#include "lab/scenario/scenario_generate.h"

#include <array>
#include <functional>
#include <vector>

#include "lab/scenario/scenario_defaults.h"
#include "lab/scenario/words.h"

namespace lab {
namespace {

std::string node_name(int number) {
    return number == 0 ? "root" : "e" + std::to_string(number);
}

Scenario nodes_make(int count) {
    Scenario scenario;
    for (int number = 0; number < count; ++number) {
        const NodeRole role = number == 0 ? NodeRole::root : NodeRole::extender;
        scenario.nodes.push_back(default_node(node_name(number), role));
    }
    return scenario;
}

void hears(Scenario* scenario, int a, int b, int signal) {
    scenario->hearings.push_back({node_name(a), node_name(b), signal, ""});
}

// Nodes of a ring hear their neighbours; a ring of two has one pair, not two.
void ring(Scenario* scenario, int first, int count) {
    const int pairs = count > 2 ? count : count - 1;
    for (int at = 0; at < pairs; ++at) {
        hears(scenario, first + at, first + (at + 1) % count, SIGNAL_FAR);
    }
}

struct Shape {
    std::string_view name;
    std::size_t numbers;
    int least;  // of each number
    std::string_view usage;
};

constexpr std::array SHAPES = {
    Shape{"line", 1, 1, "line NODES"},
    Shape{"star", 1, 1, "star NODES"},
    Shape{"tree", 2, 0, "tree CHILDREN GRANDCHILDREN"},
    Shape{"grid", 2, 1, "grid ROWS COLUMNS"},
};

int node_count(std::string_view shape, int a, int b) {
    return shape == "tree" ? 1 + a + a * b : shape == "grid" ? a * b : a;
}

Scenario make(std::string_view shape, int a, int b) {
    return shape == "line"   ? scenario_line(a)
           : shape == "star" ? scenario_star(a)
           : shape == "tree" ? scenario_tree(a, b)
                             : scenario_grid(a, b);
}

}  // namespace

Scenario scenario_line(int nodes) {
    Scenario scenario = nodes_make(nodes);
    for (int at = 1; at < nodes; ++at) {
        hears(&scenario, at, at - 1, SIGNAL_NEAR);
    }
    return scenario;
}

Scenario scenario_star(int nodes) {
    Scenario scenario = nodes_make(nodes);
    for (int at = 1; at < nodes; ++at) {
        hears(&scenario, at, 0, SIGNAL_NEAR);
    }
    ring(&scenario, 1, nodes - 1);
    return scenario;
}

Scenario scenario_tree(int children, int grandchildren) {
    Scenario scenario = nodes_make(1 + children + children * grandchildren);
    for (int child = 1; child <= children; ++child) {
        hears(&scenario, child, 0, SIGNAL_NEAR);
    }
    ring(&scenario, 1, children);
    for (int child = 1; child <= children; ++child) {
        for (int below = 0; below < grandchildren; ++below) {
            const int number = 1 + children + (child - 1) * grandchildren + below;
            hears(&scenario, number, child, SIGNAL_NEAR);
        }
    }
    return scenario;
}

Scenario scenario_grid(int rows, int columns) {
    Scenario scenario = nodes_make(rows * columns);
    for (int at = 0; at < rows * columns; ++at) {
        const bool has_left = at % columns > 0;
        const bool has_right = at % columns < columns - 1;
        if (has_left) {
            hears(&scenario, at, at - 1, SIGNAL_NEAR);
        }
        if (at < columns) {
            continue;
        }
        hears(&scenario, at, at - columns, SIGNAL_NEAR);
        if (has_left) {
            hears(&scenario, at, at - columns - 1, SIGNAL_FAR);
        }
        if (has_right) {
            hears(&scenario, at, at - columns + 1, SIGNAL_FAR);
        }
    }
    return scenario;
}

bool scenario_generate(const std::string& shape, std::span<const std::string> numbers,
                       Scenario* scenario, std::string& error) {
    std::vector<std::string> names;
    for (const Shape& row : SHAPES) {
        names.emplace_back(row.name);
        if (row.name != shape) {
            continue;
        }
        std::array<int, 2> values = {0, 0};
        if (numbers.size() != row.numbers) {
            error = "say `" + std::string(row.usage) + "`";
            return false;
        }
        for (std::size_t at = 0; at < row.numbers; ++at) {
            if (!number_read(numbers[at], "number of nodes", row.least, MOST_NODES, &values[at],
                             error)) {
                return false;
            }
        }
        if (node_count(shape, values[0], values[1]) > MOST_NODES) {
            error = "a mesh has at most " + std::to_string(MOST_NODES) + " nodes";
            return false;
        }
        *scenario = make(shape, values[0], values[1]);
        return true;
    }
    error = unknown_word(shape, "shape", names);
    return false;
}

}  // namespace lab
