// Writes the corpora's first inputs: lives told as steps, one file each.
//
//     fuzz_life_seeds FOLDER      (FOLDER/extender and FOLDER/root exist)
#include <cstdio>
#include <string>
#include <vector>

#include "tests/fuzz/lives/steps.h"

namespace {

using lives::Step;
using Kind = lives::StepKind;

struct Story {
    const char* name;
    std::vector<Step> steps;
};

constexpr uint8_t ATH0 = 0;
constexpr uint8_t ATH1 = 1;
constexpr uint8_t ATH2 = 2;
constexpr uint8_t ATH20 = 7;
// Words of the FIFO and of messages, files, tools: places in the lists of steps.cpp and life.h.
constexpr uint8_t MASTER = 0;
constexpr uint8_t SLAVE = 1;
constexpr uint8_t APPROVAL_LIST_CHANGED = 2;
constexpr uint8_t UPLINK_SCAN = 3;
constexpr uint8_t ETH_DETECT = 4;
constexpr uint8_t ETH_LOST = 5;
constexpr uint8_t NETWORK_RELOAD = 6;
constexpr uint8_t CHECK_VALID = 3;
constexpr uint8_t CHECK_VALID_REPLY = 4;
constexpr uint8_t IM_ROOT_AP = 5;
constexpr uint8_t APPROVAL_LIST = 0;
constexpr uint8_t ASSOC_LIST_5G = 1;
constexpr uint8_t EXTENDERS_LIST = 4;
constexpr uint8_t TOOL_BEST_AP = 4;
constexpr uint8_t TOOL_INTERFACE_ADD = 6;
constexpr uint8_t TOOL_OTHER = 14;
constexpr uint8_t ALIVE = 3;
constexpr uint8_t GONE = 0x35;  // not alive, missed three times

Step pass(uint8_t seconds, uint8_t minutes = 0) {
    return {Kind::pass, seconds, minutes};
}

std::vector<Step> joined(std::vector<Step> first, const std::vector<Step>& then) {
    first.insert(first.end(), then.begin(), then.end());
    return first;
}

// The preferred station has an AP and is configured from the root, which has admitted the node.
std::vector<Step> ready() {
    return {pass(12), {Kind::announcement, 1, IM_ROOT_AP},   {Kind::joins, ATH0, 1},
            pass(16), {Kind::message, 1, CHECK_VALID_REPLY}, {Kind::configured},
            pass(20)};
}

std::vector<Story> extender_stories() {
    const Step loses{Kind::loses, ATH0};
    const Step joins{Kind::joins, ATH0, 1};
    return {
        {"connect", ready()},
        {"ready_for_an_hour", joined(ready(), {pass(0, 40), pass(0, 20)})},
        {"loss", joined(ready(), {loses, pass(5), joins, pass(20)})},
        {"loss_unseen", joined(ready(), {{Kind::loses_unseen, ATH0}, pass(0, 3)})},
        {"join_unseen", {pass(12), {Kind::joins_unseen, ATH0, 2}, pass(0, 4)}},
        {"backup",
         joined(ready(),
                {loses, joins, loses, joins, loses, pass(30), {Kind::joins, ATH1, 2}, pass(0, 2)})},
        {"restored", joined(ready(), {loses,
                                      joins,
                                      loses,
                                      joins,
                                      loses,
                                      pass(30),
                                      {Kind::word, UPLINK_SCAN},
                                      joins,
                                      pass(0, 2)})},
        {"no_access_point", {pass(12), pass(0, 10), {Kind::joins, ATH2, 3}, pass(30)}},
        {"both_stations",
         {pass(12), pass(0, 4), {Kind::joins, ATH1, 2}, pass(17), joins, pass(40)}},
        {"loop",
         {{Kind::link, 1, 0},
          {Kind::link, 2, 1},
          pass(12),
          pass(0, 4),
          {Kind::joins, ATH1, 3},
          pass(17),
          {Kind::joins, ATH0, 2},
          pass(40)}},
        {"cable",
         joined(ready(), {{Kind::word, ETH_DETECT}, pass(0, 2), {Kind::word, ETH_LOST}, pass(20)})},
        {"cable_before_wifi",
         {pass(12),
          {Kind::word, ETH_DETECT},
          {Kind::configured},
          pass(40),
          {Kind::word, ETH_LOST},
          pass(20)}},
        {"cable_without_record",
         {{Kind::profile, 2, 0},
          pass(12),
          {Kind::word, ETH_LOST},
          {Kind::word, ETH_DETECT},
          pass(20),
          joins,
          pass(30)}},
        {"better_access_point", joined(ready(), {{Kind::tool_answers, TOOL_BEST_AP, 0,
                                                  "ath0  get_whc_bssid:020000000005\n"},
                                                 pass(0, 2),
                                                 {Kind::joins, ATH0, 5},
                                                 pass(30)})},
        {"failed_switch", joined(ready(), {{Kind::tool_answers, TOOL_BEST_AP, 0,
                                            "ath0  get_whc_bssid:020000000005\n"},
                                           pass(0, 5)})},
        {"radar", joined(ready(), {{Kind::radar, 7, 7},
                                   {Kind::channel, ATH20, 100},
                                   {Kind::channel, ATH20, 104},
                                   {Kind::channel, ATH20, 108},
                                   {Kind::channel, ATH20, 112},
                                   pass(0, 4),
                                   {Kind::radar, 7, 1},
                                   pass(10, 40),
                                   {Kind::channel, ATH20, 100}})},
        {"supplicant_fails",
         {pass(9),
          {Kind::tool_answers, TOOL_INTERFACE_ADD, 0, "FAIL\n"},
          {Kind::tool_answers, TOOL_INTERFACE_ADD, 0, "FAIL\n"},
          pass(20)}},
        {"hostile_list", joined(ready(), {{Kind::file, ASSOC_LIST_5G, 0,
                                           "`reboot` 1 2 ath20\n$(reboot) 1 2 ath12;reboot\n"},
                                          loses,
                                          pass(5)})},
        {"hostile_profile", {{Kind::profile, 1, 0, "x;$(a)'\" BACKHAUL_AP 5h 0 0\n"}, pass(20)}},
        {"hostile_phrase", joined({{Kind::option, ATH20, 0, "a'$(b)\"`"}}, ready())},
        {"slow_tool_meets_cable",
         joined(ready(),
                {{Kind::tool_takes, TOOL_OTHER, 30}, loses, {Kind::word, ETH_DETECT}, pass(40)})},
        {"becomes_root", joined(ready(), {{Kind::word, MASTER}, pass(0, 3)})},
        {"overrun", joined(ready(), {{Kind::loses_unseen, ATH0}, {Kind::overrun}, joins})},
        {"reload_announced", joined(ready(), {{Kind::message, 1, 2}, loses, joins, pass(20)})},
        {"full_disk", joined({{Kind::refused, 1}}, ready())},
        {"no_address", joined({{Kind::bridge, 0}}, ready())},
        {"no_route", joined(ready(), {{Kind::send_error, 1},
                                      {Kind::word, NETWORK_RELOAD},
                                      pass(9),
                                      {Kind::send_error, 0},
                                      pass(9)})},
        {"killed", joined(ready(), {{Kind::killed}, pass(0, 2), joins, pass(20)})},
        {"clients", joined(ready(), {{Kind::client, ATH20, 0},
                                     {Kind::client, ATH20, 1},
                                     {Kind::client, ATH20, 3},
                                     {Kind::client, ATH20, 4}})},
    };
}

std::vector<Story> root_stories() {
    const Step approved{Kind::file, APPROVAL_LIST, 0,
                        "02:00:00:00:01:01 1 MRX70\n02:00:00:00:01:02 1 M2\n"};
    return {
        {"start", {pass(0, 5)}},
        {"extenders_come_and_go",
         {{Kind::device, 1, ALIVE, "kitchen"},
          {Kind::device, 2, ALIVE, "attic"},
          pass(30),
          {Kind::device, 3, ALIVE, "hall"},
          pass(30),
          {Kind::device, 1, GONE, "kitchen"},
          pass(30),
          {Kind::device, 2, GONE, "attic"},
          {Kind::device, 3, GONE, "hall"},
          pass(30)}},
        {"hostile_name",
         {{Kind::device, 1, ALIVE, "$(reboot)"},
          {Kind::device, 2, ALIVE, "a\"b`c"},
          {Kind::device, 131, ALIVE, "x';--"},
          pass(40)}},
        {"remembered_list",
         {{Kind::file, EXTENDERS_LIST, 0, "02:00:00:00:01:01\n02:00:00:00:01:02\n$(a)\n"},
          pass(40),
          {Kind::device, 1, GONE, "kitchen"},
          pass(20)}},
        {"admission",
         {approved,
          {Kind::device, 1, ALIVE, "kitchen"},
          pass(5),
          {Kind::message, 1, CHECK_VALID},
          {Kind::message, 5, CHECK_VALID}}},
        {"approval", {pass(70), approved, {Kind::word, APPROVAL_LIST_CHANGED}, pass(0, 3)}},
        {"companions", {approved, pass(0, 3), {Kind::option, 3, 3, "1"}, pass(0, 3)}},
        {"becomes_extender",
         {pass(20), {Kind::word, SLAVE}, pass(15), {Kind::joins, ATH0, 1}, pass(30)}},
        {"radar",
         {pass(5),
          {Kind::radar, 7, 7},
          {Kind::channel, ATH20, 100},
          {Kind::channel, ATH20, 104},
          {Kind::channel, ATH20, 108},
          {Kind::channel, ATH20, 112},
          pass(0, 4),
          {Kind::radar, 7, 1},
          pass(10, 40)}},
        {"messages",
         {pass(5),
          {Kind::message, 1, 0},
          {Kind::message, 2, 1},
          {Kind::message, 3, 2},
          {Kind::message_bytes, 3, 0, "Salted__"}}},
        {"words",
         {pass(5),
          {Kind::word, UPLINK_SCAN},
          {Kind::word, NETWORK_RELOAD},
          {Kind::word, ETH_DETECT},
          {Kind::word, ETH_LOST},
          pass(20)}},
        {"database_fails",
         {{Kind::device, 1, ALIVE, "kitchen"},
          pass(15),
          {Kind::database, 1},
          pass(20),
          {Kind::database, 0},
          pass(20)}},
    };
}

bool stories_write(const std::string& folder, const std::vector<Story>& stories) {
    for (const Story& story : stories) {
        FILE* const file = std::fopen((folder + "/" + story.name).c_str(), "wb");
        if (file == nullptr) {
            std::fprintf(stderr, "%s: cannot write %s\n", folder.c_str(), story.name);
            return false;
        }
        const std::string bytes = lives::steps_write(story.steps);
        std::fwrite(bytes.data(), 1, bytes.size(), file);
        if (std::fclose(file) != 0) {
            return false;
        }
    }
    return true;
}

}  // namespace

int main(int argc, char** argv) {
    const std::string folder = argc > 1 ? argv[1] : ".";
    return stories_write(folder + "/extender", extender_stories()) &&
                   stories_write(folder + "/root", root_stories())
               ? 0
               : 1;
}
