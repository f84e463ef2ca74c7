#include "lab/node/udp_peer.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>

#include "lab/sandbox/exec_words.h"
#include "lab/sandbox/program.h"
#include "lab/sandbox/sandbox.h"

namespace lab {
namespace {

sockaddr_in place(const std::string& address, std::uint16_t port) {
    sockaddr_in where{};
    where.sin_family = AF_INET;
    where.sin_port = htons(port);
    where.sin_addr.s_addr = address.empty() ? INADDR_ANY : inet_addr(address.c_str());
    return where;
}

// Runs openssl with `input` on its standard input and returns its standard output. Both are far
// below what a pipe holds.
std::string through_openssl(const std::vector<std::string>& words, const std::string& input) {
    std::array<int, 2> in{-1, -1};
    std::array<int, 2> out{-1, -1};
    if (pipe2(in.data(), O_CLOEXEC) != 0 || pipe2(out.data(), O_CLOEXEC) != 0) {
        return {};
    }
    const std::vector<char*> argv = exec_words(words);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, in[0], STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, out[1], STDOUT_FILENO);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    pid_t child = -1;
    const int started = posix_spawnp(&child, argv[0], &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    close(in[0]);
    close(out[1]);
    [[maybe_unused]] const ssize_t put = write(in[1], input.data(), input.size());
    close(in[1]);
    std::string text;
    std::array<char, 4096> block{};
    ssize_t got = 0;
    while (started == 0 && (got = read(out[0], block.data(), block.size())) > 0) {
        text.append(block.data(), static_cast<size_t>(got));
    }
    close(out[0]);
    int status = 1;
    if (started == 0) {
        waitpid(child, &status, 0);
    }
    return status == 0 ? text : std::string();
}

}  // namespace

UdpPeer::UdpPeer(std::uint16_t port, const std::string& address) {
    fd_ = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    const int on = 1;
    const sockaddr_in here = place(address, port);
    setsockopt(fd_, SOL_SOCKET, SO_BROADCAST, &on, sizeof(on));
    setsockopt(fd_, SOL_SOCKET, SO_REUSEADDR, &on, sizeof(on));
    if (bind(fd_, reinterpret_cast<const sockaddr*>(&here), sizeof(here)) != 0) {
        close(fd_);
        fd_ = -1;
    }
}

UdpPeer::~UdpPeer() {
    if (fd_ >= 0) {
        close(fd_);
    }
}

bool UdpPeer::send(const std::string& address, std::uint16_t port, const std::string& bytes) {
    const sockaddr_in there = place(address, port);
    const ssize_t put = sendto(fd_, bytes.data(), bytes.size(), 0,
                               reinterpret_cast<const sockaddr*>(&there), sizeof(there));
    return put == static_cast<ssize_t>(bytes.size());
}

std::vector<Datagram> UdpPeer::take() {
    std::vector<Datagram> all;
    std::array<char, 2048> bytes{};
    sockaddr_in from{};
    socklen_t length = sizeof(from);
    ssize_t got = 0;
    while ((got = recvfrom(fd_, bytes.data(), bytes.size(), 0, reinterpret_cast<sockaddr*>(&from),
                           &length)) >= 0) {
        all.push_back(
            {inet_ntoa(from.sin_addr), std::string(bytes.data(), static_cast<size_t>(got))});
        length = sizeof(from);
    }
    return all;
}

bool switch_address_add(const std::string& address_with_length, std::string& error) {
    return run_program({"ip", "addr", "add", address_with_length, "brd", "+", "dev", "lab-switch"},
                       "", error);
}

std::string message_seal(const std::string& word, const std::string& pass_phrase) {
    return through_openssl({"openssl", "aes-128-cbc", "-e", "-k", pass_phrase}, word);
}

std::string message_open(const std::string& bytes, const std::string& pass_phrase) {
    return through_openssl({"openssl", "aes-128-cbc", "-d", "-k", pass_phrase}, bytes);
}

}  // namespace lab
