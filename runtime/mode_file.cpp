#include "runtime/mode_file.h"

#include <cstdio>
#include <cstring>

#include "runtime/file_io.h"

bool mode_role(const char* word, bool current) {
    if (std::strcmp(word, MODE_MASTER) == 0) {
        return true;
    }
    if (std::strcmp(word, MODE_SLAVE) == 0) {
        return false;
    }
    return current;
}

bool mode_file_read(std::array<char, MODE_WORD_SIZE>& word) {
    const File file(MODE_FILE_PATH, "r");
    if (!file) {
        return false;
    }
    file_first_word(file.get(), word);
    return true;
}

void mode_file_write(const char* word) {
    FileRewrite file(MODE_FILE_PATH);
    if (file) {
        std::fprintf(file.get(), "%s\n", word);
        file.commit();
    }
}
