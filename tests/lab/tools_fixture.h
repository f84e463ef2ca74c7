// A node's files in a folder of their own, and tool calls served within the test process.
#pragma once

#include <gtest/gtest.h>
#include <stdlib.h>

#include <string>
#include <utility>
#include <vector>

#include "lab/tools/small_file.h"
#include "lab/tools/tool_call.h"

class ToolsTest : public ::testing::Test {
protected:
    ToolsTest() {
        std::string pattern = "/tmp/lab-tools-XXXXXX";
        if (mkdtemp(pattern.data()) != nullptr) {
            root = pattern;
        }
    }
    ~ToolsTest() override {
        if (!root.empty()) {
            lab::folder_remove(root);
        }
    }
    ToolsTest(const ToolsTest&) = delete;
    ToolsTest& operator=(const ToolsTest&) = delete;

    void SetUp() override {
        ASSERT_FALSE(root.empty()) << "no folder of its own under /tmp";
    }

    // Runs one tool and hands back what it would print and return.
    lab::ToolCall run(const std::string& tool, std::vector<std::string> words) const {
        lab::ToolCall call;
        call.root = root;
        call.tool = tool;
        call.words = std::move(words);
        lab::tool_call_run(&call);
        return call;
    }

    std::string out(const std::string& tool, std::vector<std::string> words) const {
        return run(tool, std::move(words)).out;
    }

    // A file of the node, or "(none)".
    std::string file(const std::string& path) const {
        std::string text;
        return lab::file_read(root + path, &text) ? text : "(none)";
    }

    std::string root;
};
