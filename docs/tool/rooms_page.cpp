// The rooms of the house: `rooms_page check` says what breaks their order, `rooms_page dot` prints
// their drawing. Rooms and what each may use come from the build (a line a room, itself first),
// everything else from the include lines of the sources.
//
// Called by ./run docs and by a test, with the folder of the sources and the file of the rooms.

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <map>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

/// Names and what each leads to: rooms by name, or files (a header and its source as one).
using Graph = std::map<std::string, std::set<std::string>>;

struct House {
    std::vector<std::string> rooms;  ///< from the ground up
    Graph uses;                      ///< as the build declares them
    Graph files;                     ///< as the include lines say
};

std::string folder_of(const std::string& file) {
    return fs::path(file).parent_path().string();
}

/// Without its ending: header and source are one.
std::string unit_of(const fs::path& file) {
    return (file.parent_path() / file.stem()).string();
}

void includes_read(const fs::path& root, const fs::path& file, Graph& files) {
    static const std::regex include("^#include \"([^\"]+)\"");
    const std::string unit = unit_of(file);
    auto& targets = files[unit];
    std::ifstream stream(root / file);
    for (std::string line; std::getline(stream, line);) {
        std::smatch found;
        if (std::regex_search(line, found, include) && unit_of(found.str(1)) != unit) {
            targets.insert(unit_of(found.str(1)));
        }
    }
}

House house_read(const fs::path& root, const fs::path& rooms_file) {
    House house;
    std::ifstream stream(rooms_file);
    for (std::string line; std::getline(stream, line);) {
        std::istringstream words(line);
        std::string room;
        words >> room;
        house.rooms.push_back(room);
        auto& used = house.uses[room];
        for (std::string lower; words >> lower;) {
            used.insert(lower);
        }
    }
    std::vector<std::string> folders = house.rooms;
    folders.emplace_back("lab");
    for (const std::string& folder : folders) {
        for (const auto& entry : fs::recursive_directory_iterator(root / folder)) {
            const fs::path file = fs::relative(entry.path(), root);
            if (file.extension() == ".h" || file.extension() == ".cpp") {
                includes_read(root, file, house.files);
            }
        }
    }
    return house;
}

/// The folders and what their files include.
Graph folders_of(const Graph& files) {
    Graph folders;
    for (const auto& [file, targets] : files) {
        auto& used = folders[folder_of(file)];
        for (const std::string& target : targets) {
            if (folder_of(target) != folder_of(file)) {
                used.insert(folder_of(target));
            }
        }
    }
    return folders;
}

/// A way from `at` back to `start` that visits nothing twice, or nothing.
bool circle_find(const Graph& graph, const std::string& start, const std::string& at,
                 std::set<std::string>& seen, std::vector<std::string>& way) {
    way.push_back(at);
    const auto found = graph.find(at);
    if (found != graph.end()) {
        for (const std::string& next : found->second) {
            if (next == start ||
                (seen.insert(next).second && circle_find(graph, start, next, seen, way))) {
                return true;
            }
        }
    }
    way.pop_back();
    return false;
}

/// Prints each circle once; returns whether there was none.
bool circles_check(const Graph& graph, const char* kind) {
    bool good = true;
    std::set<std::string> told;
    for (const auto& [start, unused] : graph) {
        std::set<std::string> seen;
        std::vector<std::string> way;
        if (told.contains(start) || !circle_find(graph, start, start, seen, way)) {
            continue;
        }
        good = false;
        std::cout << "circle of " << kind << ":";
        for (const std::string& step : way) {
            std::cout << ' ' << step << " ->";
            told.insert(step);
        }
        std::cout << ' ' << start << '\n';
    }
    return good;
}

bool declarations_check(const House& house) {
    bool good = true;
    const Graph folders = folders_of(house.files);
    for (const std::string& room : house.rooms) {
        const auto& declared = house.uses.at(room);
        const auto& used = folders.at(room);
        for (const std::string& other : used) {
            if (!declared.contains(other)) {
                std::cout << room << " includes " << other << ", which it does not declare\n";
                good = false;
            }
        }
        for (const std::string& other : declared) {
            if (!used.contains(other)) {
                std::cout << room << " declares " << other << " and includes nothing of it\n";
                good = false;
            }
        }
    }
    return good;
}

/// Whether `to` is reached from a room that `from` uses: the arrow then says nothing new.
bool is_implied(const House& house, const std::string& from, const std::string& to) {
    const auto reaches = [&](const auto& self, const std::string& room) -> bool {
        const auto& next = house.uses.at(room);
        return next.contains(to) ||
               std::ranges::any_of(next, [&](const auto& n) { return self(self, n); });
    };
    return std::ranges::any_of(house.uses.at(from), [&](const std::string& room) {
        return room != to && reaches(reaches, room);
    });
}

void drawing_print(const House& house) {
    std::cout << "digraph rooms {\n    rankdir=TB;\n"
                 "    node [shape=box, fontname=\"sans\", margin=\"0.2,0.1\"];\n";
    const Graph& files = house.files;
    for (const std::string& room : house.rooms) {
        std::cout << "    " << room << " [label=\"" << room << "/\\n";
        size_t column = 0;
        for (const auto& [file, unused] : files) {
            if (folder_of(file) == room) {
                std::cout << (column == 0       ? ""
                              : column % 4 == 0 ? "\\n"
                                                : "  ")
                          << fs::path(file).filename().string();
                ++column;
            }
        }
        std::cout << "\"];\n";
    }
    for (const std::string& room : house.rooms) {
        for (const std::string& lower : house.uses.at(room)) {
            if (!is_implied(house, room, lower)) {
                std::cout << "    " << room << " -> " << lower << ";\n";
            }
        }
    }
    std::cout << "}\n";
}

}  // namespace

int main(int argc, char** argv) {
    const std::vector<std::string> words(argv, argv + argc);
    if (words.size() != 4 || (words[1] != "check" && words[1] != "dot")) {
        std::cerr << "usage: rooms_page check|dot SOURCES ROOMS\n";
        return 2;
    }
    const House house = house_read(words[2], words[3]);
    if (words[1] == "dot") {
        drawing_print(house);
        return 0;
    }
    const bool declared = declarations_check(house);
    const bool files = circles_check(house.files, "files");
    const bool folders = circles_check(folders_of(house.files), "folders");
    return declared && files && folders ? 0 : 1;
}
