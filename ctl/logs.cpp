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

bool logs_open(const ctl_options& options, size_t first, log_set& logs) {
    std::array<char, LOG_ERROR_SIZE> error{};
    for (size_t i = first; i < options.words.size(); ++i) {
        if (!logs.add(options.words[i], error)) {
            std::fprintf(stderr, "backhaulctl: %s\n", error.data());
            return false;
        }
    }
    if (options.words.size() <= first) {
        bool any = false;
        for (const char* const path : {FLOW_LOG_OLD_PATH, FLOW_LOG_CRASH_PATH, FLOW_LOG_PATH}) {
            const auto whole = path_below(options.root, path);
            struct stat status {};
            if (stat(whole.data(), &status) != 0) {
                continue;
            }
            if (!logs.add(whole.data(), error)) {
                std::fprintf(stderr, "backhaulctl: %s\n", error.data());
                return false;
            }
            any = true;
        }
        if (!any) {
            std::fprintf(stderr, "backhaulctl: there is no flow log at %s\n",
                         path_below(options.root, FLOW_LOG_PATH).data());
            return false;
        }
    }
    logs.sort();
    return true;
}

int output_end(const ctl_options& options, int code) {
    if (std::fflush(options.out) != 0 || std::ferror(options.out) != 0) {
        std::fprintf(stderr, "backhaulctl: cannot write: %s\n", std::strerror(errno));
        return EXIT_UNREADABLE;
    }
    return code;
}
