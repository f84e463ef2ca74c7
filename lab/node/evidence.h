// What a failed test or lab run leaves behind: one folder with everything that is needed to
// understand it. Any thread; the node should be quiet.
#pragma once

#include <string>
#include <vector>

#include "lab/node/node.h"

namespace lab {

// Makes a new folder below $BACKHAUL_EVIDENCE (or `fallback`), named for `title`, and returns its
// path; empty when it cannot.
std::string evidence_folder(const std::string& title, const std::string& fallback);

// Copies a node's logs, records, streams, sanitizer reports, /tmp and /var/run files into
// FOLDER/NODE, with a list of its processes and descriptors, and the merged journal.
void evidence_collect(const Node& node, const std::string& folder);

}  // namespace lab
