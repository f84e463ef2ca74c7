// The table of what can be asked, and the pages that tell of it.
#include "lab/program/api.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "lab/report/mesh_status.h"
#include "lab/tools/small_file.h"
#include "tests/lab_program/man_page.h"

namespace lab {
namespace {

using testing::HasSubstr;

struct Found {
    const ApiRow* row = nullptr;
    std::string node;
    Answer error;
};

Found find(std::string_view method, std::string_view path) {
    Found found;
    found.row = api_find(method, path, found.node, found.error);
    return found;
}

TEST(Api, finds_every_row_by_its_method_and_path) {
    for (const ApiRow& row : API) {
        const Found found = find(row.method, api_path(row.action, "e1"));
        EXPECT_EQ(found.row, &row) << row.path;
        EXPECT_EQ(found.node, row.path.find('{') == std::string_view::npos ? "" : "e1");
    }
}

TEST(Api, tells_a_wrong_path_from_a_wrong_method) {
    for (const char* path : {"", "/stat", "/status/", "/nodes", "/nodes/", "/nodes//log",
                             "/nodes/e1/", "/nodes/a/b/log"}) {
        const Found found = find("GET", path);
        EXPECT_EQ(found.row, nullptr) << path;
        EXPECT_EQ(found.error.status, HttpStatus::not_found) << path;
    }
    const Found found = find("GET", "/speed");
    EXPECT_EQ(found.error.status, HttpStatus::wrong_method);
    EXPECT_EQ(answer_text(found.error), "/speed knows only PUT");
}

TEST(Api, puts_names_into_paths_so_that_they_stay_names) {
    EXPECT_EQ(api_path(ApiAction::log, "e1"), "/nodes/e1/log");
    EXPECT_EQ(api_path(ApiAction::node, "a/b ?#%\xff"), "/nodes/a%2Fb%20%3F%23%25%FF");
}

TEST(ExitCodes, follow_from_the_status) {
    EXPECT_EQ(answer_exit_code(answer_say(HttpStatus::good, "")), EXIT_GOOD);
    EXPECT_EQ(answer_exit_code(answer_say(HttpStatus::differs, "")), EXIT_DIFFERS);
    EXPECT_EQ(answer_exit_code(answer_say(HttpStatus::none, "")), EXIT_DIFFERS);
    EXPECT_EQ(answer_exit_code(answer_say(HttpStatus::ended, "")), EXIT_DIFFERS);
    EXPECT_EQ(answer_exit_code(answer_say(HttpStatus::not_found, "")), EXIT_USAGE);
    EXPECT_EQ(answer_exit_code(answer_say(HttpStatus::bad_request, "")), EXIT_USAGE);
}

std::string line_of(const std::string& text) {
    return text.empty() ? "" : text + "\n";
}

// As the man page has to say it.
std::string page_of_table() {
    std::string text;
    for (const ApiRow& row : API) {
        text += ".TP\n.B " + std::string(row.method) + " " + std::string(row.path) + "\n" +
                line_of(std::string(row.help));
        text += row.takes.empty() ? "" : ".br\nTakes: " + std::string(row.takes) + ".\n";
        text += ".br\nGives: " + std::string(row.gives) + ".\n";
        text += row.errors.empty() ? "" : ".br\nErrors: " + std::string(row.errors) + ".\n";
    }
    return text;
}

TEST(ManPage, tells_the_table) {
    std::string page;
    ASSERT_TRUE(file_read(BACKHAUL_SOURCE_DIR "/docs/backhaul_lab.1", &page));
    EXPECT_THAT(page, HasSubstr(page_of_table()));
}

TEST(ManPage, tells_the_version_and_every_field_of_the_status) {
    const std::string part = harness::man_page_json();
    EXPECT_THAT(part, HasSubstr("version " + std::to_string(JSON_VERSION)));
    MeshStatus status;
    status.events.resize(1);
    status.nodes.resize(1);
    status.nodes[0].links.resize(1);
    status.nodes[0].outage_list.resize(1);
    harness::fields_expect(status_json(status), part);
}

}  // namespace
}  // namespace lab
