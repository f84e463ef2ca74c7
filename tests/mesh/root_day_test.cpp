// A day of a root: 8,640 looks at the list, while nodes come and go by a script. After each look
// the files are what the script says, and at the end the worker is as large as at the beginning.
//
// The day's 40,000 shell lines would cost minutes: here a stand-in tool is the shell, which records
// each line, answers the pass phrase and runs nothing. What the root sends is still its own: the
// bytes that the test sealed beforehand with the real openssl command.

#include "lab/sandbox/layout.h"
#include "lab/tools/answer.h"
#include "lab/tools/record.h"
#include "tests/mesh/root_story.h"

#include <algorithm>
#include <array>
#include <ctime>
#include <deque>
#include <map>

namespace {

constexpr char LIST[] = "/tmp/backhaul_ap_list";
constexpr char EVENTS[] = "/var/log/backhaul_log";
constexpr char LOG[] = "/var/log/backhaul_flow_log";
constexpr char OLD_LOG[] = "/var/log/backhaul_flow_log.1";

constexpr unsigned LOOKS = 8640;
constexpr unsigned SECONDS_A_LOOK = 10;
constexpr unsigned HOUR = 360;
constexpr unsigned EIGHT_HOURS = 2880;

// One node of the script. Each letter of `life` holds for `beat` looks, from the look `begins` on,
// over and over: A answers; 1, 2, 3 probes missed; B neither alive nor not; N unknown, as the row
// before; - no row.
struct Life {
    const char* almac;
    const char* name;
    unsigned begins;
    unsigned beat;
    const char* life;
};

constexpr std::array<Life, 6> SCRIPT{{
    {"02:00:00:00:00:41", "Attic", 0, 30, "AAAA12A123AA333B"},
    {"02:00:00:00:00:42", "Barn", 100, 45, "A1A2A3BA"},
    {"02:00:00:00:00:43", "", 100, 60, "NANNA3NN"},
    {"02:00:00:00:00:44", "A name of more than sixty-three characters, which is cut in the log",
     500, 20, "A12333-3A--A"},
    {"02:00:00:00:00:45", "Cellar", 1000, 7, "A111112222233B"},
    {"02:00:00:00:00:46", "Shed", 4320, 400, "A3"},
}};

using Probes = std::array<char, SCRIPT.size()>;

char probe_at(const Life& one, unsigned look) {
    if (look < one.begins) {
        return '-';
    }
    const std::string life = one.life;
    return life[(look - one.begins) / one.beat % life.size()];
}

/// The statement that makes the database say so.
std::string row_statement(const Life& one, char before, char probe) {
    const std::string address = std::string("'") + one.almac + "'";
    if (probe == '-') {
        return "DELETE FROM Device WHERE ALMac=" + address + ";";
    }
    std::string values;
    switch (probe) {
        case 'A':
            values = "1, 0";
            break;
        case 'B':
            values = "2, 0";
            break;
        case 'N':
            values = "NULL, NULL";
            break;
        default:
            values = std::string("0, ") + probe;
            break;
    }
    if (before == '-') {
        return "INSERT INTO Device VALUES (" + address + ", " + values + ", 'L2Device', '" +
               one.name + "', '');";
    }
    return "UPDATE Device SET (Alive, nNotAlive) = (" + values + ") WHERE ALMac=" + address + ";";
}

/// What the files must hold, kept from the script alone.
class Expected {
public:
    explicit Expected(std::uint32_t start) {
        say(start, "<-- backhaul_monitor start -->");
    }

    /// One look at the rows, in their order in the database.
    void look(std::uint32_t now, const std::vector<size_t>& rows, const Probes& probes) {
        bool present = true;
        for (const size_t row : rows) {
            const Life* const life = &SCRIPT[row];
            const char probe = probes[row];
            if (probe != 'N') {
                present = probe == 'A' || probe == '1' || probe == '2';
            }
            const auto at = std::find(list_.begin(), list_.end(), life);
            if (present && at == list_.end()) {
                event(*life, "join");
                list_.push_back(life);
                if (list_.size() == 1) {
                    ++lowered_;
                    say(now, "device_24g_txpower_decrease : decrease WiFi 2.4G Tx power");
                }
            } else if (!present && at != list_.end()) {
                event(*life, "leave");
                list_.erase(at);
                if (list_.empty()) {
                    ++raised_;
                    say(now, "device_24g_txpower_recover : recover WiFi 2.4G Tx power");
                }
            }
        }
    }

    void say(std::uint32_t now, const std::string& text) {
        // The first file takes 300 entries, every later one 301.
        if (++entries_ > 300) {
            old_log_ = log_;
            log_.clear();
            entries_ = 0;
            ++rotations_;
        }
        const time_t time = now;
        tm date{};
        std::array<char, 32> prefix{};
        strftime(prefix.data(), prefix.size(), "%a %b %e %H:%M:%S %Y", gmtime_r(&time, &date));
        log_ += std::string(prefix.data()) + " : " + text + "\n";
    }

    std::string list() const {
        std::string text;
        for (const Life* life : list_) {
            text += std::string(life->almac) + "\n";
        }
        return text;
    }
    std::string events() const {
        std::string text;
        for (const std::string& event : events_) {
            text += event + "\n";
        }
        return text;
    }
    const std::string& log() const {
        return log_;
    }
    const std::string& old_log() const {
        return old_log_;
    }
    int rotations() const {
        return rotations_;
    }
    /// How often the first node came and the last one left.
    int lowered() const {
        return lowered_;
    }
    int raised() const {
        return raised_;
    }
    /// Every event of the day.
    const Lines& told() const {
        return told_;
    }

private:
    void event(const Life& life, const std::string& what) {
        const std::string text =
            std::string(life.name).substr(0, 63) + "(" + life.almac + ") " + what;
        told_.push_back(text);
        events_.push_back(text);
        if (events_.size() > 5) {
            events_.pop_front();
        }
    }

    std::vector<const Life*> list_;
    std::deque<std::string> events_;
    Lines told_;
    std::string log_;
    std::string old_log_;
    int entries_ = 0;
    int rotations_ = 0;
    int lowered_ = 0;
    int raised_ = 0;
};

class RootDay : public RootStory {
protected:
    void start_day() {
        add_root().put_file("/tmp/wifi_if_profile",
                            "ath20 BACKHAUL_AP 5h 0 0\neth ETHERNET 0 0 0\n");
        router().sql("DELETE FROM Device WHERE DevType='L2Device';");
        approvals("02:00:00:00:00:41 1\n");
        // Mounted, so that the daemon cannot put a file of its own in its place.
        router().put_file("/tmp/sealed", announcement_);
        router().put_file("/tmp/ssl_output", "");
        run_inside(router(), {"mount", "--bind", "/tmp/sealed", "/tmp/ssl_output"});
        lab::answer_always(router().root(), "sh.-c.uci get wireless.ath20.ssid", "mesh-backhaul");
        lab::answer_always(router().root(), "sh.-c.uci get wireless.ath20.disabled", "1");
        run_inside(router(), {"mount", "--bind", lab::LAB_TOOL, "/bin/sh"});
        // What was freed is soon given back, so that growth is growth.
        router().start({"-m"}, {"ASAN_OPTIONS=detect_leaks=1:log_path=/run/lab/out/sanitizer:"
                                "quarantine_size_mb=1:thread_local_quarantine_size_kb=64"});
    }

    /// Brings the database to what the script says for a look.
    void turn_page(unsigned look) {
        std::string statements;
        for (size_t at = 0; at < SCRIPT.size(); ++at) {
            const char probe = probe_at(SCRIPT[at], look);
            if (probe == probes_[at]) {
                continue;
            }
            statements += row_statement(SCRIPT[at], probes_[at], probe);
            // A row that comes back stands behind the others.
            if (probes_[at] == '-') {
                rows_.emplace_back(at);
            } else if (probe == '-') {
                std::erase(rows_, at);
            }
            probes_[at] = probe;
        }
        if (!statements.empty()) {
            router().sql("BEGIN;" + statements + "COMMIT;");
        }
    }

    /// The approval list is incomplete, complete from 8:00 on, and incomplete again from 16:00 on.
    void turn_approvals(unsigned look) {
        if (look == EIGHT_HOURS) {
            approvals("02:00:00:00:00:41 1 MRX50\n");
        } else if (look == 2 * EIGHT_HOURS) {
            approvals("02:00:00:00:00:41 1\n");
            command("approval_list_changed\n");
        }
    }
    static void look_at_approvals(unsigned look, std::uint32_t now, Expected& expected) {
        if (look == EIGHT_HOURS) {
            expected.say(now, "device_ap_steering_workaround : Enter");
            expected.say(now, "device_5g_high_ap_set : config 0");
        } else if (look >= 6 && (look < EIGHT_HOURS || look >= 2 * EIGHT_HOURS)) {
            expected.say(now, "device_approval_list_check : approval list not ready");
        }
    }

    void expect_files(unsigned look, const Expected& expected) {
        EXPECT_EQ(router().file(LIST), expected.list()) << look;
        EXPECT_EQ(router().file(EVENTS), expected.events()) << look;
        EXPECT_TRUE(router().file(LOG) == expected.log()) << look << "\n"
                                                          << expected.log() << "but\n"
                                                          << router().file(LOG);
        EXPECT_TRUE(router().file(OLD_LOG) == expected.old_log()) << look;
    }

    void expect_announcements(unsigned look, lab::UdpPeer& mesh) {
        const std::vector<lab::Datagram> heard = mesh.take();
        ASSERT_EQ(heard.size(), 2U) << look;
        EXPECT_EQ(heard[0].bytes, announcement_) << look;
        EXPECT_EQ(heard[1].bytes, announcement_) << look;
    }

    /// Every line that was given to the shell, by what it begins with.
    void expect_calls_of_the_day(const Expected& expected) {
        std::map<std::string, int> counts;
        Lines told;
        for (const lab::CallRecord& call : lab::call_records(router().root())) {
            ASSERT_EQ(call.words.size(), 2U) << lab::call_text(call);
            const std::string& line = call.words[1];
            if (line.rfind("vlog 0 0 ", 0) == 0) {
                told.push_back(line.substr(10, line.size() - 11));
            } else {
                ++counts[line];
            }
        }
        EXPECT_EQ(told, expected.told());
        const int lowered = expected.lowered();
        const int raised = expected.raised();
        const std::map<std::string, int> wanted = {
            // At the start, and for each announcement.
            {"uci get wireless.ath20.ssid", 1 + 17280},
            {"uci get wireless.ath20.WPAPSKkey", 1},
            {"echo -n 'ImRootAP' | openssl aes-128-cbc -e -k 'mesh-backhaul' > /tmp/ssl_output",
             17280},
            // From 60 seconds on every 30, and from 120 on every 90.
            {"uci get wireless.ath20.disabled", 2879},
            {"wifi_channel_monitor once", 959},
            {"iwconfig ath0 txpower 23", lowered},
            {"iwpriv wifi0 cca_threshold -65", lowered},
            {"iwpriv wifi1 cca_threshold -65", lowered},
            {"iwconfig ath0 txpower auto", raised},
            {"iwpriv wifi0 cca_threshold -75", raised},
            {"iwpriv wifi1 cca_threshold -75", raised}};
        EXPECT_EQ(counts, wanted);
    }

    const std::string announcement_ = lab::message_seal("ImRootAP", "mesh-backhaul");
    Probes probes_{'-', '-', '-', '-', '-', '-'};
    /// The rows in their order, by their place in the script.
    std::vector<size_t> rows_;
};

TEST_F(RootDay, leaves_what_the_script_says_after_each_of_its_8640_looks) {
    start_day();
    lab::UdpPeer mesh(36002);
    Expected expected(lab::NODE_START_TIME);
    const std::vector<std::string> descriptors = router().daemon().worker_descriptors();
    const size_t threads = router().daemon().worker_threads().size();
    long memory = 0;
    for (unsigned look = 1; look <= LOOKS && !HasFailure(); ++look) {
        turn_page(look);
        turn_approvals(look);
        advance(SECONDS_A_LOOK);
        expected.look(now(), rows_, probes_);
        look_at_approvals(look, now(), expected);
        expect_files(look, expected);
        expect_announcements(look, mesh);
        if (look == HOUR) {
            memory = router().daemon().worker_resident_kb();
        }
    }
    EXPECT_EQ(now(), lab::NODE_START_TIME + 86400);
    EXPECT_EQ(expected.rotations(), 19);
    EXPECT_GT(expected.told().size(), 400U);
    EXPECT_GT(expected.raised(), 1);
    EXPECT_EQ(router().daemon().worker_descriptors(), descriptors);
    EXPECT_EQ(router().daemon().worker_threads().size(), threads);
    // A sanitizer's own tables grow by half of this; 100 bytes lost at each look would be more.
    EXPECT_LE(router().daemon().worker_resident_kb(), memory + 1000);
    expect_calls_of_the_day(expected);
}

}  // namespace
