#include "ctl/log_file.h"

#include "ctl/text.h"
#include "runtime/flow_log.h"
#include "runtime/heap.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

constexpr std::string_view OLDER_END = ".1";
constexpr std::string_view CRASH_END = ".crash";
constexpr std::string_view WORKER_START = "<-- backhaul_monitor start -->";
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

/// Opened without waiting, because a FIFO may stand there; only a regular file is taken.
int regular_open(const char* path) {
    const int fd = open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    struct stat status {};
    if (fd >= 0 && (fstat(fd, &status) != 0 || !S_ISREG(status.st_mode))) {
        close(fd);
        errno = EINVAL;
        return -1;
    }
    return fd;
}

/// What `path` is when its folder is told from the top: "." and "" have no name of their own.
std::array<char, PATH_MAX> path_from_top(std::string_view path) {
    std::array<char, LOG_PATH_SIZE> folder{};
    const std::string_view before = folder_of(path);
    const bool at_top = before.empty() && path.starts_with('/');
    text_copy(folder, at_top ? "/" : before.empty() ? "." : before);
    std::array<char, PATH_MAX> whole{};
    std::array<char, PATH_MAX> real{};
    if (realpath(folder.data(), real.data()) == nullptr) {
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

/// One file's lines to the visitor; returns whether an entry was among them.
class file_teller {
public:
    file_teller(const log_source& source, const log_source* before, log_visitor& visitor)
        : source_(source), before_(before), visitor_(visitor) {}

    void run() {
        log_reader reader(source_.path.data());
        std::string_view line;
        while (reader.good() && reader.next(line)) {
            tell(line);
        }
    }

private:
    void tell(std::string_view line) {
        log_entry entry;
        if (!log_line_read(line, dates_, entry)) {
            begin(false);
            visitor_.garbage(line);
            return;
        }
        begin(entry.text == WORKER_START);
        // Without a line end of its own an entry runs on into the next one.
        const size_t run_on = log_line_run_on(entry.text, dates_);
        if (run_on != std::string_view::npos) {
            const std::string_view rest = text_from(entry.text, run_on);
            entry.text = text_first(entry.text, run_on);
            entry.line = text_first(line, LOG_PREFIX_SIZE + run_on);
            visitor_.entry(entry, log_event_read(entry.text));
            tell(rest);
            return;
        }
        visitor_.entry(entry, log_event_read(entry.text));
    }

    void begin(bool with_start) {
        if (begun_) {
            return;
        }
        begun_ = true;
        const bool rotated = before_ != nullptr && before_->generation == log_generation::older &&
                             source_.generation == log_generation::current;
        visitor_.file_begin(source_, with_start || rotated);
    }

    const log_source& source_;
    const log_source* const before_;
    log_visitor& visitor_;
    log_dates dates_;
    bool begun_ = false;
};

}  // namespace

log_reader::log_reader(const char* path) : file_(regular_open(path)) {}

bool log_reader::fill() {
    if (begin_ > 0) {
        std::memmove(block_.data(), block_.data() + begin_, end_ - begin_);
        end_ -= begin_;
        begin_ = 0;
    }
    ssize_t got = 0;
    do {
        got = ::read(file_.get(), block_.data() + end_, block_.size() - end_);
    } while (got < 0 && errno == EINTR);
    at_end_ = got <= 0;
    end_ += at_end_ ? 0 : static_cast<size_t>(got);
    return !at_end_;
}

bool log_reader::next(std::string_view& line) {
    size_t searched = 0;
    for (;;) {
        const char* const begin = block_.data() + begin_;
        const size_t size = end_ - begin_;
        const auto* const found =
            static_cast<const char*>(std::memchr(begin + searched, '\n', size - searched));
        if (found != nullptr) {
            const auto length = static_cast<size_t>(found - begin);
            line = text_first({begin, length}, LOG_LINE_MAX);
            begin_ += length + 1;
            return true;
        }
        if (size == block_.size()) {
            // A line that fills the block: only its beginning counts, the rest is dropped.
            end_ = LOG_LINE_MAX;
        }
        searched = end_ - begin_;
        if (at_end_ || !fill()) {
            break;
        }
    }
    if (begin_ == end_) {
        return false;
    }
    line = text_first({block_.data() + begin_, end_ - begin_}, LOG_LINE_MAX);
    begin_ = end_;
    return true;
}

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

log_set::~log_set() {
    heap_drop(sources_);
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
            struct stat status {};
            if (stat(file.data(), &status) == 0) {
                if (!add_file(file.data(), node, error)) {
                    return false;
                }
                any = true;
            }
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
    const auto whole = path_from_top(path);
    std::array<char, PATH_MAX> folder{};
    text_copy(folder, folder_of(whole.data()));
    struct stat status {};
    if (stat(folder[0] == '\0' ? "/" : folder.data(), &status) == 0) {
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
            source.node = log_node_name(whole.data());
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

void log_set::sort() {
    std::sort(sources_, sources_ + count_, [](const log_source& one, const log_source& other) {
        if (one.node_number != other.node_number) {
            return one.node_number < other.node_number;
        }
        if (one.first_time != other.first_time) {
            return one.first_time < other.first_time;
        }
        if (one.generation != other.generation) {
            return one.generation < other.generation;
        }
        return std::strcmp(one.path.data(), other.path.data()) < 0;
    });
}

void log_set::read(log_visitor& visitor) const {
    const log_source* before = nullptr;
    for (const log_source& source : sources()) {
        const bool is_new = before == nullptr || before->node_number != source.node_number;
        if (is_new && before != nullptr) {
            visitor.node_end(*before);
        }
        if (is_new) {
            visitor.node_begin(source);
        }
        file_teller(source, is_new ? nullptr : before, visitor).run();
        before = &source;
    }
    if (before != nullptr) {
        visitor.node_end(*before);
    }
}
