// Who may ask over the loopback port, and what of the page is there.
#include "lab/program/web.h"

#include <gtest/gtest.h>

namespace lab {
namespace {

const WebGate GATE{"0123456789abcdef0123456789abcdef", 8080};

TEST(Web, answers_under_the_printed_name_only) {
    EXPECT_TRUE(web_host_is(GATE, "127.0.0.1:8080"));
    EXPECT_TRUE(web_host_is(GATE, "localhost:8080"));
    for (const char* const other :
         {"127.0.0.1", "127.0.0.1:80801", "evil.example:8080", "evil.127.0.0.1:8080", ""}) {
        EXPECT_FALSE(web_host_is(GATE, other)) << other;
    }
    EXPECT_FALSE(web_host_is(GATE, nullptr));
}

TEST(Web, takes_the_whole_token_only) {
    EXPECT_TRUE(web_token_is(GATE, "Bearer 0123456789abcdef0123456789abcdef"));
    for (const char* const other :
         {"0123456789abcdef0123456789abcdef", "Bearer 0123456789abcdef0123456789abcdee",
          "Bearer 0123456789abcdef", "Bearer ", "", "Bearer 0123456789abcdef0123456789abcdef0"}) {
        EXPECT_FALSE(web_token_is(GATE, other)) << other;
    }
    EXPECT_FALSE(web_token_is(GATE, nullptr));
    EXPECT_FALSE(web_token_is(WebGate{}, "Bearer "));
}

TEST(Web, has_the_page_and_the_drawing_library) {
    ASSERT_NE(web_asset_find("/"), nullptr);
    EXPECT_TRUE(web_asset_find("/")->content.starts_with("<!doctype html>"));
    EXPECT_EQ(web_asset_find("/page.js")->type, "text/javascript; charset=utf-8");
    EXPECT_NE(web_asset_find("/d3.js")->content.find("d3"), std::string_view::npos);
    EXPECT_EQ(web_asset_find("/status"), nullptr);
    EXPECT_EQ(web_asset_find("/../page.js"), nullptr);
}

TEST(Web, puts_the_token_where_no_browser_sends_it) {
    EXPECT_EQ(web_address(GATE), "http://127.0.0.1:8080/#0123456789abcdef0123456789abcdef");
}

}  // namespace
}  // namespace lab
