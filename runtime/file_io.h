#pragma once

// Small files under /tmp and /var: bounded, close-on-exec, silent.
//
// The daemon exchanges one-word and one-line files with other programs. These helpers open them
// close-on-exec, read and write with bounds and leave the clearing up to a destructor. They hold
// no state; callable on every thread. A file that cannot be opened is an ordinary answer.

#include <cstddef>
#include <cstdio>
#include <span>
#include <string_view>

/// An open stdio stream that is closed when it goes; every open is close-on-exec.
class File {
public:
    /// `mode` is a stdio mode ("r", "w", "a+", "rb", "wb"); `get()` is null when it fails.
    File(const char* path, const char* mode);
    ~File();
    File(const File&) = delete;
    File& operator=(const File&) = delete;
    FILE* get() const {
        return file_;
    }
    explicit operator bool() const {
        return file_ != nullptr;
    }

private:
    FILE* file_;
};

/// Reads the first word (white-space delimited) of an open stream into `out`, at most
/// out.size() - 1 characters, always terminated. False, with an empty `out`, when there is none.
bool file_first_word(FILE* file, std::span<char> out);

/// Result of reading one word with "the file must go on after it" semantics.
enum class word_result {
    word,    ///< a word was read and something follows it (white space at least)
    at_end,  ///< the end of the file was touched: a word that it ends does not count
    failed,  ///< read error (for instance a directory): stop
};

/// Reads the next word into `out` (bounded; the rest of an over-long word is swallowed with it)
/// and tells whether the read touched the end of the file. Never spins on a read error.
word_result file_next_word(FILE* file, std::span<char> out);

/// Writes `content` as the whole of the file at `path` (truncated or created) in one write.
/// False when it cannot be opened (the file then keeps what it held).
bool file_rewrite(const char* path, std::string_view content);

/// Reads the next line of an open stream into `out`, without its line end; what does not fit is
/// dropped. False at the end of the file.
bool file_next_line(FILE* file, std::span<char> out);

/// Whether access(path, F_OK) succeeds.
bool file_exists(const char* path);
