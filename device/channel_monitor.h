#pragma once

// The tool that watches the radios' channels. Any thread.

/// Runs "wifi_channel_monitor once".
void wifi_channel_monitor_once();
