// `backhaulctl check`: is this image fit for the daemon?

#include "ctl/check.h"

#include "ctl/json.h"
#include "ctl/logs.h"
#include "runtime/file_io.h"
#include "runtime/heap.h"
#include "runtime/mode_file.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstring>

namespace {

constexpr char DEFAULTS_PATH[] = "/etc/default/backhaul_monitor";

class gap_printer final : public gap_teller {
public:
    explicit gap_printer(const ctl_options& options) : options_(options), json_(options.out) {
        if (options_.json) {
            json_.object_begin().key("gaps").array_begin();
        }
    }

    void gap(gap_kind kind, const char* id, const char* what, const char* then,
             const char* help) override {
        const bool stops = kind == gap_kind::stops;
        stops_ += stops ? 1 : 0;
        weakens_ += stops ? 0 : 1;
        if (options_.json) {
            json_.object_begin().text("id", id).boolean("stops", stops).text("what", what);
            json_.text("then", then).text("do", help).object_end();
            return;
        }
        std::fprintf(options_.out, "%s %s [%s]\n     then: %s\n     do:   %s\n",
                     stops ? "STOP" : "weak", what, id, then, help);
    }

    void tools_not_asked() {
        asked_ = false;
    }

    void no_image() {
        is_image_ = false;
        if (!options_.json) {
            std::fprintf(options_.out,
                         "%s holds no programs: it is a copy of a node's logs, no image. What "
                         "follows would be wrong with an image.\n",
                         options_.root);
        }
    }

    int end() {
        if (options_.json) {
            json_.array_end()
                .boolean("image", is_image_)
                .boolean("asked", asked_)
                .number("stops", stops_)
                .number("weakens", weakens_);
            json_.object_end().line_end();
        } else if (stops_ + weakens_ == 0) {
            std::fprintf(options_.out, "fit: no gap was found%s\n",
                         asked_ ? "" : "; what the tools answer was not asked");
        } else {
            std::fprintf(options_.out,
                         "%d gap%s with which the daemon would not work, %d other%s\n", stops_,
                         stops_ == 1 ? "" : "s", weakens_, weakens_ == 1 ? "" : "s");
        }
        return output_end(options_, stops_ > 0 ? EXIT_FOUND : EXIT_GOOD);
    }

private:
    const ctl_options& options_;
    json_writer json_;
    bool is_image_ = true;
    bool asked_ = true;
    int stops_ = 0;
    int weakens_ = 0;
};

/// The role that the next start will have: the role file, or else the init script's options.
bool role_is_root(const char* root) {
    std::array<char, 256> line{};
    const File mode(path_below(root, MODE_FILE_PATH).data(), "r");
    if (mode && file_first_word(mode.get(), line)) {
        return std::strcmp(line.data(), MODE_MASTER) == 0;
    }
    const File defaults(path_below(root, DEFAULTS_PATH).data(), "r");
    while (defaults && file_next_line(defaults.get(), line)) {
        if (std::strncmp(line.data(), "OPTIONS", 7) == 0) {
            // "-m", or with others as in "-dm"; behind p, x, r and b comes a value.
            const char* const dash = std::strchr(line.data(), '-');
            const size_t flags = dash == nullptr ? 0 : std::strspn(dash + 1, "md");
            return std::strstr(line.data(), " -m") != nullptr ||
                   (flags > 0 && std::memchr(dash + 1, 'm', flags) != nullptr);
        }
    }
    return false;
}

/// Of an image at least one of these folders is there; of fetched logs none.
bool holds_programs(const char* root) {
    return std::ranges::any_of(
        std::array{"/bin", "/sbin", "/usr/bin", "/usr/sbin"},
        [&](const char* folder) { return access(path_below(root, folder).data(), F_OK) == 0; });
}

}  // namespace

int command_check(const ctl_options& options) {
    auto* const image = heap_make<check_image>();
    if (image == nullptr) {
        return EXIT_UNREADABLE;
    }
    image->root = options.root;
    image->is_root_node = role_is_root(options.root);
    gap_printer printer(options);
    if (!holds_programs(options.root)) {
        printer.no_image();
    }
    check_profile(*image, printer);
    check_store(*image, printer);
    check_tools(*image, printer);
    if (options.root[0] == '\0' && !options.no_ask) {
        check_answers(*image, printer);
    } else {
        printer.tools_not_asked();
    }
    check_network(*image, printer);
    check_database(*image, printer);
    check_system(*image, printer);
    heap_drop(image);
    return printer.end();
}
