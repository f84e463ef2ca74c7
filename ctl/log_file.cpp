#include "ctl/log_file.h"

#include "ctl/text.h"
#include "runtime/heap.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace {

constexpr std::string_view WORKER_START = "<-- backhaul_monitor start -->";

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

log_set::~log_set() {
    heap_drop(sources_);
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
