#include "runtime/mode_file.h"

#include <cstdio>
#include <cstring>

#include "runtime/file_io.h"

uint8_t mode_role(const char* word, uint8_t current) {
    if (std::strcmp(word, MODE_MASTER) == 0) {
        return 1;
    }
    if (std::strcmp(word, MODE_SLAVE) == 0) {
        return 0;
    }
    return current;
}

int mode_file_read(std::array<char, MODE_WORD_SIZE>& word) {
    const File file(MODE_FILE_PATH, "r");
    if (!file) {
        return -1;
    }
    file_first_word(file.get(), word);
    return 0;
}

void mode_file_write(const char* word) {
    const File file(MODE_FILE_PATH, "w");
    if (file) {
        std::fprintf(file.get(), "%s\n", word);
    }
}
