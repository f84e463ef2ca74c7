// What a node's daemon holds at a moment: memory, descriptors, threads, processes, files. Read from
// outside while the node is quiet, on the test's thread.
#pragma once

#include <cstddef>
#include <string>

#include "lab/node/daemon.h"
#include "lab/node/node.h"

namespace soak {

struct NodeSize {
    long worker_kb = 0;  // anonymous memory
    long supervisor_kb = 0;
    size_t descriptors = 0;  // of both
    size_t threads = 0;      // of the worker
    size_t processes = 0;    // of the node, its first one included
    size_t zombies = 0;
    size_t tmp_files = 0;
    long tmp_bytes = 0;
    size_t log_files = 0;
    size_t log_lines = 0;  // of the longest
};

NodeSize node_size(const lab::Node& node, const lab::Daemon& daemon);

// As a line of a table.
std::string node_size_text(const NodeSize& size);

}  // namespace soak
