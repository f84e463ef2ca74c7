#include "tests/fuzz/lives/memory_files.h"

#include <algorithm>
#include <cstring>
#include <string_view>
#include <utility>

namespace lives {

struct MemoryFiles::Cookie {
    MemoryFiles* files;
    FileNodePtr node;
    FILE* stream;
    size_t at;
    bool appends;
    int fd;
};

namespace {

using Cookie = MemoryFiles::Cookie;

ssize_t cookie_read(void* cookie, char* out, size_t size) {
    auto* const self = static_cast<Cookie*>(cookie);
    const std::string& content = self->node->content;
    const size_t begin = std::min(self->at, content.size());
    const size_t count = content.copy(out, size, begin);
    self->at = begin + count;
    return static_cast<ssize_t>(count);
}

ssize_t cookie_write(void* cookie, const char* bytes, size_t size) {
    auto* const self = static_cast<Cookie*>(cookie);
    if (self->files->is_closing) {
        return static_cast<ssize_t>(size);
    }
    // What is said is known also where it cannot be kept.
    if (self->files->on_write) {
        self->files->on_write(*self->node, {bytes, size});
    }
    if (self->files->is_full) {
        return 0;
    }
    self->files->changed();
    std::string& content = self->node->content;
    if (self->appends) {
        self->at = content.size();
    }
    content.resize(std::max(content.size(), self->at + size));
    std::memcpy(content.data() + self->at, bytes, size);
    self->at += size;
    return static_cast<ssize_t>(size);
}

int cookie_seek(void* cookie, off64_t* offset, int whence) {
    auto* const self = static_cast<Cookie*>(cookie);
    const size_t base = whence == SEEK_SET   ? 0
                        : whence == SEEK_CUR ? self->at
                                             : self->node->content.size();
    const off64_t target = static_cast<off64_t>(base) + *offset;
    if (target < 0) {
        return -1;
    }
    self->at = static_cast<size_t>(target);
    *offset = target;
    return 0;
}

}  // namespace

MemoryFiles::~MemoryFiles() {
    close_all();
}

FileNodePtr MemoryFiles::find(const std::string& path) const {
    const auto found = names_.find(path);
    return found == names_.end() ? nullptr : found->second;
}

std::string MemoryFiles::text(const std::string& path) const {
    const FileNodePtr node = find(path);
    return node != nullptr && node->kind == FileKind::regular ? node->content : std::string();
}

FileNodePtr MemoryFiles::put(const std::string& path, FileKind kind, std::string content) {
    changed();
    if (kind == FileKind::missing) {
        names_.erase(path);
        return nullptr;
    }
    auto node = std::make_shared<FileNode>(FileNode{kind, std::move(content), ++last_number_});
    names_[path] = node;
    return node;
}

void MemoryFiles::pour(const std::string& path, std::string content) {
    changed();
    const FileNodePtr node = find(path);
    if (is_full) {
        content.clear();
    }
    if (node == nullptr) {
        put(path, FileKind::regular, std::move(content));
    } else if (node->kind == FileKind::regular) {
        node->content = std::move(content);
    }
}

bool MemoryFiles::append(FileNode& node, std::string_view text) {
    if (is_closing) {
        return true;
    }
    if (on_write) {
        on_write(node, text);
    }
    if (is_full) {
        return false;
    }
    changed();
    node.content += text;
    return true;
}

bool MemoryFiles::remove(const std::string& path) {
    return names_.erase(path) > 0;
}

bool MemoryFiles::rename(const std::string& from, const std::string& to) {
    const auto found = names_.find(from);
    if (found == names_.end()) {
        return false;
    }
    changed();
    FileNodePtr node = found->second;
    names_.erase(found);
    names_[to] = std::move(node);
    return true;
}

FILE* MemoryFiles::stream(FileNodePtr node, const char* mode, int fd) {
    auto* const cookie = new Cookie{this, std::move(node), nullptr, 0, mode[0] == 'a', fd};
    const cookie_io_functions_t functions{cookie_read, cookie_write, cookie_seek, [](void* gone) {
                                              auto* const self = static_cast<Cookie*>(gone);
                                              self->files->forget(self->stream);
                                              return 0;
                                          }};
    cookie->stream = fopencookie(cookie, mode, functions);
    if (cookie->stream == nullptr) {
        delete cookie;
        return nullptr;
    }
    open_[cookie->stream] = cookie;
    return cookie->stream;
}

int MemoryFiles::stream_fd(FILE* stream) const {
    const auto found = open_.find(stream);
    return found == open_.end() ? -1 : found->second->fd;
}

void MemoryFiles::forget(FILE* stream) {
    const auto found = open_.find(stream);
    if (found != open_.end()) {
        const Cookie* const cookie = found->second;
        open_.erase(found);
        if (cookie->fd >= 0 && on_close) {
            on_close(cookie->fd);
        }
        delete cookie;
    }
}

void MemoryFiles::close_all() {
    is_closing = true;
    while (!open_.empty()) {
        std::fclose(open_.begin()->first);
    }
    is_closing = false;
}

}  // namespace lives
