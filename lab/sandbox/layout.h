// Where things are inside a sandbox. Everything of the lab's own lives under /run/lab, so that a
// test, a stand-in tool and a node's owner (through /proc/PID/root) name the same files.
#pragma once

#include <array>
#include <string_view>

namespace lab {

inline constexpr char kLabRoot[] = "/run/lab";
inline constexpr char kLabBin[] = "/run/lab/bin";        // stand-in tools, first on PATH
inline constexpr char kLabLib[] = "/run/lab/lib";        // the preloaded clock
inline constexpr char kLabState[] = "/run/lab/state";    // what the tools answer from
inline constexpr char kLabRecord[] = "/run/lab/record";  // what was run
inline constexpr char kLabLines[] = "/run/lab/record/lines";
inline constexpr char kLabCalls[] = "/run/lab/record/calls";
inline constexpr char kLabIoctls[] = "/run/lab/record/ioctls";
inline constexpr char kLabClock[] = "/run/lab/clock";               // the clock's page
inline constexpr char kLabTimers[] = "/run/lab/timers";             // one FIFO a moved timerfd
inline constexpr char kLabChannels[] = "/run/lab/channels";         // channel list, as text
inline constexpr char kLabChannelsRaw[] = "/run/lab/channels.raw";  // the same, byte for byte
inline constexpr char kLabReal[] = "/run/lab/real";                 // what is covered by a stand-in
inline constexpr char kLabRealShell[] = "/run/lab/real/sh";
inline constexpr char kLabOver[] = "/run/lab/over";  // folders that cover real ones
inline constexpr char kLabOut[] = "/run/lab/out";    // what the daemon wrote to its streams
inline constexpr char kLabTool[] = "/run/lab/bin/lab_tool";
inline constexpr char kLabClockModule[] = "/run/lab/lib/liblab_clock.so";
inline constexpr char kLabDaemon[] = "/run/lab/backhaul_monitor";

// Names under which the stand-in tool is found on PATH.
inline constexpr std::array<std::string_view, 13> kToolNames = {"uci",
                                                                "wpa_cli",
                                                                "iwconfig",
                                                                "iwpriv",
                                                                "ifconfig",
                                                                "wifi",
                                                                "hyctl",
                                                                "radartool",
                                                                "wifisys_tool",
                                                                "vl1905App",
                                                                "wifi_channel_monitor",
                                                                "vlog",
                                                                "ps"};

// Names under which it is found at a fixed place, whatever PATH says.
inline constexpr std::array<std::string_view, 5> kToolPlaces = {
    "/usr/sbin/vl1905App", "/sbin/velmor_led_ctrl", "/etc/init.d/qca-wpa-supplicant",
    "/etc/init.d/wireless", "/etc/init.d/hyd"};

}  // namespace lab
