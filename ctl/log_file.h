#pragma once

// The files of flow logs: whose they are, in what order they were written, and their lines.
//
// Files come in any order. Those of one node (its log, ".1" and ".crash") are found by their path
// and read from the oldest to the newest. A file is read in blocks of fixed size, whatever its
// length: memory does not grow with the log.

#include "ctl/log_event.h"
#include "ctl/log_line.h"
#include "runtime/descriptor.h"

#include <sys/types.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

inline constexpr size_t LOG_FILES_MAX = 4096;
inline constexpr size_t LOG_PATH_SIZE = 512;
/// Room for a sentence that names two files.
inline constexpr size_t LOG_ERROR_SIZE = 2 * LOG_PATH_SIZE + 200;
inline constexpr size_t NODE_NAME_SIZE = 48;

enum class log_generation : uint8_t { older, crash, current };

struct log_source {
    std::array<char, LOG_PATH_SIZE> path{};
    std::array<char, NODE_NAME_SIZE> node{};
    log_generation generation = log_generation::current;
    int64_t first_time = LOG_TIME_NONE;  ///< of its first entry; none in an empty file
    bool named = false;                  ///< the node's name was given with the file
    dev_t device = 0;                    ///< of the folder that the file is in
    ino_t folder = 0;
    size_t node_number = 0;  ///< of the node, in the order in which nodes were named
};

/// The lines of one file.
class log_reader {
public:
    /// `good()` is false when it cannot be opened or is no regular file.
    explicit log_reader(const char* path);
    bool good() const {
        return static_cast<bool>(file_);
    }
    /// The next line, without its line end and cut at LOG_LINE_MAX; valid until the next call.
    bool next(std::string_view& line);

private:
    bool fill();

    static constexpr size_t BLOCK_SIZE = size_t{64} * 1024;
    Descriptor file_;
    std::array<char, BLOCK_SIZE> block_{};
    size_t begin_ = 0;
    size_t end_ = 0;
    bool at_end_ = false;
};

/// Who is told what the files say, in order.
class log_visitor {
public:
    /// A node begins; its number counts from 0.
    virtual void node_begin(const log_source& /*first*/) {}
    /// A file begins. `follows_on`: nothing was lost between the last file and this one.
    virtual void file_begin(const log_source& /*source*/, bool /*follows_on*/) {}
    virtual void entry(const log_entry& /*entry*/, const log_event& /*event*/) {}
    /// A line that is no entry.
    virtual void garbage(std::string_view /*line*/) {}
    virtual void node_end(const log_source& /*last*/) {}

protected:
    ~log_visitor() = default;
};

/// The files that a command was given.
class log_set {
public:
    log_set() = default;
    ~log_set();
    log_set(const log_set&) = delete;
    log_set& operator=(const log_set&) = delete;

    /// Adds what a person named: a file, "NODE=FILE", or a folder with a node's files in it
    /// (or in its var/log). False, with a sentence in `error`, when there is nothing to read, or
    /// when its path tells the same name as the path of another node's log.
    bool add(const char* word, std::span<char> error);
    /// Brings the files into the order in which they were written; before `read`.
    void sort();
    /// Tells `visitor` everything.
    void read(log_visitor& visitor) const;
    std::span<const log_source> sources() const {
        return {sources_, count_};
    }

private:
    bool add_file(std::string_view path, std::string_view node, std::span<char> error);
    bool add_folder(std::string_view path, std::string_view node, std::span<char> error);
    /// Gives `source` its node's number. False when its name is that of another node.
    bool node_find(log_source& source, std::span<char> error);

    log_source* sources_ = nullptr;
    size_t count_ = 0;
    size_t nodes_ = 0;
};

/// The node's name that a path tells: the folder that is its own, or the file's name without its
/// ending. "this" for the log of the node that the tool runs on.
std::array<char, NODE_NAME_SIZE> log_node_name(std::string_view path);

/// Which of a node's three files a path names.
log_generation log_generation_of(std::string_view path);
