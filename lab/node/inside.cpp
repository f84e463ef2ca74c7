#include "lab/node/inside.h"

#include <fcntl.h>
#include <sched.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <thread>

namespace lab {

bool with_files_of(const Node& node, const std::function<void()>& work, std::string& error) {
    const std::string process = "/proc/" + std::to_string(node.init());
    const int inside = open((process + "/ns/mnt").c_str(), O_RDONLY | O_CLOEXEC);
    const int root = open((process + "/root").c_str(), O_RDONLY | O_CLOEXEC);
    int reason = inside < 0 || root < 0 ? errno : 0;
    if (reason == 0) {
        // A thread may change its mount namespace once it shares no working directory.
        std::thread worker([inside, root, &reason, &work] {
            if (unshare(CLONE_FS) != 0 || setns(inside, CLONE_NEWNS) != 0 || fchdir(root) != 0 ||
                chroot(".") != 0) {
                reason = errno;
                return;
            }
            work();
        });
        worker.join();
    }
    close(inside);
    close(root);
    if (reason != 0) {
        error = "cannot enter the files of " + node.options().name + ": " + strerror(reason);
        return false;
    }
    return true;
}

}  // namespace lab
