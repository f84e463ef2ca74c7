#pragma once

// Small files under /tmp and /var: bounded, close-on-exec, silent.
//
// The daemon exchanges one-word and one-line files with other programs. These helpers open them
// close-on-exec, read and write with bounds and leave the clearing up to a destructor. They hold
// no state; callable on every thread. A file that cannot be opened is an ordinary answer.
//
// Others may write in the same folders: what is read has to be a regular file (anything else counts
// as one that cannot be opened, and nobody waits for it), what is written replaces whatever stands
// in its place, at once and whole.

#include <array>
#include <cstddef>
#include <cstdio>
#include <span>
#include <string_view>

/// Bytes of one file after which the helpers below take it to be at its end.
inline constexpr long FILE_READ_MAX = 1024L * 1024L;

/// An open stdio stream that is closed when it goes; every open is close-on-exec.
class File {
public:
    /// `mode` is "r" or "rb"; files are written with `FileRewrite`. `get()` is null when it fails.
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

/// Who may read a file that we write. Nobody else may ever write it.
enum class file_readers {
    all,   ///< as far as the umask lets them
    owner  ///< for what holds or tells a pass phrase; whatever the umask
};

/// A new content for a file. It is written beside the file and takes its place when it is
/// complete: whoever reads the file sees the old content or the new one.
class FileRewrite {
public:
    /// `get()` is null when nothing could be written to `path`, which must outlive this.
    explicit FileRewrite(const char* path, file_readers readers = file_readers::all);
    /// Drops what was not put in place.
    ~FileRewrite();
    FileRewrite(const FileRewrite&) = delete;
    FileRewrite& operator=(const FileRewrite&) = delete;
    FILE* get() const {
        return file_;
    }
    explicit operator bool() const {
        return file_ != nullptr;
    }
    /// Puts the content in place. False, with the file as it was, when it is not complete.
    bool commit();

private:
    void discard();

    const char* path_;
    std::array<char, 128> new_path_{};
    FILE* file_ = nullptr;
};

/// Makes `content` the whole of the file at `path`. False when that is not possible (the file then
/// keeps what it held).
bool file_rewrite(const char* path, std::string_view content,
                  file_readers readers = file_readers::all);

/// Reads the first word (white-space delimited) of an open stream into `out`, at most
/// out.size() - 1 characters, always terminated; what comes behind them is not read. False, with an
/// empty `out`, when there is none.
bool file_first_word(FILE* file, std::span<char> out);

/// Reads the first word as a number, of which a following text is no part. False, with `number` as
/// it was, when there is none.
bool file_first_number(FILE* file, int& number);

/// Result of reading one word with "the file must go on after it" semantics.
enum class word_result {
    word,    ///< a word was read and something follows it (white space at least)
    at_end,  ///< the end of the file was touched: a word that it ends does not count
    failed,  ///< read error: stop
};

/// Reads the next word into `out` (bounded; the rest of an over-long word is swallowed with it)
/// and tells whether the read touched the end of the file. Never spins on a read error.
word_result file_next_word(FILE* file, std::span<char> out);

/// Reads the next line of an open stream into `out`, without its line end; what does not fit is
/// dropped. False at the end of the file.
bool file_next_line(FILE* file, std::span<char> out);

/// Reads on to the next line end, which is kept, or until `out` is full; the rest of the line comes
/// next. False at the end of the file.
bool file_next_piece(FILE* file, std::span<char> out);

/// Whether access(path, F_OK) succeeds.
bool file_exists(const char* path);
