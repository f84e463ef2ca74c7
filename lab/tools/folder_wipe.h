// Emptying folders that a stand-in router filled. What is wiped may have the machine's own files
// mounted somewhere below it: nothing in here ever leaves the mount that it began on, and no link
// is followed. Any thread.
#pragma once

#include <string>
#include <vector>

namespace lab {

// Removes what is in the folder `path`, named as inside `root` (an empty one means the caller's own
// files), but for the entries named in `but`. What is a mount point stays, with all below it. False
// when the folder cannot be opened or something else stays.
bool folder_wipe(const std::string& root, const std::string& path,
                 const std::vector<std::string>& but = {});

}  // namespace lab
