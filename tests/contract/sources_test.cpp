// The daemon's sources against the contract's texts, both ways. A literal may stand for several
// texts ("%s : /sbin/velmor_led_ctrl %s\n" for the four patterns); whether it says each of them is
// for the tests that run it. One without words of its own ("%s : %s\n") stands for a text only when
// the words of that text are literals too.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <set>

#include "lab/tools/small_file.h"
#include "tests/contract/source_literals.h"
#include "tests/contract/text_list.h"

namespace contract {
namespace {

using testing::IsEmpty;

constexpr const char* kFolders[] = {"runtime", "intf", "intake", "link", "root", "msg", "device"};

struct Said {
    std::string place;
    std::string text;
    Form form;
};

struct Sources {
    std::vector<Said> said;
    std::set<std::string> words;  // of all literals
};

std::string trimmed(const std::string& text) {
    constexpr char kSigns[] = " :\n";
    const size_t from = text.find_first_not_of(kSigns);
    return from == std::string::npos ? ""
                                     : text.substr(from, text.find_last_not_of(kSigns) - from + 1);
}

// The form's own words, between its conversions.
std::vector<std::string> words_of(const Form& form) {
    std::vector<std::string> words;
    for (const Piece& piece : form) {
        const std::string word = trimmed(piece.literal);
        if (!word.empty()) {
            words.push_back(word);
        }
    }
    return words;
}

struct Listed {
    Text text;
    std::string sample;
    std::vector<std::string> words;
};

std::vector<Listed> contract_read() {
    std::vector<std::string> errors;
    std::vector<Listed> all;
    for (const Text& text : texts_read_folder(BACKHAUL_SOURCE_DIR "/tests/contract", &errors)) {
        const Form own = form_read(text.raw);
        all.push_back({text, form_sample(text.kind == "files" ? own : text.form), words_of(own)});
    }
    return all;
}

// First words of the command lines.
std::vector<std::string> tools_of(const std::vector<Listed>& texts) {
    std::vector<std::string> tools;
    for (const Listed& listed : texts) {
        if (listed.text.kind == "commands") {
            tools.push_back(listed.text.raw.substr(0, listed.text.raw.find(' ')));
        }
    }
    return tools;
}

Sources sources_read(const std::vector<Listed>& texts) {
    const std::vector<std::string> tools = tools_of(texts);
    Sources all;
    for (const std::string folder : kFolders) {
        for (const std::string& name : lab::folder_list(BACKHAUL_SOURCE_DIR "/" + folder)) {
            std::string source;
            lab::file_read(BACKHAUL_SOURCE_DIR "/" + folder + "/" + name, &source);
            for (const Literal& literal : literals_read(name == "CMakeLists.txt" ? "" : source)) {
                all.words.insert(trimmed(literal.text));
                for (const std::string& text : literal_says(literal, tools)) {
                    all.said.push_back({folder + "/" + name + ":" + std::to_string(literal.line),
                                        text, form_read(text)});
                }
            }
        }
    }
    return all;
}

// Whether the literal is the text or can be printed as it.
bool says(const Said& said, const Listed& listed, const std::set<std::string>& all_words) {
    if (said.text == listed.text.raw) {
        return true;
    }
    const auto is_literal = [&all_words](const std::string& word) {
        return all_words.count(word) > 0;
    };
    return form_gives(said.form, listed.sample) &&
           (!words_of(said.form).empty() ||
            std::all_of(listed.words.begin(), listed.words.end(), is_literal));
}

TEST(Sources, say_nothing_that_the_contract_does_not_list) {
    const std::vector<Listed> texts = contract_read();
    const Sources sources = sources_read(texts);
    std::vector<std::string> unlisted;
    for (const Said& said : sources.said) {
        const auto is_it = [&](const Listed& listed) {
            return says(said, listed, sources.words);
        };
        if (std::none_of(texts.begin(), texts.end(), is_it)) {
            unlisted.push_back(said.place + ": " + said.text);
        }
    }
    EXPECT_THAT(unlisted, IsEmpty());
}

TEST(Sources, have_a_literal_for_each_text_of_the_contract) {
    const std::vector<Listed> texts = contract_read();
    const Sources sources = sources_read(texts);
    ASSERT_GT(sources.said.size(), 200u);
    std::vector<std::string> unsaid;
    for (const Listed& listed : texts) {
        const auto is_it = [&](const Said& said) {
            return says(said, listed, sources.words);
        };
        if (listed.text.kind != "files" &&
            std::none_of(sources.said.begin(), sources.said.end(), is_it)) {
            unsaid.push_back(text_label(listed.text));
        }
    }
    EXPECT_THAT(unsaid, IsEmpty());
}

}  // namespace
}  // namespace contract
