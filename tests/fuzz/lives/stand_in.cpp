// Stands in for the system under the daemon's threads. The linker turns the program's calls of
// these functions over to here (stand_in.cmake); whoever is no thread of a life gets the real ones.
#include <fcntl.h>
#include <linux/netlink.h>
#include <linux/wireless.h>
#include <netinet/in.h>
#include <poll.h>
#include <sqlite3.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <sys/timerfd.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "intake/root_announce.h"
#include "radar/dfs_channels.h"
#include "runtime/flow_log.h"
#include "runtime/runtime_block.h"
#include "tests/fuzz/lives/database.h"
#include "tests/fuzz/lives/life.h"

namespace lives {
namespace {

constexpr in_addr_t BRIDGE_ADDRESS = 0x0100A8C0;    // 192.168.0.1
constexpr in_addr_t BRIDGE_BROADCAST = 0xFF00A8C0;  // 192.168.0.255
constexpr uint16_t FREQUENCY_FIRST = 5500;

int refuse(int error) {
    errno = error;
    return -1;
}

// Each thread writes under names of its own number; here all of them are one kernel thread's.
std::string path_of_thread(const Life& life, const char* path) {
    std::string own(path);
    if (own.ends_with(".new0")) {
        for (size_t i = 0; i < life.threads.size(); ++i) {
            if (life.threads[i].get() == life.current) {
                own.back() = static_cast<char>('0' + i);
            }
        }
    }
    return own;
}

mode_t mode_of(FileKind kind) {
    switch (kind) {
        case FileKind::folder:
            return S_IFDIR | 0755U;
        case FileKind::fifo:
            return S_IFIFO | 0777U;
        case FileKind::regular:
        case FileKind::missing:
        case FileKind::unreadable:
            break;
    }
    return S_IFREG | 0644U;
}

void about_fill(const FileNode& node, struct stat* about) {
    std::memset(about, 0, sizeof *about);
    about->st_mode = mode_of(node.kind);
    about->st_ino = node.number;
    about->st_dev = 1;
    about->st_size = static_cast<off_t>(node.content.size());
}

bool wants_writing(int flags) {
    return (flags & O_ACCMODE) != O_RDONLY;
}

int file_open(Life& life, const char* path_text, int flags) {
    const std::string path = path_of_thread(life, path_text);
    if (life.around.descriptors_refused && path != FLOW_LOG_PATH) {
        return refuse(EMFILE);
    }
    FileNodePtr node = life.files.find(path);
    if (node != nullptr && (flags & O_EXCL) != 0) {
        return refuse(EEXIST);
    }
    if (node == nullptr) {
        if ((flags & O_CREAT) == 0) {
            return refuse(ENOENT);
        }
        life.rules.file_opened(life, path);
        node = life.files.put(path, FileKind::regular);
    }
    if (node->kind == FileKind::unreadable) {
        return refuse(EACCES);
    }
    if (node->kind == FileKind::folder && wants_writing(flags)) {
        return refuse(EISDIR);
    }
    if (node->kind == FileKind::fifo && (flags & O_NONBLOCK) == 0 && !wants_writing(flags)) {
        life.broken("waits for a writer of the FIFO " + path);
    }
    if (node->kind == FileKind::fifo && (flags & O_ACCMODE) == O_WRONLY) {
        return refuse(ENXIO);
    }
    const auto kind = path == "/tmp/backhaul_fifo" ? DescriptorKind::fifo : DescriptorKind::file;
    return life.descriptor_add({.kind = kind, .node = std::move(node)});
}

int request_answer(Life& life, unsigned long request, void* argument) {
    if (request == SIOCGIFADDR || request == SIOCGIFBRDADDR) {
        if (!life.around.bridge_has_address) {
            return refuse(EADDRNOTAVAIL);
        }
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = request == SIOCGIFADDR ? BRIDGE_ADDRESS : BRIDGE_BROADCAST;
        std::memcpy(&static_cast<ifreq*>(argument)->ifr_addr, &address, sizeof address);
        return 0;
    }
    auto* const wireless = static_cast<iwreq*>(argument);
    if (request == SIOCGIWAP) {
        const auto ap = life.around.associated.find(wireless->ifr_name);
        mac_address mac{};
        if (ap != life.around.associated.end()) {
            mac_scan(ap->second.c_str(), mac);
        }
        std::memcpy(wireless->u.ap_addr.sa_data, mac.data(), mac.size());
        return 0;
    }
    if (request == IOCTL_GETCHANINFO) {
        auto* const list = static_cast<uint8_t*>(wireless->u.data.pointer);
        uint32_t count = 0;
        for (uint16_t bit = 0; bit < 32; ++bit) {
            if ((life.around.channels >> bit & 1U) != 0) {
                const uint16_t frequency = FREQUENCY_FIRST + bit;
                std::memcpy(list + 4 + CHANNEL_ENTRY_SIZE * count++, &frequency, sizeof frequency);
            }
        }
        std::memcpy(list, &count, sizeof count);
        return 0;
    }
    return refuse(ENOTTY);
}

ssize_t datagram_take(Life& life, int fd, void* out, size_t size, sockaddr* sender) {
    const OpenDescriptor& open = *life.descriptor(fd);
    auto& queue = life.datagrams[open.port];
    if (queue.empty()) {
        const int64_t until = open.timeout != 0 ? life.elapsed + open.timeout : 0;
        life.current->is_home = true;
        life.wait({.kind = WaitKind::datagram, .until = until, .fd = fd});
    }
    if (queue.empty()) {
        return refuse(EAGAIN);
    }
    const Datagram datagram = queue.front();
    queue.pop_front();
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = datagram.from;
    std::memcpy(sender, &address, sizeof address);
    return static_cast<ssize_t>(datagram.bytes.copy(static_cast<char*>(out), size));
}

ssize_t driver_event_take(Life& life, void* out, size_t size) {
    if (life.driver_overrun) {
        life.driver_overrun = false;
        life.cleared_queue_is_due = true;
        return refuse(ENOBUFS);
    }
    if (life.driver_events.empty()) {
        return refuse(EAGAIN);
    }
    const std::string event = life.driver_events.front();
    life.driver_events.pop_front();
    life.cleared_queue_is_due = life.cleared_queue_is_due && !life.driver_events.empty();
    return static_cast<ssize_t>(event.copy(static_cast<char*>(out), size));
}

FILE* pipe_open(Life& life, const char* line) {
    if (life.around.descriptors_refused) {
        errno = EMFILE;
        return nullptr;
    }
    auto node = std::make_shared<FileNode>();
    node->content = life.command(line);
    return life.files.stream(std::move(node), "r", -1);
}

}  // namespace
}  // namespace lives

using lives::DescriptorKind;
using lives::FileKind;
using lives::Life;
using lives::life_of_caller;
using lives::OpenDescriptor;
using lives::refuse;
using lives::WaitKind;

extern "C" {

// Commands.

int __real_system(const char* line);
int __wrap_system(const char* line) {
    Life* const life = life_of_caller();
    if (life == nullptr) {
        return __real_system(line);
    }
    life->command(line);
    return 0;
}

FILE* __real_popen(const char* line, const char* mode);
FILE* __wrap_popen(const char* line, const char* mode) {
    Life* const life = life_of_caller();
    return life == nullptr ? __real_popen(line, mode) : lives::pipe_open(*life, line);
}

int __real_pclose(FILE* pipe);
int __wrap_pclose(FILE* pipe) {
    return life_of_caller() == nullptr ? __real_pclose(pipe) : std::fclose(pipe);
}

// Files.

int __real_open(const char* path, int flags, ...);
int __wrap_open(const char* path, int flags, ...) {
    Life* const life = life_of_caller();
    if (life != nullptr) {
        return lives::file_open(*life, path, flags);
    }
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    return __real_open(path, flags, mode);
}

int __real_close(int fd);
int __wrap_close(int fd) {
    Life* const life = life_of_caller();
    OpenDescriptor* const open = life != nullptr ? life->descriptor(fd) : nullptr;
    if (open == nullptr) {
        return __real_close(fd);
    }
    if (open->kind == DescriptorKind::none) {
        life->broken("closes a descriptor that is not open");
    }
    *open = {};
    return 0;
}

FILE* __real_fdopen(int fd, const char* mode);
FILE* __wrap_fdopen(int fd, const char* mode) {
    Life* const life = life_of_caller();
    return life == nullptr ? __real_fdopen(fd, mode)
                           : life->files.stream(life->descriptor(fd)->node, mode, fd);
}

int __real_fileno(FILE* stream);
int __wrap_fileno(FILE* stream) {
    const Life* const life = life_of_caller();
    return life == nullptr ? __real_fileno(stream) : life->files.stream_fd(stream);
}

int __real_fstat(int fd, struct stat* about);
int __wrap_fstat(int fd, struct stat* about) {
    Life* const life = life_of_caller();
    if (life == nullptr) {
        return __real_fstat(fd, about);
    }
    const OpenDescriptor* const open = life->descriptor(fd);
    if (open == nullptr || open->node == nullptr) {
        return refuse(EBADF);
    }
    lives::about_fill(*open->node, about);
    return 0;
}

int __real_lstat(const char* path, struct stat* about);
int __wrap_lstat(const char* path, struct stat* about) {
    Life* const life = life_of_caller();
    if (life == nullptr) {
        return __real_lstat(path, about);
    }
    const auto node = life->files.find(lives::path_of_thread(*life, path));
    if (node == nullptr) {
        return refuse(ENOENT);
    }
    lives::about_fill(*node, about);
    return 0;
}

int __real_fchmod(int fd, mode_t mode);
int __wrap_fchmod(int fd, mode_t mode) {
    return life_of_caller() == nullptr ? __real_fchmod(fd, mode) : 0;
}

int __real_remove(const char* path);
int __wrap_remove(const char* path) {
    Life* const life = life_of_caller();
    if (life == nullptr) {
        return __real_remove(path);
    }
    return life->files.remove(lives::path_of_thread(*life, path)) ? 0 : refuse(ENOENT);
}

int __real_unlink(const char* path);
int __wrap_unlink(const char* path) {
    return life_of_caller() == nullptr ? __real_unlink(path) : __wrap_remove(path);
}

int __real_rename(const char* from, const char* to);
int __wrap_rename(const char* from, const char* to) {
    Life* const life = life_of_caller();
    if (life == nullptr) {
        return __real_rename(from, to);
    }
    return life->files.rename(lives::path_of_thread(*life, from), to) ? 0 : refuse(ENOENT);
}

int __real_access(const char* path, int how);
int __wrap_access(const char* path, int how) {
    const Life* const life = life_of_caller();
    if (life == nullptr) {
        return __real_access(path, how);
    }
    return life->files.find(path) != nullptr ? 0 : refuse(ENOENT);
}

int __real_mkfifo(const char* path, mode_t mode);
int __wrap_mkfifo(const char* path, mode_t mode) {
    Life* const life = life_of_caller();
    if (life == nullptr) {
        return __real_mkfifo(path, mode);
    }
    if (life->around.descriptors_refused || life->files.find(path) != nullptr) {
        return refuse(EEXIST);
    }
    life->files.put(path, FileKind::fifo);
    return 0;
}

ssize_t __real_read(int fd, void* out, size_t size);
ssize_t __wrap_read(int fd, void* out, size_t size) {
    Life* const life = life_of_caller();
    OpenDescriptor* const open = life != nullptr ? life->descriptor(fd) : nullptr;
    if (open == nullptr) {
        return __real_read(fd, out, size);
    }
    if (open->kind == DescriptorKind::timer) {
        const uint64_t expiries = 1;
        std::memcpy(out, &expiries, sizeof expiries);
        while (open->due <= life->elapsed) {
            open->due += open->period;
        }
        return sizeof expiries;
    }
    const size_t count = life->fifo_words.copy(static_cast<char*>(out), size);
    life->fifo_words.erase(0, count);
    return static_cast<ssize_t>(count);
}

ssize_t __real_write(int fd, const void* bytes, size_t size);
ssize_t __wrap_write(int fd, const void* bytes, size_t size) {
    Life* const life = life_of_caller();
    OpenDescriptor* const open = life != nullptr ? life->descriptor(fd) : nullptr;
    if (open == nullptr || open->node == nullptr) {
        return __real_write(fd, bytes, size);
    }
    return life->files.append(*open->node, {static_cast<const char*>(bytes), size})
               ? static_cast<ssize_t>(size)
               : refuse(ENOSPC);
}

int __real_fcntl(int fd, int command, ...);
int __wrap_fcntl(int fd, int command, ...) {
    if (life_of_caller() != nullptr) {
        return 0;
    }
    va_list arguments;
    va_start(arguments, command);
    void* const argument = va_arg(arguments, void*);
    va_end(arguments);
    return __real_fcntl(fd, command, argument);
}

// Sockets and timers.

int __real_socket(int domain, int type, int protocol);
int __wrap_socket(int domain, int type, int protocol) {
    Life* const life = life_of_caller();
    if (life == nullptr) {
        return __real_socket(domain, type, protocol);
    }
    if (life->around.descriptors_refused) {
        return refuse(EMFILE);
    }
    return life->descriptor_add(
        {.kind = domain == AF_NETLINK ? DescriptorKind::netlink : DescriptorKind::datagrams});
}

int __real_bind(int fd, const sockaddr* address, socklen_t size);
int __wrap_bind(int fd, const sockaddr* address, socklen_t size) {
    Life* const life = life_of_caller();
    if (life == nullptr) {
        return __real_bind(fd, address, size);
    }
    if (address->sa_family == AF_INET) {
        life->descriptor(fd)->port = ntohs(reinterpret_cast<const sockaddr_in*>(address)->sin_port);
    }
    return 0;
}

int __real_setsockopt(int fd, int level, int name, const void* value, socklen_t size);
int __wrap_setsockopt(int fd, int level, int name, const void* value, socklen_t size) {
    Life* const life = life_of_caller();
    if (life == nullptr) {
        return __real_setsockopt(fd, level, name, value, size);
    }
    if (name == SO_RCVTIMEO) {
        life->descriptor(fd)->timeout = static_cast<const timeval*>(value)->tv_sec;
    }
    return 0;
}

int __real_ioctl(int fd, unsigned long request, ...);
int __wrap_ioctl(int fd, unsigned long request, ...) {
    va_list arguments;
    va_start(arguments, request);
    void* const argument = va_arg(arguments, void*);
    va_end(arguments);
    Life* const life = life_of_caller();
    return life == nullptr ? __real_ioctl(fd, request, argument)
                           : lives::request_answer(*life, request, argument);
}

ssize_t __real_recvfrom(int fd, void* out, size_t size, int flags, sockaddr* from, socklen_t* room);
ssize_t __wrap_recvfrom(int fd, void* out, size_t size, int flags, sockaddr* from,
                        socklen_t* room) {
    Life* const life = life_of_caller();
    if (life == nullptr) {
        return __real_recvfrom(fd, out, size, flags, from, room);
    }
    return life->descriptor(fd)->kind == DescriptorKind::netlink
               ? lives::driver_event_take(*life, out, size)
               : lives::datagram_take(*life, fd, out, size, from);
}

ssize_t __real_sendto(int fd, const void* bytes, size_t size, int flags, const sockaddr* to,
                      socklen_t room);
ssize_t __wrap_sendto(int fd, const void* bytes, size_t size, int flags, const sockaddr* to,
                      socklen_t room) {
    Life* const life = life_of_caller();
    if (life == nullptr) {
        return __real_sendto(fd, bytes, size, flags, to, room);
    }
    const uint16_t port = ntohs(reinterpret_cast<const sockaddr_in*>(to)->sin_port);
    life->rules.message_sent(*life, {static_cast<const char*>(bytes), size}, port);
    return life->around.send_error != 0 ? refuse(life->around.send_error)
                                        : static_cast<ssize_t>(size);
}

int __real_select(int max_fd, fd_set* in, fd_set* out, fd_set* other, timeval* limit);
int __wrap_select(int max_fd, fd_set* in, fd_set* out, fd_set* other, timeval* limit) {
    Life* const life = life_of_caller();
    if (life == nullptr) {
        return __real_select(max_fd, in, out, other, limit);
    }
    fd_set watched = *in;
    life->current->is_home = true;
    // Also when something is ready: what is served next is another turn.
    life->wait({.kind = WaitKind::readiness, .watched = &watched, .max_fd = max_fd});
    return life->readable(watched, max_fd, in);
}

int __real_poll(pollfd* polled, nfds_t count, int limit);
int __wrap_poll(pollfd* polled, nfds_t count, int limit) {
    Life* const life = life_of_caller();
    return life == nullptr ? __real_poll(polled, count, limit)
                           : static_cast<int>(life->is_readable(polled->fd));
}

unsigned __real_if_nametoindex(const char* name);
char* __real_if_indextoname(unsigned index, char* name);
char* __wrap_if_indextoname(unsigned index, char* name) {
    if (life_of_caller() == nullptr) {
        return __real_if_indextoname(index, name);
    }
    if (index == 0 || index > lives::INTERFACES.size()) {
        return nullptr;
    }
    return std::strcpy(name, lives::INTERFACES[index - 1]);
}

int __real_timerfd_create(int clock, int flags);
int __wrap_timerfd_create(int clock, int flags) {
    Life* const life = life_of_caller();
    if (life == nullptr) {
        return __real_timerfd_create(clock, flags);
    }
    return life->around.descriptors_refused ? refuse(EMFILE)
                                            : life->descriptor_add({.kind = DescriptorKind::timer});
}

int __real_timerfd_settime(int fd, int flags, const itimerspec* timing, itimerspec* before);
int __wrap_timerfd_settime(int fd, int flags, const itimerspec* timing, itimerspec* before) {
    Life* const life = life_of_caller();
    if (life == nullptr) {
        return __real_timerfd_settime(fd, flags, timing, before);
    }
    OpenDescriptor& timer = *life->descriptor(fd);
    timer.due = life->elapsed + timing->it_value.tv_sec;
    timer.period = timing->it_interval.tv_sec;
    return 0;
}

// The database.

int __real_sqlite3_open(const char* path, sqlite3** database);
int __wrap_sqlite3_open(const char* path, sqlite3** database) {
    if (life_of_caller() == nullptr) {
        return __real_sqlite3_open(path, database);
    }
    // Never looked into: every call that takes it ends here.
    *database = reinterpret_cast<sqlite3*>(&runtime);
    return SQLITE_OK;
}

int __real_sqlite3_busy_timeout(sqlite3* database, int milliseconds);
int __wrap_sqlite3_busy_timeout(sqlite3* database, int milliseconds) {
    return life_of_caller() == nullptr ? __real_sqlite3_busy_timeout(database, milliseconds)
                                       : SQLITE_OK;
}

int __wrap_sqlite3_db_config(sqlite3* /*database*/, int /*what*/, ...) {
    return SQLITE_OK;
}

int __real_sqlite3_get_table(sqlite3* database, const char* sql, char*** table, int* rows,
                             int* columns, char** error);
int __wrap_sqlite3_get_table(sqlite3* database, const char* sql, char*** table, int* rows,
                             int* columns, char** error) {
    Life* const life = life_of_caller();
    return life == nullptr ? __real_sqlite3_get_table(database, sql, table, rows, columns, error)
                           : lives::table_answer(*life, sql, table, rows, columns);
}

void __real_sqlite3_free_table(char** table);
void __wrap_sqlite3_free_table(char** table) {
    if (life_of_caller() == nullptr) {
        __real_sqlite3_free_table(table);
    } else {
        lives::table_drop(*life_of_caller(), table);
    }
}

}  // extern "C"
