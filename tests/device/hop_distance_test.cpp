// The distance to the root, asked of the driver and kept in a file.

#include "device/hop_distance.h"

#include "lab/tools/answer.h"
#include "lab/tools/state_layout.h"
#include "tests/device/device_fixture.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

#include <string>

namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;

using harness::distance;

class HopDistance : public DeviceTest {
protected:
    void SetUp() override {
        DeviceTest::SetUp();
        ath0 = intf_add("ath0", BACKHAUL_STA, BAND_5G);
        ASSERT_TRUE(lab::iwpriv_value_set("", "ath0", "whc_dist", "2"));
    }

    const intf_record* ath0 = nullptr;
};

TEST_F(HopDistance, keeps_the_distance_file_when_the_answer_cannot_be_opened) {
    harness::put_file("/tmp/rootdistance", "5\n");
    harness::put_file("/tmp/ath_dist/kept", "");
    EXPECT_EQ(qca_dist_get(ath0), -1);
    EXPECT_EQ(harness::file_text("/tmp/rootdistance"), "5\n");
    EXPECT_THAT(journal_take(), ElementsAre("$ iwpriv ath0 get_whc_dist > /tmp/ath_dist"));
}

TEST_F(HopDistance, takes_an_empty_answer_for_distance_0) {
    ASSERT_TRUE(lab::wifi_missing_set("", "ath0"));
    EXPECT_EQ(qca_dist_get(ath0), 0);
    EXPECT_EQ(harness::file_text("/tmp/rootdistance"), "0\n");
}

TEST_F(HopDistance, takes_the_distance_from_the_first_63_characters_of_the_first_line) {
    // The driver's own line end is the 64th character, then the 65th.
    const std::string blanks(60, ' ');
    lab::answer_push("", "iwpriv", blanks + "a:5");
    EXPECT_EQ(qca_dist_get(ath0), 5);
    lab::answer_push("", "iwpriv", blanks + "a:57");
    EXPECT_EQ(qca_dist_get(ath0), 5);
    lab::answer_push("", "iwpriv", "no distance\nath0 get_whc_dist:4");
    EXPECT_EQ(qca_dist_get(ath0), 0);
}

TEST_F(HopDistance, knows_the_distance_even_when_its_file_cannot_be_written) {
    ASSERT_EQ(mkdir("/tmp/rootdistance", 0755), 0);
    EXPECT_EQ(qca_dist_get(ath0), 2);
    EXPECT_THAT(journal_take(), ElementsAreArray(distance("ath0", 2)));
}

TEST_F(HopDistance, runs_the_whole_line_for_an_interface_name_of_15_characters) {
    qca_dist_get(intf_add("a-name-of-15-ch", BACKHAUL_STA, BAND_5G));
    EXPECT_THAT(harness::recorded_lines(),
                ElementsAre("iwpriv a-name-of-15-ch get_whc_dist > /tmp/ath_dist"));
}

}  // namespace
