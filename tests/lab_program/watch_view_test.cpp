// What the live view shows, and what its keys mean.
#include "lab/program/watch_view.h"

#include <gtest/gtest.h>

namespace lab {
namespace {

WatchView view_of(std::size_t nodes) {
    WatchView view;
    for (std::size_t number = 0; number < nodes; ++number) {
        NodeStatus node;
        node.name = number == 0 ? "root" : "e" + std::to_string(number);
        node.power = NodePower::on;
        view.status.nodes.push_back(node);
    }
    return view;
}

std::vector<std::string> lines_of(const std::string& screen) {
    std::vector<std::string> lines = {""};
    for (std::size_t at = 0; at < screen.size(); ++at) {
        if (screen.compare(at, 2, "\r\n") == 0) {
            lines.emplace_back();
            ++at;
        } else {
            lines.back() += screen[at];
        }
    }
    return lines;
}

// Without the sequences that position and clear.
std::vector<std::string> shown(const WatchView& view, std::size_t rows, std::size_t columns) {
    std::string screen = watch_draw(view, rows, columns, false);
    for (const char* code : {"\033[H", "\033[K", "\033[J"}) {
        for (std::size_t at = 0; (at = screen.find(code)) != std::string::npos;) {
            screen.erase(at, 3);
        }
    }
    return lines_of(screen);
}

TEST(WatchKeys, are_letters_and_arrows) {
    EXPECT_EQ(watch_keys("d\033[Aq"), (std::vector<int>{'d', KEY_UP, 'q'}));
    EXPECT_EQ(watch_keys("\033OB\033[1;5B"), (std::vector<int>{KEY_DOWN, KEY_DOWN}));
    EXPECT_EQ(watch_keys("\033[15~x\033"), (std::vector<int>{'x'}));
    EXPECT_EQ(watch_keys("\033["), (std::vector<int>{}));
}

TEST(WatchKey, selects_nodes_within_the_mesh) {
    WatchView view = view_of(3);
    EXPECT_EQ(watch_key(view, KEY_UP).text, "");
    EXPECT_EQ(view.selected, 0U);
    watch_key(view, KEY_DOWN);
    watch_key(view, KEY_DOWN);
    watch_key(view, KEY_DOWN);
    EXPECT_EQ(view.selected, 2U);
    watch_key(view, '2');
    EXPECT_EQ(view.selected, 1U);
    watch_key(view, '4');
    EXPECT_EQ(view.selected, 1U);
}

TEST(WatchKey, asks_for_a_verb_on_the_selected_node) {
    WatchView view = view_of(3);
    view.selected = 1;
    EXPECT_EQ(watch_key(view, 'd').body, (Json{{"words", {"deauth", "e1"}}}));
    EXPECT_EQ(watch_key(view, 'd').text, "deauth e1");
    EXPECT_EQ(watch_key(view, 'r').text, "radar e1");
    EXPECT_EQ(watch_key(view, 'R').text, "clear-radar e1");
    EXPECT_EQ(watch_key(view, 'k').text, "kill-worker e1");
    EXPECT_EQ(watch_key(view, 'b').text, "reboot e1");
    EXPECT_EQ(watch_key(view, 'z').text, "");
}

TEST(WatchKey, turns_aps_cables_and_power_on_and_off) {
    WatchView view = view_of(2);
    EXPECT_EQ(watch_key(view, 'o').text, "ap-off root");
    EXPECT_EQ(watch_key(view, 'c').text, "cable-in root");
    EXPECT_EQ(watch_key(view, 'x').text, "power-off root");
    view.status.nodes[0].aps_silenced = true;
    view.status.nodes[0].has_cable = true;
    view.status.nodes[0].power = NodePower::off;
    EXPECT_EQ(watch_key(view, 'o').text, "ap-on root");
    EXPECT_EQ(watch_key(view, 'c').text, "cable-out root");
    EXPECT_EQ(watch_key(view, 'x').text, "power-on root");
}

TEST(WatchKey, changes_the_speed_and_pauses) {
    WatchView view = view_of(1);
    view.status.pace.speed = "1";
    const WatchRequest request = watch_key(view, '+');
    EXPECT_EQ(request.action, ApiAction::speed);
    EXPECT_EQ(request.body, (Json{{"speed", "2"}}));
    EXPECT_EQ(request.text, "speed 2");
    EXPECT_EQ(watch_key(view, '-').text, "speed 0.5");
    EXPECT_EQ(watch_key(view, 'p').body, (Json{{"paused", true}}));
    view.status.pace.paused = true;
    EXPECT_EQ(watch_key(view, 'p').body, (Json{{"paused", false}}));
    EXPECT_EQ(watch_key(view, 'p').text, "resume");
}

TEST(WatchKey, never_speeds_up_with_minus_nor_slows_down_with_plus) {
    WatchView view = view_of(1);
    for (const auto& [speed, faster, slower] :
         std::vector<std::array<const char*, 3>>{{"auto", "speed 2", "speed 0.5"},
                                                 {"1000", "speed fastest", "speed 500"},
                                                 {"fastest", "speed fastest", "speed 1000"},
                                                 {"0.5", "speed 1", "speed 0.5"}}) {
        view.status.pace.speed = speed;
        EXPECT_EQ(watch_key(view, '+').text, faster);
        EXPECT_EQ(watch_key(view, '-').text, slower);
    }
}

std::string typed(WatchView& view, std::string_view keys) {
    std::string text;
    for (const char key : keys) {
        text = watch_key(view, static_cast<unsigned char>(key)).text;
    }
    return text;
}

TEST(WatchKey, does_any_verb_that_is_typed) {
    WatchView view = view_of(3);
    EXPECT_EQ(typed(view, ":fade e1 q\x7froot -70\r"), "fade e1 root -70");
    EXPECT_FALSE(view.types);
    EXPECT_FALSE(view.quits);
}

TEST(WatchKey, goes_back_to_single_keys_from_an_empty_line) {
    for (const std::string_view keys : {":\r", ":d\x7f\x7f", ":dq\x15"}) {
        WatchView view = view_of(2);
        EXPECT_EQ(typed(view, keys), "");
        EXPECT_EQ(typed(view, "d"), "deauth root");
    }
}

TEST(WatchKey, says_what_is_no_verb) {
    WatchView view = view_of(2);
    EXPECT_EQ(typed(view, ":wait 1000\r"), "");
    EXPECT_NE(view.message, "");
    EXPECT_EQ(typed(view, ":dauth e1\r"), "");
    EXPECT_NE(view.message.find("did you mean `deauth`?"), std::string::npos) << view.message;
}

TEST(Screen, shows_the_verb_that_is_being_typed) {
    WatchView view = view_of(2);
    typed(view, ":approve e1");
    const std::vector<std::string> lines = shown(view, 24, 100);
    EXPECT_NE(std::find(lines.begin(), lines.end(), ":approve e1_"), lines.end());
}

TEST(WatchKey, quits_and_does_nothing_without_nodes) {
    WatchView view;
    EXPECT_EQ(watch_key(view, 'd').text, "");
    EXPECT_EQ(watch_key(view, KEY_DOWN).text, "");
    EXPECT_FALSE(view.quits);
    watch_key(view, 'q');
    EXPECT_TRUE(view.quits);
}

TEST(Screen, fills_the_terminal_and_never_more) {
    WatchView view = view_of(40);
    view.log.assign(100, "Tue Nov 14 22:13:20 2023 : a line");
    for (const std::size_t rows : {1U, 3U, 10U, 24U, 60U}) {
        for (const std::size_t columns : {1U, 20U, 80U, 200U}) {
            const std::vector<std::string> lines = shown(view, rows, columns);
            EXPECT_EQ(lines.size(), rows) << columns;
            for (const std::string& line : lines) {
                EXPECT_LE(line.size(), columns) << line;
            }
        }
    }
}

TEST(Screen, shows_status_selected_node_log_and_keys_from_top_to_bottom) {
    WatchView view = view_of(2);
    view.selected = 1;
    view.status.nodes[1].links = {{"ath0", 7, "BACKHAUL_READY", 61, 0, false, true}};
    view.status.pace.speed = "20";
    view.log = {"0:01  line one", "0:02  line two"};
    view.message = "deauth e1";
    const std::vector<std::string> lines = shown(view, 16, 400);
    ASSERT_EQ(lines.size(), 16U);
    EXPECT_EQ(lines[0], "0:00   2 nodes, 0 ready   violations 0   speed 20");
    EXPECT_TRUE(lines[2].starts_with("  NODE  ROLE")) << lines[2];
    EXPECT_TRUE(lines[3].starts_with("  root  ")) << lines[3];
    EXPECT_TRUE(lines[4].starts_with("> e1    ")) << lines[4];
    EXPECT_EQ(lines[6], "e1");
    EXPECT_EQ(lines[8], "ath0       BACKHAUL_READY  1:01       0  carries traffic");
    EXPECT_EQ(lines[9], "0:01  line one");
    EXPECT_EQ(lines[10], "0:02  line two");
    EXPECT_EQ(lines[14], "deauth e1");
    EXPECT_EQ(lines[15],
              "1-9 or arrows: node  d: deauth  o: ap off/on  c: cable in/out  r: radar  "
              "R: clear radar  k: kill worker  b: reboot  x: power  +: faster  -: slower  "
              "p: pause  :: any verb  q: quit");
}

TEST(Screen, keeps_the_selected_node_in_sight) {
    WatchView view = view_of(40);
    for (const std::size_t selected : {0U, 20U, 39U}) {
        view.selected = selected;
        int marked = 0;
        for (const std::string& line : shown(view, 24, 100)) {
            marked += line.starts_with("> ") ? 1 : 0;
        }
        EXPECT_EQ(marked, 1) << selected;
    }
}

TEST(Screen, shows_the_newest_log_lines_when_there_is_room_for_few) {
    WatchView view = view_of(1);
    view.log = {"one", "two", "three", "four"};
    const std::vector<std::string> lines = shown(view, 11, 400);
    EXPECT_NE(std::find(lines.begin(), lines.end(), "four"), lines.end());
    EXPECT_EQ(std::find(lines.begin(), lines.end(), "one"), lines.end());
}

TEST(Screen, shows_the_last_trouble_below_the_headline) {
    WatchView view = view_of(1);
    view.status.last_failed = "3: expect e1 hops 1 - e1 hops is 2";
    EXPECT_EQ(shown(view, 12, 200)[1], "3: expect e1 hops 1 - e1 hops is 2");
    view.status.last_violation = "worker e1: new worker";
    EXPECT_EQ(shown(view, 12, 200)[1], "worker e1: new worker");
}

TEST(Screen, tells_how_time_passes) {
    WatchView view = view_of(1);
    view.status.pace.speed = "auto";
    const auto first = [&view] {
        return shown(view, 10, 200)[0];
    };
    EXPECT_TRUE(first().ends_with("   real pace")) << first();
    view.status.pace.hurries = true;
    EXPECT_TRUE(first().ends_with("   as fast as it can")) << first();
    view.status.pace.speed = "fastest";
    EXPECT_TRUE(first().ends_with("   speed fastest")) << first();
    view.status.pace.paused = true;
    EXPECT_TRUE(first().ends_with("   paused")) << first();
    view.status.pace.stalled = "e1 is busy";
    EXPECT_TRUE(first().ends_with("   stands still: e1 is busy")) << first();
}

TEST(Screen, lets_no_node_reach_the_terminal) {
    WatchView view = view_of(1);
    const std::string evil =
        "\033]0;title\007\033[2J\x9b"
        "31m\xc2\x9b"
        "A\b\r\n\xff";
    view.status.nodes[0].name = evil;
    view.status.nodes[0].led = evil;
    view.status.title = evil;
    view.status.last_violation = evil;
    view.log = {evil};
    view.message = evil;
    for (const std::string& line : shown(view, 30, 500)) {
        for (std::size_t at = 0; at < line.size(); ++at) {
            const auto byte = static_cast<unsigned char>(line[at]);
            EXPECT_TRUE(byte >= 0x20 && byte < 0x7F) << "byte " << int{byte} << " in " << line;
        }
    }
}

TEST(Screen, marks_the_lines_that_do_not_fit) {
    WatchView view = view_of(2);
    view.log = {std::string(90, 'x'), "short"};
    const std::vector<std::string> lines = shown(view, 30, 80);
    EXPECT_TRUE(lines[2].starts_with("  NODE  ROLE"));
    EXPECT_EQ(lines[2].size(), 80U);
    EXPECT_EQ(lines[2].back(), '>');
    EXPECT_NE(std::ranges::find(lines, std::string(79, 'x') + ">"), lines.end());
    EXPECT_NE(std::ranges::find(lines, "short"), lines.end());
}

TEST(ClippedLine, counts_characters_marks_its_cut_and_ends_its_colours) {
    EXPECT_EQ(line_clipped("\033[32mgreen\033[0m plain", 8), "\033[32mgreen\033[0m p>");
    EXPECT_EQ(line_clipped("\033[32mgreen\033[0m", 3), "\033[32mgr>\033[0m");
    EXPECT_EQ(line_clipped("\033[32mgreen\033[0m", 5), "\033[32mgreen\033[0m");
    EXPECT_EQ(line_clipped("\xc3\xa4\xe2\x82\xac\xf0\x9f\x98\x80x", 3), "\xc3\xa4\xe2\x82\xac>");
    EXPECT_EQ(line_clipped("\xc3\xa4\xe2\x82\xac\xf0\x9f\x98\x80", 3),
              "\xc3\xa4\xe2\x82\xac\xf0\x9f\x98\x80");
    EXPECT_EQ(line_clipped("a\033[2Jb\xc3", 20), "a?[2Jb?");
    EXPECT_EQ(line_clipped("abc", 0), "");
    EXPECT_EQ(line_clipped("abc", 1), ">");
}

}  // namespace
}  // namespace lab
