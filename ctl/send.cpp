// `backhaulctl send WORD`: a word into the daemon's FIFO, without waiting for a reader.

#include "ctl/json.h"
#include "ctl/logs.h"
#include "ctl/text.h"
#include "intake/control_fifo.h"
#include "intake/fifo_command.h"
#include "runtime/descriptor.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>

namespace {

bool word_is_known(std::string_view word) {
    for (int i = 0; i < static_cast<int>(fifo_command::none); ++i) {
        if (word == fifo_command_text(static_cast<fifo_command>(i))) {
            return true;
        }
    }
    return false;
}

int result_tell(const ctl_options& options, int code, const char* word, const char* said) {
    if (options.json) {
        json_writer json(options.out);
        json.object_begin().text("word", word).boolean("sent", code == EXIT_GOOD);
        json.text("said", said).object_end().line_end();
        return output_end(options, code);
    }
    std::fprintf(code == EXIT_GOOD ? options.out : stderr, "backhaulctl: %s\n", said);
    return output_end(options, code);
}

}  // namespace

int command_send(const ctl_options& options) {
    const char* const word = options.words[0];
    std::array<char, 256> said{};
    if (!word_is_known(word)) {
        std::snprintf(said.data(), said.size(),
                      "%.40s is no word of the daemon: master, slave, approval_list_changed, "
                      "uplink_scan, network_reload, eth_detect, eth_lost",
                      word);
        return result_tell(options, EXIT_USAGE, word, said.data());
    }
    const auto path = path_below(options.root, CONTROL_FIFO_PATH);
    const Descriptor fifo(open(path.data(), O_WRONLY | O_NONBLOCK | O_CLOEXEC | O_NOFOLLOW));
    const int failure = errno;
    if (!fifo) {
        const char* const why = failure == ENXIO    ? "no daemon listens"
                                : failure == ENOENT ? "there is no FIFO: no daemon has run"
                                                    : std::strerror(failure);
        std::snprintf(said.data(), said.size(), "%.150s: %.60s", path.data(), why);
        return result_tell(options, EXIT_UNREADABLE, word, said.data());
    }
    struct stat status {};
    if (fstat(fifo.get(), &status) != 0 || !S_ISFIFO(status.st_mode)) {
        std::snprintf(said.data(), said.size(), "%.150s is no FIFO", path.data());
        return result_tell(options, EXIT_UNREADABLE, word, said.data());
    }
    // One write: the daemon takes what one read gives it for one word.
    std::array<char, FIFO_READ_SIZE> line{};
    const int size = std::snprintf(line.data(), line.size(), "%s\n", word);
    std::signal(SIGPIPE, SIG_IGN);
    if (write(fifo.get(), line.data(), static_cast<size_t>(size)) != size) {
        std::snprintf(said.data(), said.size(), "%.150s: %.60s", path.data(),
                      errno == EAGAIN ? "full: the daemon does not read" : std::strerror(errno));
        return result_tell(options, EXIT_UNREADABLE, word, said.data());
    }
    std::snprintf(said.data(), said.size(), "sent: %s", word);
    return result_tell(options, EXIT_GOOD, word, said.data());
}
