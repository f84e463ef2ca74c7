#include "lab/program/socket_place.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

namespace lab {
namespace {

constexpr int BACKLOG = 16;
constexpr mode_t PRIVATE_FOLDER = 0700;

std::string folder_of(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    return slash == std::string::npos ? "." : slash == 0 ? "/" : path.substr(0, slash);
}

bool address_of(const std::string& path, sockaddr_un* address, std::string& error) {
    *address = {};
    address->sun_family = AF_UNIX;
    if (path.size() >= sizeof(address->sun_path)) {
        error = "the path of the socket is too long: " + path;
        return false;
    }
    std::memcpy(address->sun_path, path.data(), path.size());
    return true;
}

int connect_quietly(const sockaddr_un& address) {
    const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (fd < 0) {
        return -1;
    }
    if (connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0) {
        const int reason = errno;
        close(fd);
        errno = reason;
        return -1;
    }
    return fd;
}

}  // namespace

std::string socket_path(const char* runtime_folder, uid_t uid) {
    if (runtime_folder != nullptr && runtime_folder[0] == '/') {
        return std::string(runtime_folder) + "/backhaul_lab/control";
    }
    return "/tmp/backhaul_lab-" + std::to_string(uid) + "/control";
}

std::string usual_socket() {
    return socket_path(getenv("XDG_RUNTIME_DIR"), geteuid());
}

bool socket_folder_make(const std::string& path, std::string& error) {
    const std::string folder = folder_of(path);
    if (mkdir(folder.c_str(), PRIVATE_FOLDER) != 0 && errno != EEXIST) {
        error = "cannot make " + folder + ": " + strerror(errno);
        return false;
    }
    struct stat found {};
    if (lstat(folder.c_str(), &found) != 0 || !S_ISDIR(found.st_mode) ||
        found.st_uid != geteuid() || (found.st_mode & 077U) != 0) {
        error = folder + " is not a folder of your own with mode 0700: name another --socket";
        return false;
    }
    return true;
}

int socket_listen(const std::string& path, std::string& error) {
    sockaddr_un address{};
    if (!address_of(path, &address, error)) {
        return -1;
    }
    const int other = connect_quietly(address);
    if (other >= 0) {
        close(other);
        error =
            "a mesh is already up at " + path + ": end it with `" + command_at(path, "down") + "`";
        return -1;
    }
    if (errno == ECONNREFUSED) {
        unlink(path.c_str());
    }
    const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (fd < 0 || bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0 ||
        listen(fd, BACKLOG) != 0) {
        error = "cannot listen at " + path + ": " + strerror(errno);
        if (fd >= 0) {
            close(fd);
        }
        return -1;
    }
    return fd;
}

bool socket_take_over(int listener, std::string& error) {
    if (listen(listener, BACKLOG) != 0) {
        error = std::string("cannot listen: ") + strerror(errno);
        return false;
    }
    return true;
}

std::string no_mesh_text(const std::string& path, int reason) {
    return "no mesh is up (" + path + ": " + strerror(reason) + "): start one with `" +
           command_at(path, "up line 3") + "`";
}

const std::string& program_called(const char* started_as) {
    static const std::string CALLED = [started_as] {
        const char* const called = getenv("BACKHAUL_LAB_CALLED_AS");
        return std::string(called == nullptr || *called == '\0' ? started_as : called);
    }();
    return CALLED;
}

std::string command_at(const std::string& path, const std::string& words) {
    return program_called() + " " + words + (path == usual_socket() ? "" : " --socket " + path);
}

std::string server_log_path(const std::string& socket) {
    return socket + ".log";
}

}  // namespace lab
