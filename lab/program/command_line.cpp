#include "lab/program/command_line.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>

#include "lab/program/pacing.h"
#include "lab/rules/rule_names.h"
#include "lab/sandbox/limits.h"
#include "lab/scenario/words.h"

namespace lab {
namespace {

constexpr int MOST_LINES = 1000000;
constexpr int MOST_CHAOS_HOURS = 10000;
constexpr int MOST_MINUTES = 10000;
constexpr int MOST_ISLAND_SECONDS = 100000;
constexpr int MOST_JOBS = 1000;

void speed_option_add(CLI::App& command, Arguments& arguments) {
    const auto read = [&arguments](const std::string& word) {
        std::string error;
        arguments.speed.emplace();
        if (!speed_parse(word, *arguments.speed, error)) {
            throw CLI::ValidationError("--speed", error);
        }
    };
    command
        .add_option_function<std::string>("--speed", read,
                                          "Seconds of the mesh in a real one, `fastest`, or "
                                          "`auto`: as fast as it can go while something waits, "
                                          "else 1 (auto)")
        ->type_name("N");
}

void option_add(CLI::App& command, const std::string& name, Arguments& arguments) {
    const auto flag = [&](bool& place, const char* help) {
        command.add_flag(name, place, help);
    };
    const auto text = [&](std::string& place, const char* type, const char* help) {
        command.add_option(name, place, help)->type_name(type);
    };
    const auto number = [&](int& place, int least, int most, const char* help) {
        command.add_option(name, place, help)->type_name("N")->check(CLI::Range(least, most));
    };
    if (name == "--json") {
        flag(arguments.json, "One JSON object instead of tables, and of errors");
    } else if (name == "--speed") {
        speed_option_add(command, arguments);
    } else if (name == "--web") {
        flag(arguments.web, "Serves a page on this machine and prints its address");
    } else if (name == "--seed") {
        command.add_option(name, arguments.seed, "Seed of everything random")->type_name("N");
    } else if (name == "--socket") {
        text(arguments.socket, "PATH", "Where the mesh listens, when there is more than one");
    } else if (name == "-f") {
        flag(arguments.follow, "Goes on with what is still to come");
    } else if (name == "--lines") {
        number(arguments.lines, 1, MOST_LINES, "Only the last N lines");
    } else if (name == "-c") {
        text(arguments.shell, "COMMAND", "Runs this one command line");
    } else if (name == "--evidence") {
        text(arguments.evidence, "FOLDER", "Where a failed run leaves its folder");
    } else if (name == "--rule") {
        text(arguments.rule, "NAME",
             "Rule that has to be broken; the first one, when nothing is asked");
    } else if (name == "--node") {
        text(arguments.node, "NAME", "Node where it has to be so");
    } else if (name == "--seen" || name == "--not-seen") {
        command
            .add_option(name, name == "--seen" ? arguments.seen : arguments.unseen,
                        name == "--seen" ? "Part of a line that a flow log has to hold"
                                         : "Part of a line that no flow log may hold")
            ->type_name("TEXT")
            ->allow_extra_args(false);
    } else if (name == "--output") {
        text(arguments.output, "FILE", "Where the scenario is written");
    } else if (name == "--logs") {
        text(arguments.logs, "FOLDER", "Where each node's flow log of all boots is left");
    } else if (name == "--nodes") {
        number(arguments.nodes, 2, MOST_NODES,
               "Nodes of a mesh of neighbours, the root among them (8)");
    } else if (name == "--hours") {
        number(arguments.hours, 1, MOST_CHAOS_HOURS, "Hours of the mesh's time (24)");
    } else if (name == "--minutes") {
        number(arguments.minutes, 1, MOST_MINUTES, "Ends the run after so many real minutes");
    } else if (name == "--island") {
        number(arguments.island, 1, MOST_ISLAND_SECONDS,
               "Seconds of being ready without a root that make an island (600)");
    } else if (name == "--until") {
        command.add_option(name, arguments.until, "Ends the run when this rule is broken")
            ->type_name("RULE")
            ->check(CLI::IsMember(std::vector<std::string>(RULE_NAMES.begin(), RULE_NAMES.end())));
    } else if (name == "--results") {
        text(arguments.results, "FOLDER", "Where the results of a campaign are (beside its file)");
    } else if (name == "--jobs") {
        number(arguments.jobs, 1, MOST_JOBS,
               "Cases at once on each machine (one for each processor)");
    } else if (name == "--sshlogin") {
        command
            .add_option(name, arguments.logins,
                        "Machine that plays cases as well, `:` is this one; as of GNU parallel")
            ->type_name("LOGIN")
            ->allow_extra_args(false);
    } else if (name == "--slurm") {
        flag(arguments.slurm, "Prints a script for sbatch instead");
    } else if (name == "--list") {
        flag(arguments.list, "Prints the ids of the cases that have no result yet, one a line");
    } else if (name == "--case") {
        text(arguments.one_case, "ID", "Plays only this case");
    } else if (name == "--report") {
        flag(arguments.report, "Makes the page and the table of what is there instead");
    } else if (name == "--no-colour") {
        flag(arguments.colour_never, "No colour, whatever the terminal");
    }
}

std::vector<std::string> options_of(const CommandRow& row) {
    return CLI::detail::split_up(std::string(row.options));
}

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

std::string command_text(const std::string& word) {
    std::vector<std::string> names;
    for (const CommandRow& command : COMMANDS) {
        names.emplace_back(command.name);
    }
    return word.empty() ? "a command is missing" : unknown_word(word, "command", names);
}

/// What the command could not read.
std::string unexpected_text(const CLI::App& app, const CommandRow* row) {
    const std::vector<std::string> rest = app.remaining(true);
    const std::string word = rest.empty() ? "" : rest[0].substr(0, rest[0].find('='));
    if (row == nullptr) {
        return command_text(word);
    }
    return word.starts_with('-')
               ? unknown_word(word, "option of `" + std::string(row->name) + "`", options_of(*row))
               : "say `" + std::string(row->usage) + "`";
}

}  // namespace

std::unique_ptr<CLI::App> command_line(Arguments& arguments) {
    auto app =
        std::make_unique<CLI::App>("Tries a whole Wi-Fi mesh on one machine.", "backhaul_lab");
    app->formatter(std::make_shared<CommandFormatter>());
    // A node may have the name of a command.
    app->require_subcommand(0, 1);
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
        for (const std::string& option : options_of(row)) {
            option_add(*command, option, arguments);
        }
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
    if (row == nullptr && (words.empty() || !words[0].starts_with('-'))) {
        error = command_text(words.empty() ? "" : words[0]);
        return nullptr;
    }
    try {
        std::ranges::reverse(words);
        app->parse(words);
        if (row == nullptr) {
            error = command_text("");
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
