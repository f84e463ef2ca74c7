// Work in a child process: a program enters a sandbox only once, so every run of several is apart.
// On the program's main thread, outside of any sandbox.
#pragma once

#include <functional>
#include <optional>
#include <string>

namespace lab {

// Runs `inside` in a child and returns what it says; empty when the child ended in another way than
// by itself. Nothing when none could be started. The child is told to end when its parent does.
std::optional<std::string> child_says(const std::function<std::string()>& inside);

}  // namespace lab
