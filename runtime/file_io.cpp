#include "runtime/file_io.h"

#include "runtime/descriptor.h"

#include <fcntl.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>
#include <atomic>
#include <cctype>
#include <cerrno>
#include <cstdint>

namespace {

constexpr mode_t MODE_ALL = 0644;
constexpr mode_t MODE_OWNER = 0600;
/// Names that are tried for a new content.
constexpr int NEW_PATH_TRIES = 8;

FILE* file_open(const char* path, const char* mode) {
    // Without waiting: a FIFO or a terminal in the file's place is found out below.
    Descriptor fd(open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    struct stat about {};
    if (!fd || fstat(fd.get(), &about) < 0 || !S_ISREG(about.st_mode)) {
        return nullptr;
    }
    FILE* const file = fdopen(fd.get(), mode);
    if (file != nullptr) {
        fd.release();
    }
    return file;
}

/// A number of the calling thread's own, the same ones in every worker: what a killed worker left
/// half written is replaced by the next one and does not add up.
unsigned thread_number() {
    static std::atomic<unsigned> count;
    thread_local const unsigned number = count++;
    return number;
}

uint64_t number_draw() {
    uint64_t number = 0;
    if (getrandom(&number, sizeof(number), GRND_NONBLOCK) != ssize_t{sizeof(number)}) {
        return static_cast<uint64_t>(getpid());
    }
    return number;
}

/// Makes a file that nobody else has open, beside `path`, and puts its name into `new_path`. The
/// first name is known to everybody and may be occupied; the others cannot be foreseen.
int new_file_open(const char* path, file_readers readers, std::span<char> new_path) {
    const mode_t mode = readers == file_readers::owner ? MODE_OWNER : MODE_ALL;
    for (int i = 0; i < NEW_PATH_TRIES; ++i) {
        int length =
            std::snprintf(new_path.data(), new_path.size(), "%s.new%u", path, thread_number());
        if (i == 0) {
            std::remove(new_path.data());
        } else {
            length = std::snprintf(new_path.data(), new_path.size(), "%s.new%016jx", path,
                                   static_cast<uintmax_t>(number_draw()));
        }
        if (length < 0 || static_cast<size_t>(length) >= new_path.size()) {
            return -1;
        }
        Descriptor fd(
            open(new_path.data(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, mode));
        if (fd || errno != EEXIST) {
            return fd.release();
        }
    }
    return -1;
}

/// Whether `path` still is the file behind `fd`.
bool path_names(const char* path, int fd) {
    struct stat named {};
    struct stat open_file {};
    return lstat(path, &named) == 0 && fstat(fd, &open_file) == 0 &&
           named.st_ino == open_file.st_ino && named.st_dev == open_file.st_dev;
}

bool is_folder(const char* path) {
    struct stat about {};
    return lstat(path, &about) == 0 && S_ISDIR(about.st_mode);
}

/// A stream that cannot tell where it stands (a pipe) is bounded by what is read of it.
bool is_read_up(FILE* file) {
    return std::ftell(file) >= FILE_READ_MAX;
}

bool is_word_end(int c) {
    return c == EOF || std::isspace(c) != 0;
}

/// What becomes of the characters of a word that do not fit.
enum class word_rest { left, swallowed };

/// Skips white space and reads one word, keeping what fits. Returns its length as far as it was
/// read; `last` is the character that was read last.
size_t word_read(FILE* file, std::span<char> out, word_rest rest, int& last) {
    out.front() = '\0';
    long left = FILE_READ_MAX;
    int c = std::getc(file);
    while (c != EOF && std::isspace(c) != 0 && --left > 0) {
        c = std::getc(file);
    }
    size_t length = 0;
    for (; !is_word_end(c) && --left > 0; c = std::getc(file), ++length) {
        if (length + 1 < out.size()) {
            out[length] = static_cast<char>(c);
            out[length + 1] = '\0';
        }
        if (rest == word_rest::left && length + 2 >= out.size()) {
            ++length;
            break;
        }
    }
    last = left > 0 ? c : EOF;
    return length;
}

}  // namespace

File::File(const char* path, const char* mode) : file_(file_open(path, mode)) {}

File::~File() {
    if (file_ != nullptr) {
        std::fclose(file_);
    }
}

FileRewrite::FileRewrite(const char* path, file_readers readers) : path_(path) {
    if (is_folder(path)) {
        return;
    }
    Descriptor fd(new_file_open(path, readers, new_path_));
    if (!fd) {
        return;
    }
    if (readers == file_readers::owner) {
        fchmod(fd.get(), MODE_OWNER);
    }
    file_ = fdopen(fd.get(), "w");
    if (file_ == nullptr) {
        unlink(new_path_.data());
        return;
    }
    fd.release();
}

FileRewrite::~FileRewrite() {
    if (file_ != nullptr) {
        discard();
    }
}

void FileRewrite::discard() {
    if (path_names(new_path_.data(), fileno(file_))) {
        unlink(new_path_.data());
    }
    std::fclose(file_);
    file_ = nullptr;
}

bool FileRewrite::commit() {
    if (file_ == nullptr) {
        return false;
    }
    // A second daemon writes under the same name: what it began is not ours to put in place.
    if (std::fflush(file_) != 0 || std::ferror(file_) != 0 ||
        !path_names(new_path_.data(), fileno(file_)) || std::rename(new_path_.data(), path_) != 0) {
        discard();
        return false;
    }
    std::fclose(file_);
    file_ = nullptr;
    return true;
}

bool file_rewrite(const char* path, std::string_view content, file_readers readers) {
    FileRewrite file(path, readers);
    if (!file) {
        return false;
    }
    std::fwrite(content.data(), 1, content.size(), file.get());
    return file.commit();
}

bool file_first_word(FILE* file, std::span<char> out) {
    int last = EOF;
    return word_read(file, out, word_rest::left, last) > 0;
}

bool file_first_number(FILE* file, int& number) {
    std::array<char, 64> word{};
    return file_first_word(file, word) && std::sscanf(word.data(), "%d", &number) == 1;
}

word_result file_next_word(FILE* file, std::span<char> out) {
    out.front() = '\0';
    int last = EOF;
    if (!is_read_up(file)) {
        word_read(file, out, word_rest::swallowed, last);
    }
    if (last != EOF) {
        return word_result::word;
    }
    return std::ferror(file) != 0 ? word_result::failed : word_result::at_end;
}

bool file_next_line(FILE* file, std::span<char> out) {
    size_t length = 0;
    int c = is_read_up(file) ? EOF : std::getc(file);
    if (c == EOF) {
        return false;
    }
    for (long left = FILE_READ_MAX; c != EOF && c != '\n' && left > 0;
         c = std::getc(file), --left) {
        if (length + 1 < out.size()) {
            out[length++] = static_cast<char>(c);
        }
    }
    out[length] = '\0';
    return true;
}

bool file_next_piece(FILE* file, std::span<char> out) {
    return !is_read_up(file) &&
           std::fgets(out.data(), static_cast<int>(out.size()), file) != nullptr;
}

bool file_exists(const char* path) {
    return access(path, F_OK) == 0;
}
