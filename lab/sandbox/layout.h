// Where things are inside a sandbox. Everything of the lab's own lives under /run/lab, so that a
// test, a stand-in tool and a node's owner (through /proc/PID/root) name the same files.
#pragma once

#include <array>
#include <string_view>

namespace lab {

inline constexpr char LAB_ROOT[] = "/run/lab";
inline constexpr char LAB_BIN[] = "/run/lab/bin";        // stand-in tools, first on PATH
inline constexpr char LAB_LIB[] = "/run/lab/lib";        // the preloaded clock
inline constexpr char LAB_STATE[] = "/run/lab/state";    // what the tools answer from
inline constexpr char LAB_RECORD[] = "/run/lab/record";  // what was run
inline constexpr char LAB_LINES[] = "/run/lab/record/lines";
inline constexpr char LAB_CALLS[] = "/run/lab/record/calls";
inline constexpr char LAB_IOCTLS[] = "/run/lab/record/ioctls";
inline constexpr char LAB_CLOCK[] = "/run/lab/clock";                // the clock's page
inline constexpr char LAB_TIMERS[] = "/run/lab/timers";              // one FIFO a moved timerfd
inline constexpr char LAB_CHANNELS[] = "/run/lab/channels";          // channel list, as text
inline constexpr char LAB_CHANNELS_RAW[] = "/run/lab/channels.raw";  // the same, byte for byte
inline constexpr char LAB_REAL[] = "/run/lab/real";  // what is covered by a stand-in
inline constexpr char LAB_REAL_SHELL[] = "/run/lab/real/sh";
inline constexpr char LAB_OVER[] = "/run/lab/over";  // folders that cover real ones
inline constexpr char LAB_OUT[] = "/run/lab/out";    // what the daemon wrote to its streams
inline constexpr char LAB_TOOL[] = "/run/lab/bin/lab_tool";
inline constexpr char LAB_CLOCK_MODULE[] = "/run/lab/lib/liblab_clock.so";
inline constexpr char LAB_DAEMON[] = "/run/lab/backhaul_monitor";

// Names under which the stand-in tool is found on PATH.
inline constexpr std::array<std::string_view, 13> TOOL_NAMES = {"uci",
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
inline constexpr std::array<std::string_view, 5> TOOL_PLACES = {
    "/usr/sbin/vl1905App", "/sbin/velmor_led_ctrl", "/etc/init.d/qca-wpa-supplicant",
    "/etc/init.d/wireless", "/etc/init.d/hyd"};

}  // namespace lab
