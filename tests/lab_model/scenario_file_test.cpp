// Scenarios in files that can be read, and in those that cannot.
#include "lab/scenario/scenario_file.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace lab {
namespace {

class ScenarioFile : public testing::Test {
protected:
    void SetUp() override {
        std::string name = std::string(BACKHAUL_BUILD_DIR) + "/scenario_file.XXXXXX";
        ASSERT_NE(mkdtemp(name.data()), nullptr);
        folder = name;
    }
    void TearDown() override {
        std::filesystem::remove_all(folder);
    }

    std::string file(const std::string& text) const {
        std::ofstream(folder + "/story.scn") << text;
        return folder + "/story.scn";
    }

    std::string error_of(const std::string& path) const {
        Scenario scenario;
        std::string error;
        EXPECT_FALSE(scenario_file_read(path, &scenario, error));
        return error;
    }

    std::string folder;
};

TEST_F(ScenarioFile, is_read_as_a_scenario) {
    Scenario scenario;
    std::string error;
    ASSERT_TRUE(scenario_file_read(file("line 3\nwait 5\n"), &scenario, error)) << error;
    EXPECT_EQ(scenario.nodes.size(), 3U);
    EXPECT_EQ(scenario.steps.size(), 1U);
}

TEST_F(ScenarioFile, tells_every_mistake_with_file_and_line) {
    const std::string path = file("line 3\ndauth e1\nwait x\n");
    EXPECT_EQ(error_of(path), path +
                                  ":2: `dauth` is no statement or verb (did you mean `deauth`?)\n" +
                                  path + ":3: `x` is no number of seconds from 0 to 1000000");
}

TEST_F(ScenarioFile, includes_others_from_where_it_lies) {
    std::filesystem::create_directory(folder + "/common");
    std::ofstream(folder + "/common/mesh.scn") << "include nodes.scn\nwait 5\n";
    std::ofstream(folder + "/common/nodes.scn") << "line 3\n";
    Scenario scenario;
    std::string error;
    ASSERT_TRUE(scenario_file_read(file("include common/mesh.scn\nwait 6\n"), &scenario, error))
        << error;
    EXPECT_EQ(scenario.nodes.size(), 3U);
    ASSERT_EQ(scenario.steps.size(), 2U);
    EXPECT_EQ(scenario.steps[0].file, folder + "/common/mesh.scn");
    EXPECT_EQ(scenario.steps[1].file, "");
    EXPECT_EQ(error_of(file("line 2\ninclude no.scn\n")),
              folder + "/story.scn:2: cannot read the scenario " + folder +
                  "/no.scn: No such file or directory");
}

TEST_F(ScenarioFile, that_includes_itself_by_another_name_is_refused) {
    std::filesystem::create_symlink("story.scn", folder + "/other.scn");
    EXPECT_EQ(error_of(file("line 2\ninclude other.scn\n")),
              folder + "/story.scn:2: `other.scn` includes itself, by what stands here");
}

TEST_F(ScenarioFile, has_its_limit_together_with_what_it_includes) {
    std::ofstream(folder + "/long.scn") << std::string(9U << 20U, '#') << "\n";
    EXPECT_EQ(error_of(file("line 2\ninclude long.scn\ninclude long.scn\n")),
              folder + "/story.scn:3: cannot read the scenario " + folder +
                  "/long.scn: it is longer than 16 MiB, with the files that were read before it");
}

TEST_F(ScenarioFile, says_why_it_cannot_be_read) {
    EXPECT_EQ(error_of(folder + "/no.scn"),
              "cannot read the scenario " + folder + "/no.scn: No such file or directory");
    EXPECT_EQ(error_of(folder), "cannot read the scenario " + folder + ": Is a directory");
}

TEST_F(ScenarioFile, is_refused_when_it_has_no_end) {
    EXPECT_EQ(error_of("/dev/zero"),
              "cannot read the scenario /dev/zero: it is longer than 16 MiB");
}

}  // namespace
}  // namespace lab
