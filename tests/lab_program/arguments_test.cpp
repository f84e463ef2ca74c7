// What was typed.
#include <gtest/gtest.h>

#include <algorithm>

#include "lab/program/arguments.h"
#include "lab/tools/small_file.h"

namespace lab {
namespace {

struct Parsed {
    bool good = false;
    Arguments arguments;
    std::string error;
};

Parsed parse(const std::vector<std::string>& words) {
    Parsed parsed;
    parsed.good = arguments_parse(words, &parsed.arguments, &parsed.error);
    return parsed;
}

TEST(Arguments, take_options_before_and_behind_the_words) {
    const Parsed parsed = parse({"up", "--speed", "20", "mesh.scn", "--seed=7"});
    ASSERT_TRUE(parsed.good) << parsed.error;
    EXPECT_EQ(parsed.arguments.command, CommandKind::UP);
    EXPECT_EQ(parsed.arguments.words, (std::vector<std::string>{"mesh.scn"}));
    EXPECT_EQ(parsed.arguments.speed, 20);
    EXPECT_EQ(parsed.arguments.seed, 7U);
}

TEST(Arguments, leave_what_stands_behind_the_verb_to_the_verb) {
    const Parsed parsed = parse({"do", "--socket", "/run/x/control", "fade", "e1", "e2", "-80"});
    ASSERT_TRUE(parsed.good) << parsed.error;
    EXPECT_EQ(parsed.arguments.words, (std::vector<std::string>{"fade", "e1", "e2", "-80"}));
    EXPECT_EQ(parsed.arguments.socket, "/run/x/control");
}

TEST(Arguments, take_an_option_behind_the_verb_when_there_is_no_doubt) {
    const Parsed parsed = parse({"do", "expect", "e1", "log", "--json -f", "--socket", "/x/y"});
    ASSERT_TRUE(parsed.good) << parsed.error;
    EXPECT_EQ(parsed.arguments.words,
              (std::vector<std::string>{"expect", "e1", "log", "--json -f"}));
    EXPECT_EQ(parsed.arguments.socket, "/x/y");
    EXPECT_EQ(parse({"do", "wait", "--", "--socket"}).arguments.words,
              (std::vector<std::string>{"wait", "--socket"}));
}

TEST(Arguments, take_a_whole_command_line_for_the_shell) {
    const Parsed parsed = parse({"shell", "e1", "-c", "ls -l /tmp"});
    ASSERT_TRUE(parsed.good) << parsed.error;
    EXPECT_EQ(parsed.arguments.shell, "ls -l /tmp");
    EXPECT_EQ(parsed.arguments.words, (std::vector<std::string>{"e1"}));
}

TEST(Arguments, follow_a_log_when_told_so) {
    const Parsed parsed = parse({"log", "-f", "e1", "--lines", "40"});
    ASSERT_TRUE(parsed.good) << parsed.error;
    EXPECT_TRUE(parsed.arguments.follow);
    EXPECT_EQ(parsed.arguments.lines, 40);
}

TEST(Arguments, guess_a_command_that_was_misspelt) {
    EXPECT_EQ(parse({"statsu"}).error, "`statsu` is no command (did you mean `status`?)");
    EXPECT_EQ(parse({"xyzzy"}).error, "`xyzzy` is no command");
    EXPECT_EQ(parse({}).error, "a command is missing");
}

TEST(Arguments, guess_an_option_among_those_of_the_command) {
    EXPECT_EQ(parse({"up", "x", "--sped", "2"}).error,
              "`--sped` is no option of `up` (did you mean `--speed`?)");
    EXPECT_EQ(parse({"down", "--speed", "2"}).error, "`--speed` is no option of `down`");
}

TEST(Arguments, refuse_values_that_are_none) {
    EXPECT_EQ(parse({"up", "x", "--speed", "fast"}).error, "`fast` is no value for `--speed`");
    EXPECT_EQ(parse({"up", "x", "--speed", "-1"}).error, "`-1` is no value for `--speed`");
    EXPECT_EQ(parse({"up", "x", "--speed", "nan"}).error, "`nan` is no value for `--speed`");
    EXPECT_EQ(parse({"check", "x", "--seed", "4294967296"}).error,
              "`4294967296` is no value for `--seed`");
    EXPECT_EQ(parse({"chaos", "--nodes", "0"}).error, "`0` is no value for `--nodes`");
    EXPECT_EQ(parse({"up", "x", "--speed"}).error, "`--speed` needs a value: --speed N");
    EXPECT_EQ(parse({"status", "--json=1"}).error, "`--json` takes no value");
}

TEST(Arguments, show_the_usage_of_a_command_with_too_few_or_many_words) {
    EXPECT_EQ(parse({"log"}).error, "say `log NODE`");
    EXPECT_EQ(parse({"down", "now"}).error, "say `down`");
}

TEST(Arguments, turn_into_help_when_somebody_asks_for_it) {
    const Parsed parsed = parse({"log", "--help"});
    ASSERT_TRUE(parsed.good) << parsed.error;
    EXPECT_EQ(parsed.arguments.command, CommandKind::HELP);
    EXPECT_EQ(parsed.arguments.words, (std::vector<std::string>{"log"}));
    EXPECT_EQ(parse({"-h"}).arguments.command, CommandKind::HELP);
}

TEST(CommandTable, has_usages_and_options_that_exist) {
    for (const CommandRow& row : command_table()) {
        EXPECT_TRUE(row.usage.starts_with(row.name)) << row.name;
        EXPECT_TRUE(row.help.ends_with('.')) << row.name;
        std::size_t known = 0;
        for (const OptionRow& option : option_table()) {
            const std::string list = " " + std::string(row.options) + " ";
            known += list.find(" " + std::string(option.name) + " ") != std::string::npos ? 1U : 0U;
        }
        const std::size_t named = row.options.empty()
                                      ? 0
                                      : 1 + static_cast<std::size_t>(std::count(
                                                row.options.begin(), row.options.end(), ' '));
        EXPECT_EQ(known, named) << row.name;
    }
}

TEST(Usage, of_a_command_lists_its_forms_and_options) {
    EXPECT_EQ(usage_text(command_table()[static_cast<std::size_t>(CommandKind::SPEED)]),
              "usage: backhaul_lab speed N\n"
              "       backhaul_lab speed pause\n"
              "       backhaul_lab speed resume\n"
              "\n"
              "Changes how fast the mesh's time passes.\n"
              "\n"
              "  --json              One JSON object instead of tables.\n"
              "  --socket PATH       Where the mesh listens, when there is more than one.\n");
}

TEST(ManPage, names_every_command_and_option) {
    std::string page;
    ASSERT_TRUE(file_read(BACKHAUL_SOURCE_DIR "/docs/backhaul_lab.1", &page));
    std::erase(page, '\\');
    for (const CommandRow& row : command_table()) {
        EXPECT_NE(page.find("backhaul_lab " + std::string(row.name) + "\n"), std::string::npos)
            << row.name;
    }
    for (const OptionRow& row : option_table()) {
        EXPECT_NE(page.find(row.name), std::string::npos) << row.name;
    }
}

}  // namespace
}  // namespace lab
