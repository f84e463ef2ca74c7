#include "tests/harness/contract_record.h"

#include <dirent.h>
#include <errno.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <set>
#include <string_view>

#include "lab/tools/small_file.h"
#include "lab/tools/text_escape.h"

namespace harness {
namespace {

constexpr std::array<std::string_view, 12> FILES = {
    "/tmp/backhaul_status",  "/tmp/backhaul_mode_change", "/tmp/rootdistance",
    "/tmp/backhaul_ap_list", "/tmp/backhaul_type",        "/tmp/rootap_ip",
    "/tmp/WirelessDev",      "/tmp/wifi24G_Apply",        "/tmp/wifi5G_Apply",
    "/tmp/wifi5G_2_Apply",   "/tmp/dynamic_24g_txpower",  "/var/log/backhaul_log"};
constexpr size_t HEAD_SIZE = 65536;
constexpr std::string_view SUPPLICANT = "/tmp/wpa_supplicant-";

struct Notes {
    std::string file;
    std::set<std::string> lines;
};

// A test in a sandbox can only read the build's folder under its own name.
std::string contract_folder() {
    const char* outside = getenv(CONTRACT_PLACE);
    return outside == nullptr ? BACKHAUL_BUILD_DIR "/contract" : outside;
}

std::string test_file() {
    const auto* about = testing::UnitTest::GetInstance()->current_test_info();
    std::string name = std::string(program_invocation_short_name) + "." + about->test_suite_name() +
                       "." + about->name();
    std::replace(name.begin(), name.end(), '/', '_');
    return contract_folder() + "/" + name;
}

// Those of the running test; an earlier one's are gone.
Notes& notes() {
    static Notes instance;
    const std::string file = test_file();
    if (instance.file != file) {
        instance = {file, {}};
    }
    return instance;
}

void note(const std::string& kind, const std::string& text) {
    notes().lines.insert(kind + '\t' + lab::text_escape(text));
}

}  // namespace

void contract_note(const std::string& kind, const std::string& text) {
    for (size_t at = 0; at < text.size();) {
        const size_t end = text.find('\n', at);
        const size_t length = end == std::string::npos ? end : end - at + 1;
        note(kind, text.substr(at, length));
        at = end == std::string::npos ? text.size() : end + 1;
    }
}

void contract_note_lines(const std::string& kind, const std::vector<std::string>& lines) {
    for (const std::string& line : lines) {
        note(kind, line + "\n");
    }
}

void contract_note_commands(const std::vector<std::string>& lines) {
    for (const std::string& line : lines) {
        note("commands", line);
    }
}

void contract_note_stdout_file(const std::string& path) {
    FILE* file = fopen(path.c_str(), "rbe");
    if (file != nullptr) {
        std::string head(HEAD_SIZE, '\0');
        head.resize(fread(head.data(), 1, head.size(), file));
        contract_note("stdout", head);
        fclose(file);
    }
}

void contract_note_file(const std::string& root, const std::string& path) {
    const bool known =
        std::find(FILES.begin(), FILES.end(), path) != FILES.end() || path.rfind(SUPPLICANT) == 0;
    struct stat about {};
    std::string text;
    if (!known || stat((root + path).c_str(), &about) != 0 || !S_ISREG(about.st_mode) ||
        !lab::file_read(root + path, &text)) {
        return;
    }
    for (size_t at = 0; at < text.size();) {
        const size_t end = std::min(text.find('\n', at), text.size() - 1);
        note("files", path + "\t" + text.substr(at, end - at + 1));
        at = end + 1;
    }
}

void contract_note_files(const std::string& root) {
    for (const std::string_view path : FILES) {
        contract_note_file(root, std::string(path));
    }
    DIR* folder = opendir((root + "/tmp").c_str());
    if (folder == nullptr) {
        return;
    }
    while (const dirent* entry = readdir(folder)) {
        contract_note_file(root, std::string("/tmp/") + entry->d_name);
    }
    closedir(folder);
}

void contract_save() {
    mkdir(contract_folder().c_str(), 0777);
    FILE* file = fopen(notes().file.c_str(), "we");
    if (file != nullptr) {
        for (const std::string& line : notes().lines) {
            fprintf(file, "%s\n", line.c_str());
        }
        fclose(file);
    }
}

std::string captured_stdout() {
    std::string text = testing::internal::GetCapturedStdout();
    contract_note("stdout", text);
    contract_save();
    return text;
}

std::string captured_stderr() {
    std::string text = testing::internal::GetCapturedStderr();
    contract_note("stderr", text);
    contract_save();
    return text;
}

bool contract_record_read(const std::string& line, ContractRecord* record) {
    const size_t tab = line.find('\t');
    if (tab == std::string::npos) {
        return false;
    }
    record->kind = line.substr(0, tab);
    record->text = lab::text_unescape(std::string_view(line).substr(tab + 1));
    return true;
}

}  // namespace harness
