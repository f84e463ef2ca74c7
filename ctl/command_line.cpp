#include "ctl/options.h"

#include <getopt.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <string_view>

namespace {

struct command_row {
    const char* name;
    int (*run)(const ctl_options&);
    size_t words_min;
    size_t words_max;
    const char* usage;
    const char* what;
};

constexpr size_t MANY = 1000000;

constexpr std::array COMMANDS = {
    command_row{"status", command_status, 0, 0, "status [--watch] [--interval SECONDS]",
                "How the node is: its interfaces, its uplink, its root, the last error that\n"
                "repeats. The first line of each incident says what is wrong."},
    command_row{"check", command_check, 0, 0, "check",
                "Whether this image is fit for the daemon. Exit code 1 when it would not work."},
    command_row{"send", command_send, 1, 1, "send WORD",
                "A word for the daemon; says at once when no daemon listens."},
    command_row{"summary", command_summary, 0, MANY, "summary [LOG...]",
                "Outages with their causes, counts, and the time in each state."},
    command_row{"explain", command_explain, 1, MANY, "explain TIME [LOG...] [--lines N]",
                "The lines around a moment in plain words, with the rule behind each step.\n"
                "TIME is \"2023-11-14 22:13:20\", or \"22:13:20\" of the log's last day."},
    command_row{"verify", command_verify, 0, MANY, "verify [LOG...]",
                "Holds every state change against the daemon's table. Exit code 1 when one\n"
                "cannot follow."},
    command_row{"timeline", command_timeline, 0, MANY, "timeline [LOG...] [--output FILE] [--text]",
                "A page with a lane for each interface of each node, or the same as plain text."},
    command_row{"metrics", command_metrics, 0, MANY, "metrics [LOG...] [--output FILE]",
                "OpenMetrics text for a node exporter's textfile folder."},
    command_row{"export", command_export, 0, MANY, "export [LOG...] [--output FILE]",
                "A JSON object a line for each entry of the log."},
};

enum option_code : int {
    OPTION_JSON = 256,
    OPTION_WATCH,
    OPTION_TEXT,
    OPTION_ROOT,
    OPTION_OUTPUT,
    OPTION_LINES,
    OPTION_INTERVAL,
    OPTION_NOW,
};

constexpr std::array<option, 10> OPTIONS = {{
    {"help", no_argument, nullptr, 'h'},
    {"json", no_argument, nullptr, OPTION_JSON},
    {"watch", no_argument, nullptr, OPTION_WATCH},
    {"text", no_argument, nullptr, OPTION_TEXT},
    {"root", required_argument, nullptr, OPTION_ROOT},
    {"output", required_argument, nullptr, OPTION_OUTPUT},
    {"lines", required_argument, nullptr, OPTION_LINES},
    {"interval", required_argument, nullptr, OPTION_INTERVAL},
    {"now", required_argument, nullptr, OPTION_NOW},
    {nullptr, 0, nullptr, 0},
}};

void help_print(FILE* out) {
    std::fputs("usage: backhaulctl COMMAND [OPTION...] [WORD...]\n\n", out);
    for (const command_row& row : COMMANDS) {
        std::fprintf(out, "  %s\n", row.usage);
    }
    std::fputs(
        "\nWithout a LOG it is the own node's. A LOG is a file, NODE=FILE, or a folder with a\n"
        "node's files. Every command knows --json, --help and --root FOLDER (a node's\n"
        "files below that folder). More: man backhaulctl\n",
        out);
}

bool number_read(const char* text, int lowest, int& number) {
    char* end = nullptr;
    const long value = std::strtol(text, &end, 10);
    if (end == text || *end != '\0' || value < lowest || value > 100000) {
        std::fprintf(stderr, "backhaulctl: %s is no number from %d to 100000\n", text, lowest);
        return false;
    }
    number = static_cast<int>(value);
    return true;
}

/// One option into `options`. False when it is none, or its argument is not good.
bool option_take(int code, ctl_options& options) {
    switch (code) {
        case OPTION_JSON:
            options.json = true;
            return true;
        case OPTION_WATCH:
            options.watch = true;
            return true;
        case OPTION_TEXT:
            options.text = true;
            return true;
        case OPTION_ROOT:
            options.root = optarg;
            return true;
        case OPTION_OUTPUT:
            options.output = optarg;
            return true;
        case OPTION_NOW:
            options.now = optarg;
            return true;
        case OPTION_LINES:
            return number_read(optarg, 0, options.lines);
        case OPTION_INTERVAL:
            return number_read(optarg, 1, options.interval);
        default:
            return false;
    }
}

int command_run(const command_row& row, ctl_options& options) {
    if (options.words.size() < row.words_min || options.words.size() > row.words_max) {
        std::fprintf(stderr, "usage: backhaulctl %s\n", row.usage);
        return EXIT_USAGE;
    }
    if (options.output == nullptr) {
        return row.run(options);
    }
    FILE* const file = std::fopen(options.output, "we");
    if (file == nullptr) {
        std::fprintf(stderr, "backhaulctl: cannot write %s\n", options.output);
        return EXIT_UNREADABLE;
    }
    options.out = file;
    const int code = row.run(options);
    if (std::fclose(file) != 0) {
        std::fprintf(stderr, "backhaulctl: cannot write %s\n", options.output);
        return EXIT_UNREADABLE;
    }
    return code;
}

}  // namespace

int ctl_run(int argc, char** argv) {
    ctl_options options;
    bool help = false;
    optind = 1;
    for (int code = 0; (code = getopt_long(argc, argv, "h", OPTIONS.data(), nullptr)) != -1;) {
        if (code == 'h') {
            help = true;
        } else if (!option_take(code, options)) {
            return EXIT_USAGE;
        }
    }
    if (optind >= argc || std::string_view(argv[optind]) == "help") {
        help_print(help || optind < argc ? stdout : stderr);
        return help || optind < argc ? EXIT_GOOD : EXIT_USAGE;
    }
    const std::string_view name = argv[optind];
    const auto* const row =
        std::ranges::find_if(COMMANDS, [&](const command_row& one) { return one.name == name; });
    if (row == COMMANDS.end()) {
        std::fprintf(stderr, "backhaulctl: there is no command %s (backhaulctl --help)\n",
                     argv[optind]);
        return EXIT_USAGE;
    }
    if (help) {
        std::printf("usage: backhaulctl %s\n\n%s\n", row->usage, row->what);
        return EXIT_GOOD;
    }
    options.words = std::span<char* const>(argv, static_cast<size_t>(argc))
                        .subspan(static_cast<size_t>(optind) + 1);
    return command_run(*row, options);
}
