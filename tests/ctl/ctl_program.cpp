#include "tests/ctl/ctl_program.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <sstream>

namespace ctl_test {
namespace {

namespace fs = std::filesystem;

int spawn_and_wait(const std::vector<std::string>& words, const Folder& place) {
    std::vector<char*> arguments;
    for (const std::string& word : words) {
        arguments.push_back(const_cast<char*>(word.c_str()));
    }
    arguments.push_back(nullptr);
    const std::string in = place.path() + "/in";
    const std::string out = place.path() + "/out";
    const std::string err = place.path() + "/err";
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 0, in.c_str(), O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, 1, out.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    posix_spawn_file_actions_addopen(&actions, 2, err.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    pid_t pid = 0;
    const int failure =
        posix_spawnp(&pid, arguments[0], &actions, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    int status = 0;
    if (failure != 0 || waitpid(pid, &status, 0) != pid) {
        ADD_FAILURE() << "cannot run " << words[0];
        return -1;
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

}  // namespace

Result run_tool(const std::vector<std::string>& words, const std::string& input) {
    const Folder place;
    place.put("in", input);
    Result result;
    result.code = spawn_and_wait(words, place);
    result.out = text_of(place.path() + "/out");
    result.err = text_of(place.path() + "/err");
    return result;
}

bool have_tool(const std::string& name) {
    const bool there = run_tool({"/bin/sh", "-c", "command -v " + name}).code == 0;
    if (!there && std::getenv("BACKHAUL_NOTHING_LEFT_OUT") != nullptr) {
        ADD_FAILURE() << name << " is not installed";
    }
    return there;
}

std::string tool_path() {
    return BACKHAUL_BUILD_DIR "/backhaulctl";
}

Result run(const std::vector<std::string>& words) {
    std::vector<std::string> all = {tool_path()};
    all.insert(all.end(), words.begin(), words.end());
    return run_tool(all);
}

Folder::Folder() {
    fs::create_directories(BACKHAUL_BUILD_DIR "/ctl_test");
    std::string name = BACKHAUL_BUILD_DIR "/ctl_test/XXXXXX";
    if (mkdtemp(name.data()) == nullptr) {
        ADD_FAILURE() << "cannot make " << name;
    }
    path_ = name;
}

Folder::~Folder() {
    std::error_code ignored;
    fs::remove_all(path_, ignored);
}

std::string Folder::put(const std::string& name, const std::string& text, bool is_program) const {
    const fs::path file = path_ / fs::path(name).relative_path();
    fs::create_directories(file.parent_path());
    std::ofstream(file, std::ios::binary) << text;
    fs::permissions(file, is_program ? fs::perms(0755) : fs::perms(0644));
    return file.string();
}

void Folder::remove(const std::string& name) const {
    fs::remove_all(path_ / fs::path(name).relative_path());
}

std::string text_of(const std::string& path) {
    const std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

std::string log_text(const std::string& name) {
    const std::string text =
        text_of(std::string(BACKHAUL_SOURCE_DIR "/tests/ctl/logs/") + name + "/backhaul_flow_log");
    EXPECT_FALSE(text.empty()) << name;
    return text;
}

std::string log_text_until(const std::string& name, const std::string& last) {
    const std::string text = log_text(name);
    const size_t at = text.find(last);
    EXPECT_NE(at, std::string::npos) << last;
    return text.substr(0, text.find('\n', at) + 1);
}

}  // namespace ctl_test
