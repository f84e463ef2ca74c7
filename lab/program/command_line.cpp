#include "lab/program/command_line.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>

#include "lab/program/pacing.h"
#include "lab/scenario/words.h"

namespace lab {
namespace {

constexpr int MOST_LINES = 1000000;
constexpr int MOST_CHAOS_NODES = 200;
constexpr int MOST_CHAOS_HOURS = 10000;
constexpr int MOST_MINUTES = 10000;
struct OptionRow {
    std::string_view name;
    void (*add)(CLI::App& command, Arguments& arguments);
};

constexpr std::array OPTIONS = {
    OptionRow{"--json",
              [](CLI::App& command, Arguments& arguments) {
                  command.add_flag("--json", arguments.json,
                                   "One JSON object instead of tables, and of errors");
              }},
    OptionRow{"--speed",
              [](CLI::App& command, Arguments& arguments) {
                  const auto read = [&arguments](const std::string& word) {
                      std::string error;
                      arguments.speed.emplace();
                      if (!speed_parse(word, *arguments.speed, error)) {
                          throw CLI::ValidationError("--speed", error);
                      }
                  };
                  command
                      .add_option_function<std::string>(
                          "--speed", read,
                          "Seconds of the mesh in a real one, `fastest`, or `auto`: as fast as it "
                          "can go while something waits, else 1 (auto)")
                      ->type_name("N");
              }},
    OptionRow{"--seed",
              [](CLI::App& command, Arguments& arguments) {
                  command.add_option("--seed", arguments.seed, "Seed of everything random")
                      ->type_name("N");
              }},
    OptionRow{"--socket",
              [](CLI::App& command, Arguments& arguments) {
                  command
                      .add_option("--socket", arguments.socket,
                                  "Where the mesh listens, when there is more than one")
                      ->type_name("PATH");
              }},
    OptionRow{"-f",
              [](CLI::App& command, Arguments& arguments) {
                  command.add_flag("-f", arguments.follow, "Goes on with what is still to come");
              }},
    OptionRow{"--lines",
              [](CLI::App& command, Arguments& arguments) {
                  command.add_option("--lines", arguments.lines, "Only the last N lines")
                      ->type_name("N")
                      ->check(CLI::Range(1, MOST_LINES));
              }},
    OptionRow{"-c",
              [](CLI::App& command, Arguments& arguments) {
                  command.add_option("-c", arguments.shell, "Runs this one command line")
                      ->type_name("COMMAND");
              }},
    OptionRow{"--evidence",
              [](CLI::App& command, Arguments& arguments) {
                  command
                      .add_option("--evidence", arguments.evidence,
                                  "Where a failed run leaves its folder")
                      ->type_name("FOLDER");
              }},
    OptionRow{"--nodes",
              [](CLI::App& command, Arguments& arguments) {
                  command
                      .add_option("--nodes", arguments.nodes,
                                  "Nodes of the mesh, the root among them (8)")
                      ->type_name("N")
                      ->check(CLI::Range(2, MOST_CHAOS_NODES));
              }},
    OptionRow{"--hours",
              [](CLI::App& command, Arguments& arguments) {
                  command.add_option("--hours", arguments.hours, "Hours of the mesh's time (24)")
                      ->type_name("N")
                      ->check(CLI::Range(1, MOST_CHAOS_HOURS));
              }},
    OptionRow{"--minutes",
              [](CLI::App& command, Arguments& arguments) {
                  command
                      .add_option("--minutes", arguments.minutes,
                                  "Ends the run after so many real minutes")
                      ->type_name("N")
                      ->check(CLI::Range(1, MOST_MINUTES));
              }},
    OptionRow{"--no-colour",
              [](CLI::App& command, Arguments& arguments) {
                  command.add_flag("--no-colour", arguments.colour_never,
                                   "No colour, whatever the terminal");
              }},
};

/// Calls `visit` with every option of the command; false when one of its names is none.
template <typename Visit>
constexpr bool options_visit(const CommandRow& row, const Visit& visit) {
    for (std::size_t at = 0; at < row.options.size();) {
        const std::size_t end = std::min(row.options.find(' ', at), row.options.size());
        const auto* option =
            std::ranges::find(OPTIONS, row.options.substr(at, end - at), &OptionRow::name);
        if (option == OPTIONS.end()) {
            return false;
        }
        visit(*option);
        at = end + 1;
    }
    return true;
}
static_assert(std::ranges::all_of(COMMANDS, [](const CommandRow& row) {
    return options_visit(row, [](const OptionRow& /*option*/) {});
}));

const CommandRow* command_find(std::string_view name) {
    const auto* row = std::ranges::find(COMMANDS, name, &CommandRow::name);
    return row == COMMANDS.end() ? nullptr : row;
}

/// The forms of the command on lines of their own, then what CLI11 says of the options.
class CommandFormatter : public CLI::Formatter {
public:
    std::string make_usage(const CLI::App* app, std::string name) const override {
        const CommandRow* row = command_find(app->get_name());
        if (row == nullptr) {
            return CLI::Formatter::make_usage(app, std::move(name));
        }
        std::string text = "usage: backhaul_lab ";
        for (std::string_view rest = row->usage;;) {
            const std::size_t end = rest.find(" | ");
            text += std::string(rest.substr(0, end)) + "\n";
            if (end == std::string_view::npos) {
                return text;
            }
            text += "       backhaul_lab ";
            rest.remove_prefix(end + 3);
        }
    }
    // Words are told by the forms above.
    std::string make_positionals(const CLI::App* /*app*/) const override {
        return "";
    }
};

/// A step has negative numbers and texts of its own: only what is an option of `do` beyond doubt is
/// none of its words. Takes them out.
std::vector<std::string> step_take(std::vector<std::string>& words) {
    std::vector<std::string> step;
    std::vector<std::string> options = {words[0]};
    for (std::size_t at = 1; at < words.size(); ++at) {
        const std::string& word = words[at];
        const bool is_option = word == "--help" || word == "-h" || word == "--json" ||
                               word.starts_with("--socket=") ||
                               (step.empty() && word.starts_with('-') && word != "--");
        if (word == "--") {
            step.insert(step.end(), words.begin() + static_cast<std::ptrdiff_t>(at) + 1,
                        words.end());
            break;
        }
        if (word == "--socket" && at + 1 < words.size()) {
            options.insert(options.end(), {word, words[++at]});
        } else {
            (is_option ? options : step).push_back(word);
        }
    }
    words = options;
    return step;
}

/// What could not be read at all.
std::string unexpected_text(const CLI::App& app, const CommandRow* row) {
    const std::vector<std::string> rest = app.remaining(true);
    const std::string word = rest.empty() ? "" : rest[0].substr(0, rest[0].find('='));
    std::vector<std::string> names;
    if (row == nullptr) {
        for (const CommandRow& command : COMMANDS) {
            names.emplace_back(command.name);
        }
        return word.empty() ? "a command is missing" : unknown_word(word, "command", names);
    }
    if (!word.starts_with('-')) {
        return "say `" + std::string(row->usage) + "`";
    }
    options_visit(*row, [&names](const OptionRow& option) { names.emplace_back(option.name); });
    return unknown_word(word, "option of `" + std::string(row->name) + "`", names);
}

}  // namespace

std::unique_ptr<CLI::App> command_line(Arguments& arguments) {
    auto app =
        std::make_unique<CLI::App>("Tries a whole Wi-Fi mesh on one machine.", "backhaul_lab");
    app->formatter(std::make_shared<CommandFormatter>());
    app->footer(
        "`backhaul_lab COMMAND --help` tells more. Exit codes: 0 all good, 1 an expectation failed "
        "or\nsomething is not there, 2 wrong usage.");
    for (const CommandRow& row : COMMANDS) {
        CLI::App* command = app->add_subcommand(std::string(row.name), std::string(row.help));
        command->footer("");
        if (row.most > 0) {
            command->add_option("words", arguments.words)
                ->expected(0, CLI::detail::expected_max_vector_size);
        }
        options_visit(row, [&](const OptionRow& option) { option.add(*command, arguments); });
    }
    return app;
}

const CommandRow* command_read(std::vector<std::string> words, Arguments& arguments,
                               std::string& help, std::string& error) {
    const std::unique_ptr<CLI::App> app = command_line(arguments);
    const CommandRow* row = words.empty() ? nullptr : command_find(words[0]);
    std::vector<std::string> step;
    if (row != nullptr && row->most == ANY_NUMBER) {
        step = step_take(words);
    }
    arguments.json = std::ranges::find(words, "--json") != words.end();
    try {
        std::ranges::reverse(words);
        app->parse(words);
        if (row == nullptr) {
            error = unexpected_text(*app, row);
            return nullptr;
        }
        arguments.words.insert(arguments.words.end(), step.begin(), step.end());
    } catch (const CLI::CallForHelp&) {
        help = app->help();
        return nullptr;
    } catch (const CLI::ExtrasError&) {
        error = unexpected_text(*app, row);
        return nullptr;
    } catch (const CLI::ParseError& failure) {
        error = failure.what();
        return nullptr;
    }
    if (arguments.words.size() < row->least || arguments.words.size() > row->most) {
        error = "say `" + std::string(row->usage) + "`";
        return nullptr;
    }
    if (row != &COMMANDS.back()) {
        return row;
    }
    return command_read(arguments.words.empty()
                            ? std::vector<std::string>{"--help"}
                            : std::vector<std::string>{arguments.words[0], "--help"},
                        arguments, help, error);
}

}  // namespace lab
