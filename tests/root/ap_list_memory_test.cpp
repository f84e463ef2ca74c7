// A node of the extender list for which there is no memory. The calloc of this program can fail.

#include "root/ap_list.h"

#include "runtime/runtime_block.h"
#include "tests/harness/contract_record.h"
#include "tests/root/root_fixture.h"

#include <gmock/gmock.h>

namespace {
bool memory_is_gone = false;
}

extern "C" void* __real_calloc(size_t count, size_t size);
extern "C" void* __wrap_calloc(size_t count, size_t size) {
    return memory_is_gone ? nullptr : __real_calloc(count, size);
}

namespace {

class ApListMemory : public RootTest {};

TEST_F(ApListMemory, says_so_and_changes_nothing_when_there_is_none) {
    testing::internal::CaptureStdout();
    memory_is_gone = true;
    backhaul_ap_node_add("02:00:00:00:00:01", ap_source::database);
    memory_is_gone = false;
    EXPECT_EQ(harness::captured_stdout(), "backhaul_ap_node_add : malloc fail\n");
    EXPECT_EQ(runtime.ap_list_head, nullptr);
    EXPECT_EQ(runtime.ap_count, 0);
    EXPECT_EQ(journal_take(), Journal{});
    EXPECT_FALSE(harness::file_is_there("/tmp/backhaul_ap_list"));
}

}  // namespace
