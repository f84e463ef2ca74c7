// Who plays the cases.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>

#include "lab/campaign/engine.h"
#include "lab/tools/small_file.h"
#include "tests/lab_campaign/results.h"

namespace lab {
namespace {

using testing::Contains;
using testing::HasSubstr;

EnginePlace place() {
    return {"/opt/my lab/backhaul_lab", "/data/results", 3, {"2/one", "two"}};
}

TEST(Parallel, is_told_machines_and_jobs_and_gets_the_campaign_in_its_command) {
    const std::vector<std::string> words = parallel_words(harness::tuning_campaign(), place());
    EXPECT_THAT(words, testing::IsSupersetOf({std::string("--jobs"), std::string("3"),
                                              std::string("2/one"), std::string("two")}));
    EXPECT_EQ(std::ranges::count(words, "--sshlogin"), 2);
    EXPECT_THAT(words.back(), HasSubstr(" | '/opt/my lab/backhaul_lab' campaign - --json"));
    EXPECT_THAT(words.back(), HasSubstr("\"name\":\"tuning\""));
    EXPECT_THAT(parallel_words(harness::tuning_campaign(), {"p", "r", 0, {}}),
                testing::Not(Contains("--jobs")));
}

// Of a shell that reads it the campaign comes back as it was.
TEST(Parallel, hands_over_a_campaign_that_can_be_read) {
    const std::string command = parallel_words(harness::tuning_campaign(), place()).back();
    FILE* const out = popen(command.substr(0, command.find(" | ")).c_str(), "r");
    ASSERT_NE(out, nullptr);
    std::string text;
    for (int one = getc(out); one != EOF; one = getc(out)) {
        text.push_back(static_cast<char>(one));
    }
    EXPECT_EQ(pclose(out), 0);
    Campaign campaign;
    std::string error;
    ASSERT_TRUE(campaign_parse(text, "/", campaign, error)) << error;
    EXPECT_EQ(campaign, harness::tuning_campaign());
}

// The script is run as a task of Slurm would, with a program in the lab's place that notes ids.
class Slurm : public testing::Test {
protected:
    void SetUp() override {
        folder_make(folder);
        ASSERT_TRUE(file_write(folder + "/lab",
                               "#!/bin/sh\n"
                               "printf '%s\\n' \"$6\" >>\"" +
                                   folder + "/played\"\n[ \"$6\" != bad ]\n"));
        ASSERT_EQ(system(("chmod +x " + folder + "/lab").c_str()), 0);
    }
    ~Slurm() override {
        folder_remove(folder);
    }
    // Writes a script for so many ids; "bad" is the third.
    void script_write(std::size_t count) {
        std::string list;
        for (std::size_t at = 1; at <= count; ++at) {
            list += (at == 3 ? std::string("bad") : "id" + std::to_string(at)) + "\n";
        }
        const EnginePlace here{folder + "/lab", folder, 0, {}};
        script = slurm_script(harness::tuning_campaign(), here, folder + "/tuning.json",
                              folder + "/waiting", count);
        ASSERT_TRUE(file_write(folder + "/waiting", list));
        ASSERT_TRUE(file_write(folder + "/script", script));
    }
    int task_run(int number) const {
        return system(
            ("SLURM_ARRAY_TASK_ID=" + std::to_string(number) + " bash " + folder + "/script")
                .c_str());
    }
    std::string played() const {
        std::string text;
        file_read(folder + "/played", &text);
        return text;
    }
    const std::string folder =
        std::string(BACKHAUL_BUILD_DIR) + "/engine_test." + std::to_string(getpid());
    std::string script;
};

TEST_F(Slurm, plays_a_case_a_task) {
    script_write(4);
    EXPECT_THAT(script, HasSubstr("\n#SBATCH --array=1-4\n"));
    EXPECT_THAT(script, HasSubstr("\n#SBATCH --requeue\n"));
    EXPECT_EQ(task_run(2), 0);
    EXPECT_EQ(played(), "id2\n");
    EXPECT_NE(task_run(3), 0);
}

TEST_F(Slurm, plays_several_cases_a_task_when_they_are_many) {
    script_write(2500);
    EXPECT_THAT(script, HasSubstr("\n#SBATCH --array=1-1000\n"));
    EXPECT_EQ(task_run(4), 0);
    EXPECT_EQ(played(), "id4\nid1004\nid2004\n");
    // A case that fails takes none of the others along.
    EXPECT_NE(task_run(3), 0);
    EXPECT_EQ(played(), "id4\nid1004\nid2004\nbad\nid1003\nid2003\n");
    EXPECT_EQ(task_run(1000), 0);
    EXPECT_THAT(played(), testing::EndsWith("id2003\nid1000\nid2000\n"));
}

TEST_F(Slurm, gets_a_script_that_shellcheck_finds_nothing_in) {
    if (std::getenv("BACKHAUL_NOTHING_LEFT_OUT") == nullptr &&
        system("command -v shellcheck >/dev/null") != 0) {
        GTEST_SKIP() << "no shellcheck here";
    }
    script_write(4);
    EXPECT_EQ(system(("shellcheck " + folder + "/script").c_str()), 0);
}

}  // namespace
}  // namespace lab
