// Small files that several processes use at once.
//
// The stand-in tools, the tests and the lab exchange everything through small files under
// /run/lab. A file is either replaced whole (written beside and renamed) or grown by one append,
// so that no reader ever sees half of a write. Nothing here keeps state or takes a lock; every
// function may be called from any thread and any process, also through /proc/PID/root.
//
// Results are true on success. A missing file is an ordinary answer, not an error.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace lab {

// Reads the whole file into `text`, which is left empty when the file cannot be read.
bool file_read(const std::string& path, std::string* text);

// Reads from the byte `offset` to the end.
bool file_read_from(const std::string& path, std::uint64_t offset, std::string* text);

// Bytes in the file, 0 when it is missing.
std::uint64_t file_size(const std::string& path);

// Replaces the file with `text`, making missing parent folders. The new content appears at once.
bool file_write(const std::string& path, std::string_view text);

// Adds `text` at the end with one write, making the file and missing parent folders.
bool file_append(const std::string& path, std::string_view text);

// Writes into an existing or new file in place, as a program with fopen "w" does.
bool file_overwrite(const std::string& path, std::string_view text);

// Writes all of `text`, in as many pieces as it takes; false when the descriptor takes no more.
bool write_all(int descriptor, std::string_view text);

bool path_exists(const std::string& path);

// Removes one file; true also when there was none.
bool file_remove(const std::string& path);

bool file_rename(const std::string& from, const std::string& to);

// Makes the folder and its missing parents.
bool folder_make(const std::string& path);

// Names in the folder in ascending order, without those that begin with a dot: they are files
// that somebody is about to rename. Empty when the folder is missing.
std::vector<std::string> folder_list(const std::string& path);

// Removes the folder and everything in it, but for mount points (folder_wipe.h).
void folder_remove(const std::string& path);

// Waits until the path exists. The caller sleeps in the kernel meanwhile (no polling), so that a
// moved clock sees it as blocked. False when the folder of the path cannot be watched.
bool path_wait(const std::string& path);

// A name no other process or thread uses at the same moment, beginning with a dot.
std::string private_name();

// Nanoseconds of the machine's monotonic clock.
std::uint64_t monotonic_ns();

// `text` without its last line end, if it has one.
std::string without_line_end(std::string text);

}  // namespace lab
