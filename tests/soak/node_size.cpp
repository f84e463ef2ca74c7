#include "tests/soak/node_size.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <filesystem>

#include "lab/node/processes.h"
#include "lab/tools/small_file.h"
#include "tests/router/memory_reading.h"

namespace soak {
namespace {

std::vector<std::filesystem::path> files_below(const std::string& folder) {
    std::vector<std::filesystem::path> files;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
        if (entry.is_regular_file()) {
            files.push_back(entry.path());
        }
    }
    return files;
}

}  // namespace

NodeSize node_size(const lab::Node& node, const lab::Daemon& daemon) {
    NodeSize size;
    size.worker_kb = budget::anonymous_kb(daemon.worker());
    size.supervisor_kb = budget::anonymous_kb(daemon.supervisor());
    size.descriptors =
        daemon.worker_descriptors().size() + lab::descriptors_of(daemon.supervisor()).size();
    size.threads = daemon.worker_threads().size();
    size.processes = lab::node_processes(node).size();
    size.zombies = lab::zombies(node).size();
    for (const auto& file : files_below(node.at("/tmp"))) {
        ++size.tmp_files;
        size.tmp_bytes += static_cast<long>(std::filesystem::file_size(file));
    }
    for (const auto& file : files_below(node.at("/var/log"))) {
        std::string text;
        lab::file_read(file, &text);
        ++size.log_files;
        const auto lines = static_cast<size_t>(std::count(text.begin(), text.end(), '\n'));
        size.log_lines = std::max(size.log_lines, lines);
    }
    return size;
}

std::string node_size_text(const NodeSize& size) {
    std::array<char, 256> text{};
    std::snprintf(text.data(), text.size(),
                  "worker %ld KB, supervisor %ld KB, %zu descriptors, %zu threads, %zu processes, "
                  "%zu zombies, %zu files and %ld bytes in /tmp, %zu logs of %zu lines at most",
                  size.worker_kb, size.supervisor_kb, size.descriptors, size.threads,
                  size.processes, size.zombies, size.tmp_files, size.tmp_bytes, size.log_files,
                  size.log_lines);
    return text.data();
}

}  // namespace soak
