#include "lab/node/evidence.h"

#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include "lab/node/journal.h"
#include "lab/node/processes.h"
#include "lab/tools/small_file.h"

namespace lab {
namespace {

// Of a larger file only the end is copied: what came last says most.
constexpr std::uint64_t LARGEST = 4 << 20;
constexpr int MOST_FOLDERS = 1000;  // of one title

void file_copy(const std::string& from, const std::string& to) {
    const std::uint64_t size = file_size(from);
    std::string text;
    if (file_read_from(from, size > LARGEST ? size - LARGEST : 0, &text)) {
        file_write(to, text);
    }
}

void copy_tree(const std::string& from, const std::string& to, int depth) {
    DIR* folder = depth > 6 ? nullptr : opendir(from.c_str());
    if (folder == nullptr) {
        return;
    }
    struct stat place {};
    stat(from.c_str(), &place);
    while (const dirent* entry = readdir(folder)) {
        const std::string name = entry->d_name;
        struct stat about {};
        if (name == "." || name == ".." || lstat((from + "/" + name).c_str(), &about) != 0) {
            continue;
        }
        // Programs and folders from outside that are kept visible are on another file system.
        if (about.st_dev != place.st_dev) {
            continue;
        }
        if (S_ISDIR(about.st_mode)) {
            copy_tree(from + "/" + name, to + "/" + name, depth + 1);
        } else if (S_ISREG(about.st_mode)) {
            file_copy(from + "/" + name, to + "/" + name);
        }
    }
    closedir(folder);
}

std::string clean_name(const std::string& title) {
    std::string name;
    for (const char one : title) {
        const bool plain = (one >= 'a' && one <= 'z') || (one >= 'A' && one <= 'Z') ||
                           (one >= '0' && one <= '9') || one == '_' || one == '-' || one == '.';
        name += plain ? one : '_';
    }
    return name;
}

std::string process_list(const Node& node) {
    std::string text;
    for (const ProcessInfo& one : node_processes(node)) {
        text += std::to_string(one.inner) + " " + one.name + " " + one.state + " parent " +
                std::to_string(one.parent) + " threads " + std::to_string(one.threads) + " kb " +
                std::to_string(one.resident_kb) + "\n";
        for (const std::string& descriptor : descriptors_of(one.pid)) {
            text += "    " + descriptor + "\n";
        }
    }
    return text;
}

}  // namespace

bool evidence_place_open(const std::string& wanted, const std::string& fallback,
                         OutsidePlace* place, std::string& error) {
    const char* said = getenv("BACKHAUL_EVIDENCE");
    const bool is_said = said != nullptr && *said != '\0';
    return place->open(!wanted.empty() ? wanted : is_said ? said : fallback, error);
}

bool evidence_folder_make(const OutsidePlace& place, const std::string& title, EvidenceFolder* made,
                          std::string& error) {
    folder_make(place.path());
    for (int number = 1; number < MOST_FOLDERS; ++number) {
        const std::string name = "/" + clean_name(title) + "." + std::to_string(number);
        if (mkdir((place.path() + name).c_str(), 0755) == 0) {
            *made = {place.name() + name, place.path() + name};
            return true;
        }
        if (errno != EEXIST) {
            break;
        }
    }
    error = "cannot make a folder for evidence in " + place.name() + ": " + strerror(errno);
    return false;
}

void evidence_collect(const Node& node, const std::string& folder) {
    const std::string to = folder + "/" + node.options().name;
    for (const char* place : {"/tmp", "/var/log", "/run"}) {
        copy_tree(node.at(place), to + place, 0);
    }
    file_write(to + "/processes", process_list(node));
    Journal journal(node);
    journal.update();
    std::string text;
    for (const JournalEntry& entry : journal.entries()) {
        text += std::to_string(entry.time) + " " + journal_text(entry) + "\n";
    }
    file_write(to + "/journal", text);
}

}  // namespace lab
