#include "ctl/logs.h"

#include "runtime/flow_log.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstring>

std::array<char, LOG_PATH_SIZE> path_below(const char* root, const char* path) {
    std::array<char, LOG_PATH_SIZE> whole{};
    std::snprintf(whole.data(), whole.size(), "%s%s", root, path);
    return whole;
}

namespace {

/// The own node's files. False, with a sentence, when there are none or one cannot be read.
bool own_logs_add(const char* root, log_set& logs, std::span<char> error) {
    bool any = false;
    for (const char* const path : {FLOW_LOG_OLD_PATH, FLOW_LOG_CRASH_PATH, FLOW_LOG_PATH}) {
        const auto whole = path_below(root, path);
        struct stat status {};
        if (stat(whole.data(), &status) != 0) {
            continue;
        }
        if (!logs.add(whole.data(), error)) {
            return false;
        }
        any = true;
    }
    if (!any) {
        std::snprintf(error.data(), error.size(), "there is no flow log at %s",
                      path_below(root, FLOW_LOG_PATH).data());
    }
    return any;
}

}  // namespace

bool logs_open(const ctl_options& options, size_t first, log_set& logs) {
    std::array<char, LOG_ERROR_SIZE> error{};
    bool good = true;
    for (size_t i = first; i < options.words.size() && good; ++i) {
        good = logs.add(options.words[i], error);
    }
    if (options.words.size() <= first) {
        good = own_logs_add(options.root, logs, error);
    }
    if (!good && !options.quiet) {
        std::fprintf(stderr, "backhaulctl: %s\n", error.data());
    }
    logs.sort();
    return good;
}

void entries_check::node_over(const story& told, const log_source& last) {
    if (told.counts().entries == 0) {
        std::fprintf(stderr, "backhaulctl: %s: holds no log entry\n", last.path.data());
        all_ = false;
    }
}

int output_end(const ctl_options& options, int code) {
    if (std::fflush(options.out) != 0 || std::ferror(options.out) != 0) {
        std::fprintf(stderr, "backhaulctl: cannot write: %s\n", std::strerror(errno));
        return EXIT_UNREADABLE;
    }
    return code;
}
