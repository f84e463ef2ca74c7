// Start values of the runtime block, and the scalars that threads share in it.

#include "runtime/runtime_block.h"

#include <gtest/gtest.h>

#include <string>

namespace {

// The program's own block: no test of this program changes it.

TEST(RuntimeBlock, starts_with_no_descriptor_and_wireless_version_22) {
    const runtime_block& block = runtime;
    EXPECT_EQ(block.netlink_fd, -1);
    EXPECT_EQ(block.fifo_fd, -1);
    EXPECT_EQ(block.msg_fd, -1);
    EXPECT_EQ(block.timer_fd, -1);
    EXPECT_EQ(block.we_version, 22);
    EXPECT_EQ(block.max_fd, 0);
}

TEST(RuntimeBlock, starts_as_an_extender_with_the_default_settings) {
    const runtime_block& block = runtime;
    EXPECT_EQ(block.master, 0);
    EXPECT_EQ(block.backhaul_ap_enable, 0);
    EXPECT_EQ(block.b_arg, nullptr);
    EXPECT_EQ(block.max_disconnect, 3);
    EXPECT_EQ(block.loop_disconnect, 10);
    EXPECT_EQ(block.ready_decay, 5);
    EXPECT_EQ(block.intf_init, 1);
}

TEST(RuntimeBlock, starts_with_all_shared_state_empty) {
    const runtime_block& block = runtime;
    EXPECT_EQ(block.approval_changed, 0);
    EXPECT_EQ(block.ap_list_head, nullptr);
    EXPECT_EQ(block.ap_list_tail, nullptr);
    EXPECT_EQ(block.ap_count, 0);
    EXPECT_EQ(block.backhaul_sta_num, 0);
    EXPECT_EQ(block.intf_init_done, 0);
    EXPECT_EQ(block.backup_backhaul_sta, nullptr);
    EXPECT_EQ(block.best_backhaul_sta, nullptr);
    EXPECT_EQ(block.eth_backhaul_active, 0);
    EXPECT_EQ(block.sta_unconfigured, 0);
    EXPECT_TRUE(block.rootap_ip.empty());
    EXPECT_EQ(block.active_timer_count, 0);
    EXPECT_EQ(block.event_log_head, nullptr);
    EXPECT_EQ(block.event_log_tail, nullptr);
    EXPECT_EQ(block.event_log_num, 0);
    EXPECT_EQ(block.flow_log_lines, 0);
    EXPECT_EQ(block.intf_table.load(), nullptr);
    EXPECT_EQ(block.intf_num.load(), 0);
    EXPECT_EQ(block.backhaul_valid, 0);
    EXPECT_EQ(block.db, nullptr);
    for (const auto& enabled : block.service_ap_enabled) {
        EXPECT_EQ(enabled, 0);
    }
    for (const auto reload : block.companion_reload) {
        EXPECT_EQ(reload, 0);
    }
}

TEST(RuntimeBlock, has_mutexes_that_work_without_being_initialised) {
    runtime_block block;
    for (pthread_mutex_t* const mutex : {&block.timer_mutex, &block.state_mutex, &block.apply_lock,
                                         &block.intf_table_lock, &block.cipher_lock}) {
        EXPECT_EQ(pthread_mutex_trylock(mutex), 0);
        EXPECT_EQ(pthread_mutex_unlock(mutex), 0);
    }
}

TEST(RelaxedText, keeps_what_fits_and_is_always_terminated) {
    RelaxedText<IP_TEXT_SIZE> text;
    text.set("192.168.100.200");
    EXPECT_STREQ(text.get().data(), "192.168.100.200");
    text.set("10.0.0.1");
    EXPECT_STREQ(text.get().data(), "10.0.0.1");
    text.set("123456789012345678");
    EXPECT_STREQ(text.get().data(), "123456789012345");
    EXPECT_FALSE(text.empty());
    text.set("");
    EXPECT_TRUE(text.empty());
}

}  // namespace
