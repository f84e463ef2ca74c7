// The files of a node under fuzz: names, contents and kinds in memory, opened as stdio streams.
// Nothing of the machine is read or written.
#pragma once

#include <cstdint>
#include <cstdio>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>

namespace lives {

enum class FileKind : uint8_t { regular, missing, folder, fifo, unreadable };

struct FileNode {
    FileKind kind = FileKind::regular;
    std::string content;
    uint64_t number = 0;
};
using FileNodePtr = std::shared_ptr<FileNode>;

class MemoryFiles {
public:
    MemoryFiles() = default;
    ~MemoryFiles();
    MemoryFiles(const MemoryFiles&) = delete;
    MemoryFiles& operator=(const MemoryFiles&) = delete;

    // Null when there is none of that name.
    FileNodePtr find(const std::string& path) const;
    // The content of a regular file, empty when there is none.
    std::string text(const std::string& path) const;
    // Another party's doing: makes, replaces or (FileKind::missing) removes.
    FileNodePtr put(const std::string& path, FileKind kind, std::string content = {});
    // Writes into the file that is there, as a shell's ">" does.
    void pour(const std::string& path, std::string content);
    // The daemon's own write() at the end of a file; false when there is no room.
    bool append(FileNode& node, std::string_view text);
    bool remove(const std::string& path);
    bool rename(const std::string& from, const std::string& to);

    // A stream on the node; closed by stdio, or by `close_all` when its owner is gone.
    FILE* stream(FileNodePtr node, const char* mode, int fd);
    // Descriptor of a stream, -1 when it has none of ours.
    int stream_fd(FILE* stream) const;
    void close_all();

    size_t open_count() const {
        return open_.size();
    }
    // Grows with each change of a name or a content.
    uint64_t changes() const {
        return changes_;
    }

    bool is_full = false;     // no write succeeds
    bool is_closing = false;  // whoever wrote is gone: nothing more is written
    // What happens when a stream with a descriptor closes, and when something is written.
    std::function<void(int fd)> on_close;
    std::function<void(const FileNode& node, std::string_view written)> on_write;

    struct Cookie;
    void changed() {
        ++changes_;
    }

private:
    void forget(FILE* stream);

    std::map<std::string, FileNodePtr> names_;
    std::map<FILE*, Cookie*> open_;
    uint64_t last_number_ = 0;
    uint64_t changes_ = 0;
};

}  // namespace lives
