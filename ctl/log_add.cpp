// Whose a log is: what a person named becomes files, each with the name of its node.

#include "ctl/log_file.h"
#include "ctl/text.h"
#include "runtime/flow_log.h"
#include "runtime/heap.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

constexpr std::string_view OLDER_END = ".1";
constexpr std::string_view CRASH_END = ".crash";
/// Lines of a file that are searched for its first date.
constexpr int FIRST_LINES_MAX = 1000;

std::string_view name_of(std::string_view path) {
    const size_t slash = path.rfind('/');
    return slash == std::string_view::npos ? path : text_from(path, slash + 1);
}

std::string_view without_slashes(std::string_view path) {
    while (path.size() > 1 && path.ends_with('/')) {
        path.remove_suffix(1);
    }
    return path;
}

std::string_view folder_of(std::string_view path) {
    const size_t slash = path.rfind('/');
    return slash == std::string_view::npos ? std::string_view{}
                                           : without_slashes(text_first(path, slash));
}

std::string_view without_end(std::string_view path) {
    for (const std::string_view end : {OLDER_END, CRASH_END}) {
        if (path.ends_with(end)) {
            return text_first(path, path.size() - end.size());
        }
    }
    return path;
}

/// The folder of a file, as the system takes it.
std::array<char, LOG_PATH_SIZE> folder_text(std::string_view path) {
    std::array<char, LOG_PATH_SIZE> folder{};
    const std::string_view named = folder_of(path);
    text_copy(folder, !named.empty() ? named : path.starts_with('/') ? "/" : ".");
    return folder;
}

/// What `path` is when its folder is told from the top: "." has no name of its own.
std::array<char, PATH_MAX> path_from_top(std::string_view path) {
    std::array<char, PATH_MAX> whole{};
    std::array<char, PATH_MAX> real{};
    if (realpath(folder_text(path).data(), real.data()) == nullptr) {
        text_copy(whole, path);
        return whole;
    }
    text_copy(whole, real.data());
    const size_t used = std::strlen(whole.data());
    text_copy(std::span(whole).subspan(used), "/");
    const size_t behind = std::min(used + 1, whole.size() - 1);
    text_copy(std::span(whole).subspan(behind), name_of(path));
    return whole;
}

bool same_log(const log_source& one, const log_source& other) {
    return one.device == other.device && one.folder == other.folder &&
           name_of(without_end(text_of(one.path))) == name_of(without_end(text_of(other.path)));
}

int64_t first_time_of(const char* path) {
    log_reader reader(path);
    log_dates dates;
    log_entry entry;
    std::string_view line;
    for (int i = 0; i < FIRST_LINES_MAX && reader.good() && reader.next(line); ++i) {
        if (log_line_read(line, dates, entry)) {
            return entry.time;
        }
    }
    return LOG_TIME_NONE;
}

}  // namespace

log_generation log_generation_of(std::string_view path) {
    if (path.ends_with(OLDER_END)) {
        return log_generation::older;
    }
    return path.ends_with(CRASH_END) ? log_generation::crash : log_generation::current;
}

std::array<char, NODE_NAME_SIZE> log_node_name(std::string_view path) {
    std::array<char, NODE_NAME_SIZE> name{};
    std::string_view rest = without_end(path);
    const std::string_view file = name_of(rest);
    if (file.find("flow_log") == std::string_view::npos) {
        std::string_view stem = file;
        for (const std::string_view end : {".log", ".txt"}) {
            if (stem.ends_with(end)) {
                stem = text_first(stem, stem.size() - end.size());
            }
        }
        text_copy(name, stem);
        return name;
    }
    // The folder that is the node's own stands above those that every node has.
    do {
        rest = folder_of(rest);
    } while (name_of(rest) == "log" || name_of(rest) == "var");
    const std::string_view folder = name_of(rest);
    const bool is_own = folder.empty() || folder == "." || folder == ".." || folder == "/";
    text_copy(name, is_own ? "this" : folder);
    return name;
}

bool log_set::add(const char* word, std::span<char> error) {
    std::string_view path = word;
    std::string_view node;
    struct stat status {};
    const size_t equals = path.find('=');
    if (equals != std::string_view::npos && equals > 0 && stat(word, &status) != 0) {
        node = text_first(path, equals);
        path.remove_prefix(equals + 1);
    }
    if (stat(path.data(), &status) == 0 && S_ISDIR(status.st_mode)) {
        return add_folder(without_slashes(path), node, error);
    }
    return add_file(path, node, error);
}

bool log_set::add_folder(std::string_view path, std::string_view node, std::span<char> error) {
    const std::string_view log = name_of(FLOW_LOG_PATH);
    for (const char* const below : {"/var/log", ""}) {
        bool any = false;
        for (const char* const end : {".1", ".crash", ""}) {
            std::array<char, LOG_PATH_SIZE> file{};
            std::snprintf(file.data(), file.size(), "%.*s%s/%.*s%s", text_size(path), path.data(),
                          below, text_size(log), log.data(), end);
            const bool there = access(file.data(), F_OK) == 0;
            if (there && !add_file(file.data(), node, error)) {
                return false;
            }
            any = any || there;
        }
        if (any) {
            return true;
        }
    }
    std::snprintf(error.data(), error.size(), "%.*s: no flow log in this folder", text_size(path),
                  path.data());
    return false;
}

bool log_set::node_find(log_source& source, std::span<char> error) {
    const auto before = sources();
    const auto known = std::ranges::find_if(before, [&](const log_source& other) {
        return std::strcmp(other.node.data(), source.node.data()) == 0;
    });
    if (known == before.end()) {
        source.node_number = nodes_++;
        return true;
    }
    if (!same_log(*known, source) && !(known->named && source.named)) {
        std::snprintf(error.data(), error.size(),
                      "%s and %s: both would be node %s; give one a name: NODE=FILE",
                      known->path.data(), source.path.data(), source.node.data());
        return false;
    }
    source.node_number = known->node_number;
    return true;
}

bool log_set::add_file(std::string_view path, std::string_view node, std::span<char> error) {
    if (sources_ == nullptr) {
        sources_ = heap_make<log_source>(LOG_FILES_MAX);
    }
    if (sources_ == nullptr || count_ == LOG_FILES_MAX || path.size() >= LOG_PATH_SIZE) {
        std::snprintf(error.data(), error.size(), "more files than fit: %zu at most",
                      LOG_FILES_MAX);
        return false;
    }
    log_source& source = sources_[count_];
    source = log_source{};
    text_copy(source.path, path);
    if (!log_reader(source.path.data()).good()) {
        std::snprintf(error.data(), error.size(), "%s: %s", source.path.data(),
                      errno == EINVAL ? "not a regular file" : std::strerror(errno));
        return false;
    }
    struct stat status {};
    if (stat(folder_text(path).data(), &status) == 0) {
        source.device = status.st_dev;
        source.folder = status.st_ino;
    }
    source.named = !node.empty();
    if (source.named) {
        text_copy(source.node, node);
    } else {
        source.node = log_node_name(path);
        // The node that the tool runs on has no name in any path.
        if (text_of(source.node) == "this") {
            source.node = log_node_name(path_from_top(path).data());
        }
    }
    const auto before = sources();
    const bool again = std::ranges::any_of(before, [&](const log_source& other) {
        return same_log(other, source) && name_of(text_of(other.path)) == name_of(path);
    });
    if (again) {
        return true;
    }
    source.generation = log_generation_of(path);
    source.first_time = first_time_of(source.path.data());
    if (!node_find(source, error)) {
        return false;
    }
    ++count_;
    return true;
}
