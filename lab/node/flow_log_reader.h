// Follows a node's flow log across rotations and crashes. One thread; opens the files from outside.
//
// Every line is read once. The reader keeps the live file open, so that its rest is still read
// after it was renamed to ".1" or ".crash", or removed. Two rotations or crashes between two reads
// may lose lines in between: `lost` then counts the gaps.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <string>
#include <vector>

namespace lab {

struct LogLine {
    std::string text;         // without the date prefix and the line end
    std::int64_t time = 0;    // seconds of the prefix (UTC); 0 when the line has none
    std::uint64_t inode = 0;  // which file generation it was written to
    std::uint64_t at = 0;     // offset of its first byte there
};

// Splits "%.24s : TEXT": true when the line begins with a date, then `time` and `text` are set.
bool log_line_split(const std::string& line, std::int64_t& time, std::string& text);

// The other way round: a line as the daemon writes it.
std::string log_line_join(std::int64_t time, const std::string& text);

class FlowLogReader {
public:
    // `path` of the live file as the caller sees it.
    explicit FlowLogReader(std::string path);
    ~FlowLogReader();
    FlowLogReader(const FlowLogReader&) = delete;
    FlowLogReader& operator=(const FlowLogReader&) = delete;

    // Whole lines written since the last call, in their order.
    std::vector<LogLine> read_new();

    // File generations in the order in which they were live.
    const std::vector<std::uint64_t>& generations() const {
        return generations_;
    }
    int lost() const {
        return lost_;
    }

private:
    void read_rest(std::vector<LogLine>& lines, bool final);
    void read_missed(const std::string& path, std::vector<LogLine>& lines);
    bool follow(int fd);

    std::string path_;
    int fd_ = -1;
    std::uint64_t inode_ = 0;
    std::uint64_t offset_ = 0;  // of what has been read
    std::string partial_;       // a line whose end is not there yet
    std::vector<std::uint64_t> generations_;
    int lost_ = 0;
};

}  // namespace lab
