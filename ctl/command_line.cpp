#include "ctl/options.h"

#include <getopt.h>

#include <algorithm>
#include <array>
#include <cstdarg>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string_view>

namespace {

enum option_code : int {
    OPTION_JSON = 256,
    OPTION_ROOT,
    OPTION_OUTPUT,
    OPTION_WATCH,
    OPTION_TEXT,
    OPTION_LINES,
    OPTION_INTERVAL,
    OPTION_NOW,
    OPTION_NO_ASK,
};

constexpr uint32_t option_bit(int code) {
    return 1U << static_cast<uint32_t>(code - OPTION_JSON);
}

constexpr uint32_t GENERAL =
    option_bit(OPTION_JSON) | option_bit(OPTION_ROOT) | option_bit(OPTION_OUTPUT);

struct command_row {
    const char* name;
    int (*run)(const ctl_options&);
    size_t words_min;
    size_t words_max;
    uint32_t takes;  ///< options, beside the general ones
    const char* usage;
    const char* what;
};

constexpr size_t MANY = 1000000;

constexpr std::array COMMANDS = {
    command_row{"status", command_status, 0, 0,
                option_bit(OPTION_WATCH) | option_bit(OPTION_INTERVAL) | option_bit(OPTION_NOW),
                "status [--watch [--interval SECONDS]] [--now TIME]",
                "How the node is: its interfaces, its uplink, its root, the last error that\n"
                "repeats. The first line of each incident says what is wrong."},
    command_row{"check", command_check, 0, 0, option_bit(OPTION_NO_ASK), "check [--no-ask]",
                "Whether this image is fit for the daemon. Exit code 1 when it would not work.\n"
                "Asks tools what changes nothing; with --no-ask it only looks for them."},
    command_row{"send", command_send, 1, 1, 0, "send WORD",
                "A word for the daemon; says at once when no daemon listens."},
    command_row{"summary", command_summary, 0, MANY, 0, "summary [LOG...]",
                "Outages with their causes, counts, and the time in each state."},
    command_row{"explain", command_explain, 1, MANY, option_bit(OPTION_LINES),
                "explain TIME [LOG...] [--lines N]",
                "The lines around a moment in plain words, with the rule behind each step.\n"
                "TIME is \"2023-11-14 22:13:20\", or \"22:13:20\" or \"22:13\" of the log's last\n"
                "day."},
    command_row{"verify", command_verify, 0, MANY, 0, "verify [LOG...]",
                "Holds every state change against the daemon's table. Exit code 1 when one\n"
                "cannot follow."},
    command_row{"timeline", command_timeline, 0, MANY, option_bit(OPTION_TEXT),
                "timeline [LOG...] [--text]",
                "A page with a lane for each interface of each node, or the same as plain text."},
    command_row{"metrics", command_metrics, 0, MANY, 0, "metrics [LOG...]",
                "OpenMetrics text for a node exporter's textfile folder."},
    command_row{"export", command_export, 0, MANY, 0, "export [LOG...]",
                "A JSON object a line for each entry of the log."},
};

constexpr std::array<option, 11> OPTIONS = {{
    {"help", no_argument, nullptr, 'h'},
    {"json", no_argument, nullptr, OPTION_JSON},
    {"watch", no_argument, nullptr, OPTION_WATCH},
    {"text", no_argument, nullptr, OPTION_TEXT},
    {"root", required_argument, nullptr, OPTION_ROOT},
    {"output", required_argument, nullptr, OPTION_OUTPUT},
    {"lines", required_argument, nullptr, OPTION_LINES},
    {"interval", required_argument, nullptr, OPTION_INTERVAL},
    {"now", required_argument, nullptr, OPTION_NOW},
    {"no-ask", no_argument, nullptr, OPTION_NO_ASK},
    {nullptr, 0, nullptr, 0},
}};

constexpr char GENERAL_HELP[] =
    "Every command knows:\n"
    "  --json           one JSON document in the place of text (export: one for each entry)\n"
    "  --output FILE    where the result goes\n"
    "  --root FOLDER    the node's files are below this folder: a copied node\n"
    "  -h, --help       what a command does and takes\n";

void help_print(FILE* out) {
    std::fputs("usage: backhaulctl COMMAND [OPTION...] [WORD...]\n\n", out);
    for (const command_row& row : COMMANDS) {
        std::fprintf(out, "  %s\n", row.usage);
    }
    std::fputs(
        "\nWithout a LOG it is the own node's. A LOG is a file, NODE=FILE, or a folder with a\n"
        "node's files.\n\n",
        out);
    std::fputs(GENERAL_HELP, out);
    std::fputs("\nMore: man backhaulctl\n", out);
}

/// One line about what is wrong with the words, which ends with where the right ones are.
__attribute__((format(printf, 2, 3))) int usage_error(const char* command, const char* format,
                                                      ...) {
    std::fputs("backhaulctl: ", stderr);
    va_list arguments;
    va_start(arguments, format);
    std::vfprintf(stderr, format, arguments);
    va_end(arguments);
    std::fprintf(stderr, " (backhaulctl %s%s--help)\n", command, command[0] == '\0' ? "" : " ");
    return EXIT_USAGE;
}

bool number_read(const char* text, int lowest, int& number) {
    char* end = nullptr;
    const long value = std::strtol(text, &end, 10);
    if (end == text || *end != '\0' || value < lowest || value > 100000) {
        usage_error("", "%s is no number from %d to 100000", text, lowest);
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
        case OPTION_NO_ASK:
            options.no_ask = true;
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

/// The option of `used` that the command does not know, or that does nothing beside the others.
const char* useless_option(const command_row& row, uint32_t used) {
    for (const option& one : OPTIONS) {
        const bool known = one.name == nullptr || one.val < OPTION_JSON ||
                           (used & option_bit(one.val) & ~(row.takes | GENERAL)) == 0;
        if (!known) {
            return one.name;
        }
    }
    const bool watches = (used & option_bit(OPTION_WATCH)) != 0;
    return (used & option_bit(OPTION_INTERVAL)) != 0 && !watches ? "interval" : nullptr;
}

/// False, with what is wrong said, when the words do not fit the command.
bool words_fit(const command_row& row, uint32_t used, const ctl_options& options) {
    if (const char* const useless = useless_option(row, used)) {
        usage_error(row.name, "--%s does nothing in this command", useless);
    } else if (options.json && options.text) {
        usage_error(row.name, "--text and --json: only one of them");
    } else if (row.words_max == 0 && !options.words.empty()) {
        usage_error(row.name,
                    "%s takes no LOG; for a copy of a node's files: backhaulctl %s --root FOLDER",
                    row.name, row.name);
    } else if (options.words.size() < row.words_min || options.words.size() > row.words_max) {
        std::fprintf(stderr, "usage: backhaulctl %s\n", row.usage);
    } else {
        return true;
    }
    return false;
}

int command_run(const command_row& row, ctl_options& options) {
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
    uint32_t used = 0;
    optind = 1;
    for (int code = 0; (code = getopt_long(argc, argv, ":h", OPTIONS.data(), nullptr)) != -1;) {
        if (code == 'h') {
            help = true;
        } else if (code == ':') {
            return usage_error("", "%s needs a value", argv[optind - 1]);
        } else if (code == '?') {
            return usage_error("", "%s is no option", argv[optind - 1]);
        } else if (!option_take(code, options)) {
            return EXIT_USAGE;
        } else {
            used |= option_bit(code);
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
        return usage_error("", "there is no command %s", argv[optind]);
    }
    if (help) {
        std::printf("usage: backhaulctl %s\n\n%s\n\n%s", row->usage, row->what, GENERAL_HELP);
        return EXIT_GOOD;
    }
    options.words = std::span<char* const>(argv, static_cast<size_t>(argc))
                        .subspan(static_cast<size_t>(optind) + 1);
    return words_fit(*row, used, options) ? command_run(*row, options) : EXIT_USAGE;
}
