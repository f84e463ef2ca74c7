#include "lab/tools/lab_time.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cstddef>
#include <cstdlib>
#include <ctime>

#include "lab/clock/clock_page.h"

namespace lab {
namespace {

// The first words of the page; the clock's owner stores each of them whole.
struct PageHead {
    std::uint32_t magic = 0;
    std::uint32_t mode = CLOCK_REAL;
    std::uint32_t now = 0;
};

static_assert(offsetof(ClockPage, magic) == offsetof(PageHead, magic));
static_assert(offsetof(ClockPage, mode) == offsetof(PageHead, mode));
static_assert(offsetof(ClockPage, now) == offsetof(PageHead, now));

bool page_head_read(const char* path, PageHead* head) {
    const int descriptor = open(path, O_RDONLY | O_CLOEXEC);
    if (descriptor < 0) {
        return false;
    }
    const bool whole = pread(descriptor, head, sizeof *head, 0) == ssize_t{sizeof *head};
    close(descriptor);
    return whole && head->magic == CLOCK_MAGIC && head->mode != CLOCK_REAL;
}

}  // namespace

std::int64_t node_time() {
    PageHead head;
    const char* path = std::getenv("LAB_CLOCK");
    if (path != nullptr && page_head_read(path, &head)) {
        return head.now;
    }
    return static_cast<std::int64_t>(time(nullptr));
}

}  // namespace lab
