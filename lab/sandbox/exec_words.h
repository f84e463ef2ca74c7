// The words of a program, or its environment, in the form that exec and posix_spawn take. For
// whatever in the lab starts a process, on the thread that does, before the child exists.
#pragma once

#include <string>
#include <vector>

namespace lab {

// Pointers to the texts with a null pointer behind the last. They hold as long as `texts` is
// neither changed nor gone; exec does not write through them.
inline std::vector<char*> exec_words(const std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    pointers.reserve(texts.size() + 1);
    for (const std::string& text : texts) {
        pointers.push_back(const_cast<char*>(text.c_str()));
    }
    pointers.push_back(nullptr);
    return pointers;
}

}  // namespace lab
