// What was typed.
#include "lab/program/command_line.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <CLI/CLI.hpp>

#include "lab/program/pacing.h"
#include "lab/tools/small_file.h"

namespace lab {
namespace {

using testing::HasSubstr;

using Words = std::vector<std::string>;

struct Parsed {
    std::string_view command;  // empty: none
    Arguments arguments;
    std::string help;
    std::string error;
};

Parsed parse(const Words& words) {
    Parsed parsed;
    const CommandRow* row = command_read(words, parsed.arguments, parsed.help, parsed.error);
    parsed.command = row == nullptr ? std::string_view() : row->name;
    return parsed;
}

TEST(CommandLine, takes_options_before_and_behind_the_words) {
    const Parsed parsed = parse({"up", "--speed", "20", "mesh.scn", "--seed=7"});
    ASSERT_EQ(parsed.command, "up") << parsed.error;
    EXPECT_EQ(parsed.arguments.words, (Words{"mesh.scn"}));
    EXPECT_EQ(parsed.arguments.speed, 20);
    EXPECT_EQ(parsed.arguments.seed, 7U);
}

TEST(CommandLine, takes_options_behind_any_number_of_logs) {
    const Parsed parsed = parse({"shrink", "replay", "e1=a.log", "b.log", "--output", "c.log"});
    ASSERT_EQ(parsed.command, "shrink") << parsed.error;
    EXPECT_EQ(parsed.arguments.words, (Words{"replay", "e1=a.log", "b.log"}));
    EXPECT_EQ(parsed.arguments.output, "c.log");
}

TEST(CommandLine, leaves_what_stands_behind_the_verb_to_the_verb) {
    const Parsed parsed = parse({"do", "--socket", "/run/x/control", "fade", "e1", "e2", "-80"});
    ASSERT_EQ(parsed.command, "do") << parsed.error;
    EXPECT_EQ(parsed.arguments.words, (Words{"fade", "e1", "e2", "-80"}));
    EXPECT_EQ(parsed.arguments.socket, "/run/x/control");
}

TEST(CommandLine, takes_an_option_behind_the_verb_when_there_is_no_doubt) {
    const Parsed parsed = parse({"do", "expect", "e1", "log", "--json -f", "--socket", "/x/y"});
    ASSERT_EQ(parsed.command, "do") << parsed.error;
    EXPECT_EQ(parsed.arguments.words, (Words{"expect", "e1", "log", "--json -f"}));
    EXPECT_EQ(parsed.arguments.socket, "/x/y");
    EXPECT_FALSE(parsed.arguments.json);
    EXPECT_TRUE(parse({"do", "deauth", "e1", "--json"}).arguments.json);
    EXPECT_EQ(parse({"do", "wait", "--", "--socket"}).arguments.words, (Words{"wait", "--socket"}));
}

TEST(CommandLine, takes_a_whole_command_line_for_the_shell) {
    const Parsed parsed = parse({"shell", "e1", "-c", "ls -l /tmp"});
    ASSERT_EQ(parsed.command, "shell") << parsed.error;
    EXPECT_EQ(parsed.arguments.shell, "ls -l /tmp");
    EXPECT_EQ(parsed.arguments.words, (Words{"e1"}));
    EXPECT_EQ(parse({"shell", "e1", "-c", "--version"}).arguments.shell, "--version");
}

TEST(CommandLine, takes_a_node_with_the_name_of_a_command) {
    EXPECT_EQ(parse({"log", "status"}).command, "log");
    EXPECT_EQ(parse({"log", "status"}).arguments.words, (Words{"status"}));
}

TEST(CommandLine, follows_a_log_when_told_so) {
    const Parsed parsed = parse({"log", "-f", "e1", "--lines", "40"});
    ASSERT_EQ(parsed.command, "log") << parsed.error;
    EXPECT_TRUE(parsed.arguments.follow);
    EXPECT_EQ(parsed.arguments.lines, 40);
}

TEST(CommandLine, guesses_a_command_that_was_misspelt) {
    EXPECT_EQ(parse({"statsu"}).error, "`statsu` is no command (did you mean `status`?)");
    EXPECT_EQ(parse({"xyzzy"}).error, "`xyzzy` is no command");
    EXPECT_EQ(parse({}).error, "a command is missing");
    EXPECT_EQ(parse({"--"}).error, "a command is missing");
    EXPECT_EQ(parse({"--json", "status"}).error, "`--json` is no command");
    EXPECT_EQ(parse({""}).error, "a command is missing");
}

TEST(CommandLine, guesses_an_option_among_those_of_the_command) {
    EXPECT_EQ(parse({"up", "x", "--sped", "2"}).error,
              "`--sped` is no option of `up` (did you mean `--speed`?)");
    EXPECT_EQ(parse({"down", "--speed", "2"}).error, "`--speed` is no option of `down`");
    EXPECT_EQ(parse({"do", "--lines", "2"}).error, "`--lines` is no option of `do`");
}

TEST(CommandLine, refuses_values_that_are_none) {
    EXPECT_EQ(parse({"up", "x", "--speed", "fast"}).error,
              "--speed: `fast` is no speed: say 0.001 to 1000, `auto` or `fastest`");
    for (const Words& words : std::vector<Words>{{"--speed", "up", "x", "--speed", "-1"},
                                                 {"--speed", "up", "x", "--speed", "0"},
                                                 {"--speed", "up", "x", "--speed", "nan"},
                                                 {"--speed", "up", "x", "--speed"},
                                                 {"--seed", "check", "x", "--seed", "4294967296"},
                                                 {"--seed", "check", "x", "--seed", "one"},
                                                 {"--nodes", "chaos", "--nodes", "1"},
                                                 {"--nodes", "chaos", "--nodes", "251"},
                                                 {"--lines", "log", "e1", "--lines", "0"},
                                                 {"--json", "status", "--json=soon"}}) {
        const Parsed parsed = parse({words.begin() + 1, words.end()});
        EXPECT_EQ(parsed.command, "") << words.back();
        EXPECT_THAT(parsed.error, HasSubstr(words[0]));
    }
}

TEST(CommandLine, knows_the_words_for_speeds) {
    EXPECT_EQ(parse({"up", "x", "--speed", "fastest"}).arguments.speed, SPEED_FASTEST);
    EXPECT_EQ(parse({"up", "x", "--speed", "auto"}).arguments.speed, SPEED_AUTO);
}

TEST(CommandLine, shows_the_usage_of_a_command_with_too_few_or_many_words) {
    EXPECT_EQ(parse({"log"}).error, "say `log NODE`");
    EXPECT_EQ(parse({"down", "now"}).error, "say `down`");
    EXPECT_EQ(parse({"status", "e1", "e2"}).error, "say `status [NODE]`");
    EXPECT_EQ(parse({"do"}).error, "say `do VERB ... | do wait ... | do expect ...`");
}

TEST(CommandLine, notes_that_an_error_is_to_be_json) {
    EXPECT_TRUE(parse({"status", "--jsn", "--json"}).arguments.json);
    EXPECT_FALSE(parse({"status", "--jsn"}).arguments.json);
}

TEST(Help, of_a_command_lists_its_forms_and_options) {
    const std::string text = parse({"speed", "--help"}).help;
    EXPECT_THAT(text, HasSubstr("usage: backhaul_lab speed N\n"
                                "       backhaul_lab speed fastest\n"));
    EXPECT_THAT(text, HasSubstr("--socket PATH"));
    EXPECT_EQ(parse({"help", "speed"}).help, text);
    EXPECT_EQ(parse({"help", "sped"}).error, "`sped` is no command (did you mean `speed`?)");
}

TEST(Help, names_every_command) {
    const std::string text = parse({"--help"}).help;
    for (const CommandRow& row : COMMANDS) {
        EXPECT_THAT(text, HasSubstr("  " + std::string(row.name) + " "));
        EXPECT_TRUE(row.usage.starts_with(row.name)) << row.name;
        EXPECT_TRUE(row.help.ends_with('.')) << row.name;
        EXPECT_EQ(parse({std::string(row.name), "--help"}).error, "") << row.name;
    }
    EXPECT_EQ(parse({"help"}).help, text);
    EXPECT_EQ(parse({"-h"}).help, text);
}

TEST(ManPage, names_every_command_and_option) {
    std::string page;
    ASSERT_TRUE(file_read(BACKHAUL_SOURCE_DIR "/docs/backhaul_lab.1", &page));
    std::erase(page, '\\');
    Arguments arguments;
    const std::unique_ptr<CLI::App> app = command_line(arguments);
    for (const CommandRow& row : COMMANDS) {
        const CLI::App* command = app->get_subcommand(std::string(row.name));
        EXPECT_THAT(page, HasSubstr("backhaul_lab " + std::string(row.name) + "\n"));
        for (const std::string& name : CLI::detail::split_up(std::string(row.options))) {
            EXPECT_NE(command->get_option_no_throw(name), nullptr) << row.name << " " << name;
        }
        for (const CLI::Option* option : command->get_options()) {
            EXPECT_THAT(page, HasSubstr(option->get_positional() ? "" : option->get_name()));
        }
    }
}

}  // namespace
}  // namespace lab
