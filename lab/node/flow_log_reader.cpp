#include "lab/node/flow_log_reader.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <ctime>
#include <utility>

namespace lab {
namespace {

// "Thu Jan  1 00:00:00 1970" and " : ".
constexpr char DATE_FORMAT[] = "%a %b %e %H:%M:%S %Y";
constexpr size_t DATE_LENGTH = 24;
constexpr size_t PREFIX_LENGTH = 27;

std::uint64_t inode_of(const std::string& path) {
    struct stat about {};
    return stat(path.c_str(), &about) == 0 ? static_cast<std::uint64_t>(about.st_ino) : 0;
}

}  // namespace

std::string log_line_join(std::int64_t time, const std::string& text) {
    const std::time_t seconds = time;
    std::tm parts{};
    std::array<char, 32> date{};
    gmtime_r(&seconds, &parts);
    std::strftime(date.data(), date.size(), DATE_FORMAT, &parts);
    return std::string(date.data()) + " : " + text;
}

bool log_line_split(const std::string& line, std::int64_t& time, std::string& text) {
    if (line.size() < PREFIX_LENGTH || line.compare(DATE_LENGTH, 3, " : ") != 0) {
        return false;
    }
    tm date{};
    const std::string prefix = line.substr(0, DATE_LENGTH);
    const char* end = strptime(prefix.c_str(), DATE_FORMAT, &date);
    if (end == nullptr || *end != '\0') {
        return false;
    }
    time = timegm(&date);
    text = line.substr(PREFIX_LENGTH);
    return true;
}

FlowLogReader::FlowLogReader(std::string path) : path_(std::move(path)) {}

FlowLogReader::~FlowLogReader() {
    if (fd_ >= 0) {
        close(fd_);
    }
}

bool FlowLogReader::follow(int fd) {
    struct stat about {};
    if (fd < 0 || fstat(fd, &about) != 0) {
        return false;
    }
    if (fd_ >= 0) {
        close(fd_);
    }
    fd_ = fd;
    inode_ = static_cast<std::uint64_t>(about.st_ino);
    offset_ = 0;
    partial_.clear();
    generations_.push_back(inode_);
    return true;
}

// With `final` set nothing more will come, and a line without its end counts as one.
void FlowLogReader::read_rest(std::vector<LogLine>& lines, bool final) {
    std::array<char, 16384> block{};
    ssize_t got = 0;
    while ((got = pread(fd_, block.data(), block.size(), static_cast<off_t>(offset_))) > 0) {
        partial_.append(block.data(), static_cast<size_t>(got));
        offset_ += static_cast<std::uint64_t>(got);
    }
    size_t from = 0;
    while (from < partial_.size()) {
        const size_t end = partial_.find('\n', from);
        if (end == std::string::npos && !final) {
            break;
        }
        LogLine line;
        line.text = partial_.substr(from, end - from);
        line.inode = inode_;
        line.at = offset_ - (partial_.size() - from);
        const std::string whole = line.text;
        log_line_split(whole, line.time, line.text);
        lines.push_back(line);
        from = end == std::string::npos ? partial_.size() : end + 1;
    }
    partial_.erase(0, from);
}

// A whole generation that came and went unseen; those before it may be gone for good.
void FlowLogReader::read_missed(const std::string& path, std::vector<LogLine>& lines) {
    const std::uint64_t inode = inode_of(path);
    const bool known =
        std::find(generations_.begin(), generations_.end(), inode) != generations_.end();
    if (generations_.empty() || inode == 0 || known) {
        return;
    }
    ++lost_;
    if (follow(open(path.c_str(), O_RDONLY | O_CLOEXEC))) {
        read_rest(lines, true);
    }
}

std::vector<LogLine> FlowLogReader::read_new() {
    std::vector<LogLine> lines;
    const std::uint64_t live = inode_of(path_);
    if (fd_ >= 0) {
        read_rest(lines, live != inode_);
    }
    if (live == 0 || (fd_ >= 0 && live == inode_)) {
        return lines;
    }
    for (const char* suffix : {".crash", ".1"}) {
        read_missed(path_ + suffix, lines);
    }
    if (follow(open(path_.c_str(), O_RDONLY | O_CLOEXEC))) {
        read_rest(lines, false);
    }
    return lines;
}

}  // namespace lab
