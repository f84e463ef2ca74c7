// What only a worker does with itself: its message socket, its threads and its end.

#include "daemon/worker.h"
#include "intake/msg_socket.h"
#include "runtime/thread_start.h"
#include "runtime/worker_end.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <pthread.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <string>

#include "runtime/runtime_block.h"
#include "tests/harness/table_fixture.h"

namespace {

using harness::exit_code;

class MessageSocket : public harness::TableTest {};

TEST_F(MessageSocket, is_udp_on_port_36003_of_every_address_and_closed_on_exec) {
    msg_socket_open();
    sockaddr_in address{};
    socklen_t length = sizeof address;
    ASSERT_EQ(getsockname(runtime.msg_fd, reinterpret_cast<sockaddr*>(&address), &length), 0);
    EXPECT_EQ(address.sin_family, AF_INET);
    EXPECT_EQ(ntohs(address.sin_port), 36003);
    EXPECT_EQ(address.sin_addr.s_addr, htonl(INADDR_ANY));
    int type = 0;
    socklen_t type_length = sizeof type;
    ASSERT_EQ(getsockopt(runtime.msg_fd, SOL_SOCKET, SO_TYPE, &type, &type_length), 0);
    EXPECT_EQ(type, SOCK_DGRAM);
    EXPECT_NE(fcntl(runtime.msg_fd, F_GETFD) & FD_CLOEXEC, 0);
}

TEST_F(MessageSocket, leaves_an_extender_to_be_admitted) {
    msg_socket_open();
    EXPECT_EQ(runtime.backhaul_valid, 0);
}

TEST_F(MessageSocket, admits_a_root_at_once) {
    runtime.master = 1;
    msg_socket_open();
    EXPECT_EQ(runtime.backhaul_valid, 1);
}

TEST_F(MessageSocket, ends_the_worker_with_status_1_when_the_port_is_taken) {
    msg_socket_open();
    EXPECT_EXIT(msg_socket_open(), testing::ExitedWithCode(1), "^bind: Address already in use\n$");
}

TEST_F(MessageSocket, ends_the_worker_with_status_1_when_it_cannot_be_made) {
    EXPECT_EXIT(
        {
            const harness::DescriptorsRefused refused;
            msg_socket_open();
        },
        testing::ExitedWithCode(1), "^socket: Too many open files\n$");
}

class WorkerEnd : public harness::SandboxTest {};

TEST_F(WorkerEnd, has_the_given_status) {
    EXPECT_EXIT(worker_end_now(0), testing::ExitedWithCode(0), "");
    EXPECT_EXIT(worker_end_now(7), testing::ExitedWithCode(7), "");
}

TEST_F(WorkerEnd, loses_nothing_that_was_printed) {
    const int code = exit_code(
        [] {
            std::fputs("no line end", stdout);
            worker_end_now(5);
        },
        harness::WHOLE_OUT);
    EXPECT_EQ(code, 5);
    EXPECT_EQ(harness::file_text("/tmp/out"), "no line end");
}

void* read_for_ever(void* file) {
    return reinterpret_cast<void*>(static_cast<intptr_t>(std::getc(static_cast<FILE*>(file))));
}

TEST_F(WorkerEnd, does_not_wait_for_a_thread_inside_a_read) {
    const int code = exit_code([] {
        int ends[2];
        if (pipe(ends) != 0) {
            _exit(98);
        }
        FILE* const file = fdopen(ends[0], "r");
        if (thread_start(read_for_ever, file) != 0) {
            _exit(97);
        }
        // Once the thread holds the stream's lock it is inside the read.
        if (!harness::wait_until([&] {
                if (ftrylockfile(file) != 0) {
                    return true;
                }
                funlockfile(file);
                return false;
            })) {
            _exit(96);
        }
        worker_end_now(0);
    });
    EXPECT_EQ(code, 0);
}

TEST_F(WorkerEnd, works_on_any_thread) {
    const int code = exit_code(
        [] {
            std::fputs("from a thread\n", stdout);
            thread_start([](void*) -> void* { worker_end_now(4); }, nullptr);
            for (;;) {
                pause();
            }
        },
        harness::WHOLE_OUT);
    EXPECT_EQ(code, 4);
    EXPECT_EQ(harness::file_text("/tmp/out"), "from a thread\n");
}

class WorkerThreads : public harness::SandboxTest {};

TEST_F(WorkerThreads, are_missed_without_a_word_when_they_cannot_be_started) {
    harness::put_file("/tmp/netprobe.db", "");
    const int code = exit_code(
        [] {
            dup2(open("/tmp/err", O_WRONLY | O_CREAT | O_TRUNC, 0600), STDERR_FILENO);
            harness::threads_refuse();
            if (thread_start(read_for_ever, nullptr) <= 0) {
                _exit(97);
            }
            // It goes on until it misses the profile.
            backhaul_monitor();
        },
        harness::WHOLE_OUT);
    EXPECT_EQ(code, 0);
    EXPECT_EQ(harness::file_text("/tmp/out"), "Init WiFi interface table fail\n");
    EXPECT_EQ(harness::file_text("/tmp/err"), "");
}

struct thread_seen {
    std::atomic<size_t> stack{0};
};

void* stack_measure(void* argument) {
    pthread_attr_t attributes;
    pthread_getattr_np(pthread_self(), &attributes);
    size_t size = 0;
    pthread_attr_getstacksize(&attributes, &size);
    pthread_attr_destroy(&attributes);
    static_cast<thread_seen*>(argument)->stack = size;
    return nullptr;
}

TEST(ThreadStart, runs_the_entry_with_its_argument_on_at_least_512_kib) {
    // Not the size that the C library happens to choose.
    pthread_attr_t larger;
    pthread_attr_init(&larger);
    pthread_attr_setstacksize(&larger, size_t{32} * 1024 * 1024);
    ASSERT_EQ(pthread_setattr_default_np(&larger), 0);
    pthread_attr_destroy(&larger);
    static thread_seen seen;
    ASSERT_EQ(thread_start(stack_measure, &seen), 0);
    EXPECT_TRUE(harness::wait_until([] { return seen.stack != 0; }));
    EXPECT_GE(seen.stack, 512U * 1024U);
    EXPECT_LE(seen.stack, 8U * 1024U * 1024U);
}

}  // namespace
