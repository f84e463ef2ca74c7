#include "lab/clock/driver_request.h"

#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstring>

#include "lab/sandbox/layout.h"

namespace lab {
namespace {

constexpr std::uint16_t ETHERNET_FAMILY = 1;  // ARPHRD_ETHER
constexpr unsigned int ENTRY_LENGTH = 20;
constexpr unsigned int MOST_ENTRIES = (CHANNEL_LIST_LENGTH - 4) / ENTRY_LENGTH;

// The kernel's struct iwreq in its point form, as this word size lays it out.
struct PointRequest {
    char name[16];
    void* data;
    std::uint16_t length;
    std::uint16_t flags;
};

int open_file(const char* path, int flags) {
    return static_cast<int>(syscall(SYS_openat, AT_FDCWD, path, flags | O_CLOEXEC, 0666));
}

long read_file(const char* path, char* into, unsigned long size) {
    const int fd = open_file(path, O_RDONLY);
    if (fd < 0) {
        return -1;
    }
    unsigned long done = 0;
    long got = 0;
    while (done < size && (got = syscall(SYS_read, fd, into + done, size - done)) > 0) {
        done += static_cast<unsigned long>(got);
    }
    syscall(SYS_close, fd);
    return static_cast<long>(done);
}

// The same in its address form.
struct AddressRequest {
    char name[16];
    std::uint16_t family;
    unsigned char address[6];
};

struct Text {
    std::array<char, 128> bytes{};
    unsigned long length = 0;
    void add(char one) {
        if (length < bytes.size()) {
            bytes[length++] = one;
        }
    }
    void add(const char* text) {
        while (*text != '\0') {
            add(*text++);
        }
    }
    void add_number(unsigned long value) {
        std::array<char, 24> digits{};
        unsigned long count = 0;
        do {
            digits[count++] = static_cast<char>('0' + value % 10);
            value /= 10;
        } while (value != 0);
        while (count > 0) {
            add(digits[--count]);
        }
    }
};

void note(const PointRequest& request, unsigned long now) {
    Text line;
    line.add_number(now);
    line.add(' ');
    line.add_number(static_cast<unsigned long>(syscall(SYS_getpid)));
    line.add(' ');
    for (unsigned int at = 0; at < sizeof(request.name) && request.name[at] != '\0'; ++at) {
        line.add(request.name[at]);
    }
    line.add(' ');
    line.add_number(request.length);
    line.add(' ');
    line.add_number(request.flags);
    line.add('\n');
    const int fd = open_file(LAB_IOCTLS, O_WRONLY | O_APPEND | O_CREAT);
    if (fd >= 0) {
        syscall(SYS_write, fd, line.bytes.data(), line.length);
        syscall(SYS_close, fd);
    }
}

void put_entry(char* list, std::uint32_t index, std::uint16_t frequency) {
    char* const entry = list + 4 + std::size_t{index} * ENTRY_LENGTH;
    std::memset(entry, 0, ENTRY_LENGTH);
    std::memcpy(entry, &frequency, sizeof(frequency));
}

void fill_from_text(const char* text, long length, char* list) {
    std::uint32_t count = 0;
    std::uint32_t number = 0;
    bool within = false;
    for (long at = 0; at <= length && count < MOST_ENTRIES; ++at) {
        const bool digit = at < length && text[at] >= '0' && text[at] <= '9';
        if (digit) {
            number = number * 10 + static_cast<std::uint32_t>(text[at] - '0');
        } else if (within) {
            put_entry(list, count++, static_cast<std::uint16_t>(number));
            number = 0;
        }
        within = digit;
    }
    std::memcpy(list, &count, sizeof(count));
}

// Path of a value of the interface in the tools' state; what does not fit names no file.
Text state_file(const char* interface, const char* value) {
    Text path;
    path.add(LAB_STATE);
    path.add("/iface/");
    path.add(interface);
    path.add('/');
    path.add(value);
    path.add('\0');
    return path;
}

int digit_value(char letter) {
    if (letter >= '0' && letter <= '9') {
        return letter - '0';
    }
    const char small = static_cast<char>(letter | 0x20);
    return small >= 'a' && small <= 'f' ? small - 'a' + 10 : 0;
}

int refuse(int reason) {
    errno = reason;
    return -1;
}

}  // namespace

int driver_channel_list(void* request, unsigned long now) noexcept {
    PointRequest wanted{};
    std::memcpy(&wanted, request, sizeof(wanted));
    note(wanted, now);
    if (wanted.length != CHANNEL_LIST_LENGTH) {
        return refuse(EINVAL);
    }
    char* list = static_cast<char*>(wanted.data);
    if (read_file(LAB_CHANNELS_RAW, list, CHANNEL_LIST_LENGTH) >= 0) {
        return 0;
    }
    std::array<char, 8192> text{};
    const long length = read_file(LAB_CHANNELS, text.data(), text.size());
    if (length < 0) {
        return refuse(EOPNOTSUPP);
    }
    fill_from_text(text.data(), length, list);
    return 0;
}

int driver_station_ap(void* request) noexcept {
    AddressRequest wanted{};
    std::memcpy(&wanted, request, sizeof(wanted));
    wanted.name[sizeof(wanted.name) - 1] = '\0';
    wanted.family = ETHERNET_FAMILY;
    std::array<char, 17> text{};
    char none = 0;
    if (read_file(state_file(wanted.name, "missing").bytes.data(), &none, 1) >= 0) {
        return refuse(ENODEV);
    }
    const bool associated = read_file(state_file(wanted.name, "ap").bytes.data(), text.data(),
                                      text.size()) == static_cast<long>(text.size());
    for (std::size_t at = 0; at < sizeof(wanted.address); ++at) {
        const int value = digit_value(text[at * 3]) * 16 + digit_value(text[at * 3 + 1]);
        wanted.address[at] = static_cast<unsigned char>(associated ? value : 0);
    }
    std::memcpy(request, &wanted, sizeof(wanted));
    return 0;
}

}  // namespace lab
