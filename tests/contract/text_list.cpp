#include "tests/contract/text_list.h"

#include <algorithm>

#include "lab/tools/small_file.h"
#include "lab/tools/text_escape.h"

namespace contract {
namespace {

Form with_section(const std::string& raw, const std::string& section) {
    if (section.empty()) {
        return form_read(raw);
    }
    return section[0] == '/' ? form_read(section + "\t" + raw)
                             : form_named(form_read(raw), section);
}

}  // namespace

std::string text_label(const Text& text) {
    const std::string section = text.section.empty() ? "" : "[" + text.section + "] ";
    return text.kind + " " + section + lab::text_escape(text.raw);
}

std::vector<Text> texts_read(const std::string& kind, const std::string& content,
                             std::vector<std::string>* errors) {
    std::vector<Text> texts;
    std::string section;
    for (const std::string_view line : lab::text_split(content, '\n')) {
        if (line.empty() || line[0] == '#') {
            continue;
        }
        if (line[0] == '[') {
            section = line.substr(1, line.find(']') - 1);
            continue;
        }
        const std::string raw = lab::text_unescape(line);
        Text text{kind, section, raw, with_section(raw, section)};
        const auto is_same = [&](const Text& other) {
            return other.raw == raw && other.section == section;
        };
        if (text.form.empty()) {
            errors->push_back(kind + ": not a form: " + std::string(line));
        } else if (std::any_of(texts.begin(), texts.end(), is_same)) {
            errors->push_back("twice: " + text_label(text));
        } else {
            texts.push_back(std::move(text));
        }
    }
    return texts;
}

std::vector<Text> texts_read_folder(const std::string& folder, std::vector<std::string>* errors) {
    std::vector<Text> all;
    for (const std::string kind : KINDS) {
        std::string content;
        lab::file_read(folder + "/" + kind + ".txt", &content);
        const std::vector<Text> texts = texts_read(kind, content, errors);
        if (texts.empty()) {
            errors->push_back(kind + ".txt in " + folder + " holds no text");
        }
        all.insert(all.end(), texts.begin(), texts.end());
    }
    return all;
}

bool text_explains(const Text& text, const harness::ContractRecord& record) {
    if (text.kind != record.kind) {
        return false;
    }
    const bool may_run_on = text.kind == "stdout" && text.raw.back() != '\n';
    return may_run_on ? form_begins(text.form, record.text) : form_gives(text.form, record.text);
}

}  // namespace contract
