#include "ctl/uci_file.h"

#include "ctl/text.h"

namespace {

bool is_blank(char c) {
    return c == ' ' || c == '\t' || c == '\r';
}

/// The next word, whose quotes are taken off; false at the end of the line.
bool word_take(std::string_view& line, uci_word& word) {
    while (!line.empty() && is_blank(line[0])) {
        line.remove_prefix(1);
    }
    word = {};
    if (line.empty() || line[0] == '#') {
        return false;
    }
    const char quote = line[0] == '\'' || line[0] == '"' ? line[0] : '\0';
    line.remove_prefix(quote != '\0' ? 1 : 0);
    size_t size = 0;
    while (size < line.size() && (quote != '\0' ? line[size] != quote : !is_blank(line[size]))) {
        ++size;
    }
    text_copy(word, text_first(line, size));
    line.remove_prefix(size + (quote != '\0' && size < line.size() ? 1 : 0));
    return true;
}

}  // namespace

void uci_line_read(std::string_view line, uci_file& file) {
    uci_word keyword;
    if (!word_take(line, keyword)) {
        return;
    }
    const std::string_view key = keyword.data();
    uci_word first;
    uci_word second;
    const bool has_first = word_take(line, first);
    const bool has_second = has_first && word_take(line, second);
    if (key == "config" && has_first) {
        if (file.section_count < UCI_SECTIONS_MAX) {
            file.sections[file.section_count++] = {first, second};
        }
    } else if ((key == "option" || key == "list") && has_second && file.section_count > 0) {
        if (file.option_count < UCI_OPTIONS_MAX) {
            file.options[file.option_count++] = {file.section_count - 1, first, second};
        }
    } else if (key != "package" && !(key == "option" && has_first)) {
        ++file.strange_lines;
    }
}

size_t uci_section_find(const uci_file& file, std::string_view name) {
    for (size_t i = 0; i < file.section_count; ++i) {
        if (name == file.sections[i].name.data()) {
            return i;
        }
    }
    return file.section_count;
}

const char* uci_option_find(const uci_file& file, std::string_view section, std::string_view name) {
    const size_t number = uci_section_find(file, section);
    const char* value = nullptr;
    for (size_t i = 0; i < file.option_count && number < file.section_count; ++i) {
        // The last one counts.
        if (file.options[i].section == number && name == file.options[i].name.data()) {
            value = file.options[i].value.data();
        }
    }
    return value;
}
