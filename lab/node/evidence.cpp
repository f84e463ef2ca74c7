#include "lab/node/evidence.h"

#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <ctime>

#include "lab/node/journal.h"
#include "lab/node/processes.h"
#include "lab/tools/small_file.h"

namespace lab {
namespace {

// Of a larger file only the end is copied: what came last says most.
constexpr std::uint64_t kLargest = 4 << 20;

void file_copy(const std::string& from, const std::string& to) {
    const std::uint64_t size = file_size(from);
    std::string text;
    if (file_read_from(from, size > kLargest ? size - kLargest : 0, &text)) {
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

std::string evidence_folder(const std::string& title, const std::string& fallback) {
    const char* wanted = getenv("BACKHAUL_EVIDENCE");
    const std::string above = wanted != nullptr && *wanted != '\0' ? wanted : fallback;
    const std::string base = above + "/" + clean_name(title);
    for (int number = 1; number < 1000; ++number) {
        const std::string folder = base + "." + std::to_string(number);
        mkdir(above.c_str(), 0755);
        if (mkdir(folder.c_str(), 0755) == 0) {
            return folder;
        }
    }
    return {};
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
