// The admission test over a real database and approval list.

#include "topology/admission.h"

#include "tests/root/root_fixture.h"

#include <gmock/gmock.h>
#include <sys/stat.h>
#include <filesystem>

namespace {

constexpr char LIST[] = "/tmp/ApplicationData/Approvelist";
constexpr bool GRANTED = true;
constexpr bool REFUSED = false;

/// Whether a node is admitted, "192.168.1.20" unless told otherwise: "02:00:00:00:00:0a" in the
/// database.
class Admission : public RootTest {
protected:
    void SetUp() override {
        RootTest::SetUp();
        database_open();
        device_add(almac("0a"), "1", "0", "Attic", "192.168.1.20");
        device_add("02:00:00:00:00:0B", "1", "0", "Barn", "192.168.1.21");
    }
    static bool with_list(const std::string& text, const char* ip = "192.168.1.20") {
        harness::put_file(LIST, text);
        return backhaul_db_device_valid_check(ip);
    }
};

TEST_F(Admission, is_decided_by_the_flag_of_the_first_line_that_fits) {
    struct row {
        const char* what;
        std::string list;
        bool expected;
    };
    const row rows[] = {
        {"1", "02:00:00:00:00:0A 1 MRX70\n", GRANTED},
        {"2", "02:00:00:00:00:0A 2 MRX70\n", GRANTED},
        {"255", "02:00:00:00:00:0A 255 MRX70\n", GRANTED},
        {"0", "02:00:00:00:00:0a 0 MRX70\n", REFUSED},
        {"one byte", "02:00:00:00:00:0a 256 MRX70\n", REFUSED},
        {"no line", "", REFUSED},
        {"other lines", "02:00:00:00:00:01 1 MRX70\n02:00:00:00:00:02 1 MRX70\n", REFUSED},
        {"refused, then approved",
         "02:00:00:00:00:01 1 x\n02:00:00:00:00:0a 0 x\n02:00:00:00:00:0a 1 x\n", REFUSED},
        {"approved, then refused", "02:00:00:00:00:0a 1 x\n02:00:00:00:00:0a 0 x\n", GRANTED},
        {"no number behind an approved line", "02:00:00:00:00:01 1 x\n02:00:00:00:00:0a yes x\n",
         GRANTED},
        {"no number behind a refused line", "02:00:00:00:00:01 0 x\n02:00:00:00:00:0a yes x\n",
         REFUSED},
        {"no number in the first line", "02:00:00:00:00:0a yes x\n", REFUSED},
        {"no line end", "02:00:00:00:00:0a 1", GRANTED},
        // 63 characters a piece: the second one begins with an address of its own.
        {"a long line", "02:00:00:00:00:01 0 " + std::string(43, 'x') + "02:00:00:00:00:0a 1 x\n",
         GRANTED},
    };
    for (const row& one : rows) {
        EXPECT_EQ(with_list(one.list), one.expected) << one.what;
    }
    EXPECT_EQ(journal_take(), Journal{}) << "runs no line and logs nothing";
}

TEST_F(Admission, is_refused_without_a_list_that_can_be_read) {
    EXPECT_EQ(backhaul_db_device_valid_check("192.168.1.20"), REFUSED);
    std::filesystem::create_directories(LIST);
    EXPECT_EQ(backhaul_db_device_valid_check("192.168.1.20"), REFUSED);
}

TEST_F(Admission, is_refused_when_the_list_is_no_file) {
    std::filesystem::create_directories("/tmp/ApplicationData");
    ASSERT_EQ(mkfifo(LIST, 0666), 0);
    EXPECT_EQ(backhaul_db_device_valid_check("192.168.1.20"), REFUSED);
    std::filesystem::remove(LIST);
    std::filesystem::create_symlink("/dev/zero", LIST);
    EXPECT_EQ(backhaul_db_device_valid_check("192.168.1.20"), REFUSED);
}

TEST_F(Admission, is_refused_for_an_unknown_address_and_for_an_al_mac_in_upper_case) {
    EXPECT_EQ(with_list("02:00:00:00:00:0a 1 MRX70\n", "192.168.1.99"), REFUSED);
    EXPECT_EQ(with_list("02:00:00:00:00:0a 1 MRX70\n", ""), REFUSED);
    EXPECT_EQ(with_list("02:00:00:00:00:0B 1 x\n02:00:00:00:00:0b 1 x\n", "192.168.1.21"), REFUSED);
}

TEST_F(Admission, is_refused_for_a_device_whose_al_mac_is_missing_or_too_long) {
    for (const std::string& value : {std::string("NULL"), std::string("''"),
                                     "'02:00:00:00:00:0a" + std::string(283, 'z') + "'"}) {
        sql("UPDATE Device SET ALMac=" + value + ";");
        EXPECT_EQ(with_list("02:00:00:00:00:0a 1 MRX70\n00:00:00:00:00:00 1 MRX70\n"), REFUSED)
            << value;
    }
}

}  // namespace
