// What a failed test or lab run leaves behind: one folder with everything that is needed to
// understand it. Any thread; the node should be quiet.
#pragma once

#include <string>

#include "lab/node/node.h"
#include "lab/sandbox/outside.h"

namespace lab {

// The folder below which evidence goes unless somebody names another one: in the current folder.
inline constexpr char EVIDENCE_FOLDER[] = "backhaul_evidence";

// Opens the folder above all evidence: `wanted`, else $BACKHAUL_EVIDENCE, else `fallback`. Before
// the program enters its sandbox; nothing is made yet.
bool evidence_place_open(const std::string& wanted, const std::string& fallback,
                         OutsidePlace* place, std::string& error);

struct EvidenceFolder {
    std::string name;  // for people
    std::string path;  // to write below it
};

// Makes a new folder there, named for `title`.
bool evidence_folder_make(const OutsidePlace& place, const std::string& title, EvidenceFolder* made,
                          std::string& error);

// Copies a node's logs, records, streams, sanitizer reports, /tmp and /var/run files into
// FOLDER/NODE, with a list of its processes and descriptors, and the merged journal.
void evidence_collect(const Node& node, const std::string& folder);

}  // namespace lab
