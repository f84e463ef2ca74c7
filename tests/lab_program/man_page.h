// What the lab's man page has to say of the JSON that its programs print.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "lab/report/json_text.h"
#include "lab/tools/small_file.h"

namespace harness {

// The page's section about JSON in one line; empty when it has none.
inline std::string man_page_json() {
    std::string page;
    lab::file_read(BACKHAUL_SOURCE_DIR "/docs/backhaul_lab.1", &page);
    const std::size_t from = page.find(".SH JSON\n");
    std::string part =
        from == std::string::npos ? "" : page.substr(from, page.find(".SH ", from + 4) - from);
    std::ranges::replace(part, '\n', ' ');
    return part;
}

// Every field of the object, and of those in it, has its word there.
inline void fields_expect(const lab::Json& json, const std::string& page) {
    for (const auto& [name, value] : json.items()) {
        if (json.is_object()) {
            EXPECT_THAT(page, testing::HasSubstr(" " + name)) << "a field without a word";
        }
        if (value.is_structured()) {
            fields_expect(value, page);
        }
    }
}

}  // namespace harness
