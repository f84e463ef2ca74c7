// The daemon's sources against the contract's texts, both ways. A literal may stand for several
// texts ("%s : /sbin/velmor_led_ctrl %s\n" for the four patterns); whether it says each of them is
// for the tests that run it.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

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

std::vector<Text> contract_texts() {
    std::vector<std::string> errors;
    return texts_read_folder(BACKHAUL_SOURCE_DIR "/tests/contract", &errors);
}

// First words of the command lines.
std::vector<std::string> tools_of(const std::vector<Text>& texts) {
    std::vector<std::string> tools;
    for (const Text& text : texts) {
        if (text.kind == "commands") {
            tools.push_back(text.raw.substr(0, text.raw.find(' ')));
        }
    }
    return tools;
}

std::vector<Said> all_said(const std::vector<Text>& texts) {
    const std::vector<std::string> tools = tools_of(texts);
    std::vector<Said> all;
    for (const std::string folder : kFolders) {
        for (const std::string& name : lab::folder_list(BACKHAUL_SOURCE_DIR "/" + folder)) {
            std::string source;
            lab::file_read(BACKHAUL_SOURCE_DIR "/" + folder + "/" + name, &source);
            for (const Literal& literal : literals_read(name == "CMakeLists.txt" ? "" : source)) {
                for (const std::string& text : literal_says(literal, tools)) {
                    all.push_back({folder + "/" + name + ":" + std::to_string(literal.line), text,
                                   form_read(text)});
                }
            }
        }
    }
    return all;
}

// Whether the literal is the text or can be printed as it.
bool says(const Said& said, const Text& text) {
    const Form& form = text.kind == "files" ? form_read(text.raw) : text.form;
    return said.text == text.raw || form_gives(said.form, form_sample(form));
}

TEST(Sources, say_nothing_that_the_contract_does_not_list) {
    const std::vector<Text> texts = contract_texts();
    std::vector<std::string> unlisted;
    for (const Said& said : all_said(texts)) {
        const auto is_it = [&said](const Text& text) {
            return says(said, text);
        };
        if (std::none_of(texts.begin(), texts.end(), is_it)) {
            unlisted.push_back(said.place + ": " + said.text);
        }
    }
    EXPECT_THAT(unlisted, IsEmpty());
}

TEST(Sources, have_a_literal_for_each_text_of_the_contract) {
    const std::vector<Text> texts = contract_texts();
    const std::vector<Said> all = all_said(texts);
    ASSERT_GT(all.size(), 200u);
    std::vector<std::string> unsaid;
    for (const Text& text : texts) {
        const auto is_it = [&text](const Said& said) {
            return says(said, text);
        };
        if (text.kind != "files" && std::none_of(all.begin(), all.end(), is_it)) {
            unsaid.push_back(text_label(text));
        }
    }
    EXPECT_THAT(unsaid, IsEmpty());
}

}  // namespace
}  // namespace contract
