// What has to hold in every life, whatever comes in.
//
// `Rules` is told each line of the flow log, each command and each standstill, and looks at the
// runtime block, the records and the files. A broken rule ends the life (Life::broken). What is
// known to be off by the required behaviour stands in the tables of rules.cpp, each with its
// reason.
#pragma once

#include <bitset>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace lives {

class Life;
struct FileNode;

// Lines of the flow log that explain what comes after them; in the order of rules.cpp's table.
enum class Sign : uint8_t {
    recover,
    restore,
    search,
    backup_found,
    dfs_count,
    dfs_disable,
    dfs_enable,
    wired,
    unknown_status,
    no_eth_record,
    lost_connection,
    count
};
using SignSet = std::bitset<static_cast<size_t>(Sign::count)>;

class Rules {
public:
    // Texts of the contract; false when they cannot be read.
    static bool prepare(const char* commands_path);

    void worker_started();
    void log_line(Life& life, std::string_view line);
    void command(Life& life, const std::string& line);
    void message_sent(Life& life, const std::string& bytes, uint16_t port);
    void mutex_taken(Life& life, const void* mutex);
    void file_opened(Life& life, const std::string& path);
    // The wall clock was set: until the next worker no timeout is held to its time.
    void clock_moved();
    // All threads wait.
    void standstill(Life& life);
    // Anything may have been stored since the last look.
    void look(Life& life);

    bool state_mutex_is_kept = false;  // the one required path

private:
    struct Request {
        bool is_open = false;
        std::string name;
        int32_t from = 0;
        int32_t to = 0;
    };
    void states_check(Life& life);
    void request_check(Life& life);
    void timers_check(Life& life) const;
    void deadlines_check(Life& life) const;
    void links_check(Life& life);
    void locks_check(Life& life) const;
    void files_check(Life& life);
    void extenders_check(Life& life) const;
    void descriptors_check(Life& life) const;

    std::vector<int32_t> states_;
    Request request_;
    SignSet step_signs_;  // of all threads, since the links were counted last
    int32_t drift_ = 0;
    uint64_t files_seen_ = 0;  // changes of files up to the last look at them
    bool clock_was_moved_ = false;
};

}  // namespace lives
