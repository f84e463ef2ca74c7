// Every tool of the router broken in one way, one after the other, while an extender loses and
// finds its link: it answers again as soon as the tool is mended.

#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include "lab/sandbox/layout.h"
#include "lab/tools/answer.h"
#include "tests/process/fault_story.h"

namespace {

/// A way to break a tool; the texts are those of the test's name.
struct tool_fault {
    const char* name;
    lab::ToolAnswer answer;        // with a gate: 30 seconds pass before that opens
    const char* script = nullptr;  // in the tool's place
};

void PrintTo(const tool_fault& fault, std::ostream* out) {
    *out << fault.name;
}

class FaultyTools : public FaultStory, public testing::WithParamInterface<tool_fault> {
protected:
    std::string place(const std::string& tool) {
        return router().node().at(std::string(lab::LAB_BIN) + "/" + tool);
    }

    void live_with_faulty(const std::string& tool) {
        const tool_fault& fault = GetParam();
        const std::string& root = router().root();
        if (fault.script != nullptr) {
            ASSERT_EQ(unlink(place(tool).c_str()), 0);
            if (*fault.script != '\0') {
                router().put_file(std::string(lab::LAB_BIN) + "/" + tool, fault.script);
                ASSERT_EQ(chmod(place(tool).c_str(), 0755), 0);
            }
            live();
            unlink(place(tool).c_str());
            ASSERT_EQ(symlink(lab::LAB_TOOL, place(tool).c_str()), 0);
            return;
        }
        ASSERT_TRUE(lab::answer_always(root, tool, fault.answer));
        live();
        if (!fault.answer.gate.empty()) {
            advance(30);
            lab::gate_open(root, fault.answer.gate);
            settle();
            lab::gate_shut(root, fault.answer.gate);
        }
        lab::answers_clear(root, tool);
        settle();
    }
};

TEST_P(FaultyTools, are_survived) {
    start_whole();
    for (const std::string_view tool : lab::TOOL_NAMES) {
        SCOPED_TRACE(tool);
        ASSERT_NO_FATAL_FAILURE(live_with_faulty(std::string(tool)));
    }
    if (GetParam().script == nullptr) {
        for (const char* tool : {"velmor_led_ctrl", "qca-wpa-supplicant", "wireless", "hyd"}) {
            SCOPED_TRACE(tool);
            live_with_faulty(tool);
        }
    }
    expect_whole();
}

INSTANTIATE_TEST_SUITE_P(
    Each, FaultyTools,
    testing::Values(tool_fault{"missing", {}, ""}, tool_fault{"failing", {"", "no", 1, "", false}},
                    tool_fault{"killed", {}, "#!/run/lab/real/sh\nkill -9 $$\n"},
                    tool_fault{"hanging", {"", "", 0, "mended", true}},
                    tool_fault{"printing_1_MB", {std::string(1U << 20U, 'x'), "", 0, "", false}},
                    tool_fault{"silent", {"", "", 0, "", false}}),
    [](const auto& one) { return std::string(one.param.name); });

class NoShell : public FaultStory {};

TEST_F(NoShell, is_survived) {
    start_whole();
    inside({"mount", "--bind", "/dev/null", "/bin/sh"});
    live();
    expect_event_handled();
    next_worker();
    live();
    inside({"umount", "/bin/sh"});
    expect_whole();
}

}  // namespace
