// Running a function of the caller with a node's files as its own, for libraries that must open
// files by their own names (SQLite follows every link itself, and so ends outside).
#pragma once

#include <functional>
#include <string>

#include "lab/node/node.h"

namespace lab {

// Runs `work` on a thread of its own in the node's mount namespace and waits for it; false when
// the namespace cannot be entered (then `work` is not run).
bool with_files_of(const Node& node, const std::function<void()>& work, std::string& error);

}  // namespace lab
