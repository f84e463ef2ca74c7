#include "lab/clock/resident_files.h"

#include <elf.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <span>

#include "lab/sandbox/program.h"

namespace lab {
namespace {

// Whether a program has a dynamic linker, which can list what it would load. Any other would run
// when it is asked.
bool has_linker(std::span<const char> file) {
    Elf64_Ehdr head;
    if (file.size() < sizeof head) {
        return false;
    }
    std::memcpy(&head, file.data(), sizeof head);
    if (std::memcmp(head.e_ident, ELFMAG, SELFMAG) != 0 || head.e_ident[EI_CLASS] != ELFCLASS64 ||
        head.e_phentsize != sizeof(Elf64_Phdr) || head.e_phoff > file.size() ||
        (file.size() - head.e_phoff) / sizeof(Elf64_Phdr) < head.e_phnum) {
        return false;
    }
    for (std::size_t at = 0; at < head.e_phnum; ++at) {
        Elf64_Phdr part;
        std::memcpy(&part, file.data() + head.e_phoff + at * sizeof part, sizeof part);
        if (part.p_type == PT_INTERP) {
            return true;
        }
    }
    return false;
}

}  // namespace

std::vector<std::string> libraries_listed(std::string_view list) {
    std::vector<std::string> found;
    while (!list.empty()) {
        const std::size_t end = std::min(list.find('\n'), list.size());
        const std::string_view line = list.substr(0, end);
        list.remove_prefix(std::min(end + 1, list.size()));
        // "\tNAME => PATH (0xADDRESS)", or "\tPATH (0xADDRESS)" for the linker itself.
        const std::size_t from = line.find('/');
        const std::size_t to = line.rfind(" (0x");
        if (from != std::string_view::npos && to != std::string_view::npos && from < to) {
            const std::size_t arrow = line.find("=> /");
            const std::size_t begin = arrow == std::string_view::npos ? from : arrow + 3;
            found.emplace_back(line.substr(begin, to - begin));
        }
    }
    return found;
}

ResidentFiles::~ResidentFiles() {
    for (const Kept& one : kept_) {
        munmap(one.memory, one.size);
    }
}

bool ResidentFiles::keep(const std::string& path) {
    const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    struct stat status {};
    if (fd < 0 || fstat(fd, &status) != 0 || !S_ISREG(status.st_mode) || status.st_size <= 0) {
        if (fd >= 0) {
            close(fd);
        }
        return false;
    }
    bool kept = !known_.insert({status.st_dev, status.st_ino}).second;
    if (!kept) {
        const std::size_t size = static_cast<std::size_t>(status.st_size);
        void* const memory = mmap(nullptr, size, PROT_READ, MAP_SHARED | MAP_POPULATE, fd, 0);
        kept = memory != MAP_FAILED;
        if (kept) {
            // Without the right to lock so much, pages in use are the last that the kernel takes.
            mlock(memory, size);
            kept_.push_back({memory, size});
        }
    }
    close(fd);
    return kept;
}

void ResidentFiles::keep_program(const std::string& program) {
    const bool is_path = program.find('/') != std::string::npos;
    const std::string path = is_path ? program : place_on_path(program);
    const std::size_t before = kept_.size();
    if (path.empty() || !keep(path) || kept_.size() == before) {
        return;
    }
    const Kept& own = kept_.back();
    if (!has_linker({static_cast<const char*>(own.memory), own.size})) {
        return;
    }
    std::string list;
    std::string error;
    program_output({"env", "LD_TRACE_LOADED_OBJECTS=1", path}, "", &list, error);
    for (const std::string& library : libraries_listed(list)) {
        keep(library);
    }
}

}  // namespace lab
