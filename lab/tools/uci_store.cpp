#include <algorithm>

#include "lab/tools/small_file.h"
#include "lab/tools/state_layout.h"

namespace lab {
namespace {

// A staged file begins with '=' and the value, or is '-' for an option that goes away.
constexpr std::string_view COMMITTED = "uci/";
constexpr std::string_view STAGED = "uci_staged/";
constexpr std::string_view GONE = "-";

std::string committed_name(const std::string& key) {
    return std::string(COMMITTED) + state_name(key);
}

std::string staged_name(const std::string& key) {
    return std::string(STAGED) + state_name(key);
}

bool is_of_package(const std::string& key, const std::string& package) {
    return package.empty() || key.starts_with(package + ".");
}

// Makes one staged value last. The committed file appears before the staged one goes, so that a
// reader in between finds the value in either place.
void commit_one(const std::string& root, const std::string& file) {
    const std::string staged = std::string(STAGED) + file;
    std::string text;
    if (!file_read(state_path(root, staged), &text)) {
        return;
    }
    if (text == GONE) {
        state_unset(root, std::string(COMMITTED) + file);
    } else {
        state_set(root, std::string(COMMITTED) + file, std::string_view(text).substr(1));
    }
    state_unset(root, staged);
}

}  // namespace

bool uci_store_set(const std::string& root, const std::string& key, std::string_view value) {
    return state_unset(root, staged_name(key)) && state_set(root, committed_name(key), value);
}

bool uci_store_unset(const std::string& root, const std::string& key) {
    return state_unset(root, staged_name(key)) && state_unset(root, committed_name(key));
}

std::string uci_store_get(const std::string& root, const std::string& key) {
    std::string staged;
    if (file_read(state_path(root, staged_name(key)), &staged)) {
        return staged == GONE || staged.empty() ? std::string{} : staged.substr(1);
    }
    return uci_committed_get(root, key);
}

std::string uci_committed_get(const std::string& root, const std::string& key) {
    return state_get(root, committed_name(key));
}

bool uci_store_stage(const std::string& root, const std::string& key, std::string_view value) {
    const std::string text = value.empty() ? std::string(GONE) : "=" + std::string(value);
    return state_set(root, staged_name(key), text);
}

int uci_store_commit(const std::string& root, const std::string& package) {
    int changes = 0;
    for (const std::string& file : folder_list(state_path(root, std::string(STAGED)))) {
        if (is_of_package(file, package)) {
            commit_one(root, file);
            ++changes;
        }
    }
    return changes;
}

int uci_store_revert(const std::string& root, const std::string& package) {
    int changes = 0;
    for (const std::string& file : folder_list(state_path(root, std::string(STAGED)))) {
        if (is_of_package(file, package) && state_unset(root, std::string(STAGED) + file)) {
            ++changes;
        }
    }
    return changes;
}

std::vector<std::string> uci_store_keys(const std::string& root) {
    std::vector<std::string> keys = folder_list(state_path(root, std::string(COMMITTED)));
    for (const std::string& file : folder_list(state_path(root, std::string(STAGED)))) {
        keys.push_back(file);
    }
    std::sort(keys.begin(), keys.end());
    keys.erase(std::unique(keys.begin(), keys.end()), keys.end());
    return keys;
}

}  // namespace lab
