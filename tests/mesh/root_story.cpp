#include "tests/mesh/root_story.h"

#include <algorithm>

Lines announced() {
    return message_sent("ImRootAP");
}

Lines health_check(const Lines& off) {
    Lines all;
    for (const std::string name : {"ath10", "ath11", "ath20", "ath22", "ath23"}) {
        all.push_back("$ uci get wireless." + name + ".disabled");
        if (std::find(off.begin(), off.end(), name) == off.end()) {
            all.push_back("$ iwconfig " + name + " | grep Not-Associated");
        }
    }
    return all;
}

Lines ap_on(const std::string& name) {
    return {"dev_intf_enable_set : enable " + name, "$ uci get wireless." + name + ".disabled",
            "$ /etc/init.d/wireless restart"};
}

Lines ap_on_following(const std::string& name, const std::string& reference) {
    return joined(
        {{"dev_intf_enable_set : enable " + name, "$ uci get wireless." + reference + ".disabled"},
         option_set(name, "disabled", "0"),
         {"$ /etc/init.d/wireless restart"}});
}

Lines backhaul_ap_on() {
    return joined({{"dev_intf_enable_set : enable ath20"},
                   option_set("ath20", "disabled", "0"),
                   {"$ /etc/init.d/wireless restart"}});
}

Lines is_configured(const std::string& name) {
    return {"$ uci get wireless." + name + ".ssid", "$ uci get wireless." + name + ".WPAPSKkey"};
}

Lines option_set(const std::string& name, const std::string& option, const std::string& value) {
    return {"$ uci set wireless." + name + "." + option + "=" + value, "$ uci commit wireless"};
}

Lines event_told(const std::string& message) {
    return {"$ vlog 0 0 \"" + message + "\""};
}

void RootStory::start_with_approvals(const std::string& list) {
    add_root();
    approvals(list);
    router().start({"-m"});
    skip();
}

void RootStory::approvals(const std::string& list) {
    router().put_file(APPROVAL_LIST, list);
}

void RootStory::only_second(std::uint32_t second, Where where) {
    ASSERT_GT(second, age()) << "at line " << where.line;
    advance(second - age() - 1, where);
    skip();
    advance(1, where);
}

std::uint32_t RootStory::age() {
    return now() - lab::NODE_START_TIME;
}
