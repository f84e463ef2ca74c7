// Files that stay in memory: what the nodes of a mesh run, and the libraries of it. A thread that
// waits for a page of its program to come from the disk lets others of its node go first, and the
// order of a mesh would then depend on what the machine had forgotten meanwhile.
//
// Kept by who moves a mesh, for as long as it does; any thread, one at a time. Nothing follows when
// a file cannot be kept: the mesh runs, and is exact as long as memory is plenty.
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace lab {

class ResidentFiles {
public:
    ResidentFiles() = default;
    ~ResidentFiles();
    ResidentFiles(const ResidentFiles&) = delete;
    ResidentFiles& operator=(const ResidentFiles&) = delete;

    // Reads the whole file into memory and keeps it there, as far as the machine allows: locked
    // where the caller may lock so much, else in use by the caller. Once a file, whatever its name.
    // False when it cannot be opened or has no content.
    bool keep(const std::string& path);

    // The same for a program (a name is looked for along PATH) and for the libraries that it starts
    // with.
    void keep_program(const std::string& program);

    // How many files are kept.
    std::size_t count() const {
        return kept_.size();
    }

private:
    struct Kept {
        void* memory;
        std::size_t size;
    };
    std::vector<Kept> kept_;
    std::set<std::pair<dev_t, ino_t>> known_;
};

// The files that the dynamic linker's list of a program's libraries (LD_TRACE_LOADED_OBJECTS)
// names.
std::vector<std::string> libraries_listed(std::string_view list);

}  // namespace lab
