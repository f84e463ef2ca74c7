// What the recording shell and the stand-in tools leave behind, and how to read it.
//
// Two files grow by one line per event, each line one append: /run/lab/record/lines holds every
// line given to `sh -c`, /run/lab/record/calls every call of a stand-in tool. A record is written
// before the line or the tool acts, so the order of records is the order of starts. Readers keep
// an offset and get only whole, new records.
//
// Fields are separated by tabs and escaped (lab/tools/text_escape.h):
//
//   lines:  TIME  PID  PARENT  LOG  DESCRIPTORS  LINE
//   calls:  TIME  PID  PARENT  LOG  DESCRIPTORS  NOTE  TOOL  WORD...
//
// TIME is the node's time in seconds (the moved clock where one runs), LOG "INODE:SIZE" of the flow
// log at that moment, DESCRIPTORS the inherited descriptors above 2 as "NUMBER=TARGET" joined with
// commas. Nothing in it is the machine's own: the records of two runs of a mesh are the same.
//
// `root` is a path prefix: "" in the sandbox itself, "/proc/PID/root" from outside.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace lab {

struct RecordStamp {
    std::int64_t time = 0;                 // node seconds
    int pid = 0;                           // of the shell or tool, in the node's own numbering
    int parent = 0;                        // its parent
    std::uint64_t flow_log_inode = 0;      // which generation of the flow log was live; 0: none
    std::uint64_t flow_log_size = 0;       // its length: log bytes before this offset came earlier
    std::vector<std::string> descriptors;  // "5=/tmp/backhaul_fifo", in ascending order
};

struct LineRecord {
    RecordStamp stamp;
    std::string line;  // exactly the text after -c
};

struct CallRecord {
    RecordStamp stamp;
    std::string note;  // what the tool found worth telling, e.g. "wifi1 ath0" for an apply
    std::string tool;  // the name it was called by, without folder
    std::vector<std::string> words;
};

std::string lines_path(const std::string& root);
std::string calls_path(const std::string& root);

// One line of the file, line end included.
std::string line_record_encode(const LineRecord& record);
std::string call_record_encode(const CallRecord& record);

// The reverse, without the line end. False when the text is not such a record.
bool line_record_decode(std::string_view text, LineRecord* record);
bool call_record_decode(std::string_view text, CallRecord* record);

// Appends to `records` what was recorded from `*offset` (bytes) on and moves the offset behind the
// last whole record. Returns the number of records added, -1 when there is no file yet.
int line_records_read(const std::string& root, std::uint64_t* offset,
                      std::vector<LineRecord>* records);
int call_records_read(const std::string& root, std::uint64_t* offset,
                      std::vector<CallRecord>* records);

// All records, or all recorded texts, from the beginning.
std::vector<LineRecord> line_records(const std::string& root);
std::vector<CallRecord> call_records(const std::string& root);
std::vector<std::string> recorded_line_texts(const std::string& root);

// Tool and words with single blanks: "uci get wireless.ath0.ssid".
std::string call_text(const CallRecord& record);
std::vector<std::string> recorded_call_texts(const std::string& root);

// Forgets everything recorded. Only while nothing runs in the sandbox.
void records_clear(const std::string& root);

// The stamp of this process now. `descriptors` are those open above 2.
RecordStamp record_stamp_now(const std::string& root);

// Record one event; called by the recording shell and by the tools.
bool line_record_append(const std::string& root, const std::string& line);
bool call_record_append(const std::string& root, const std::string& note, const std::string& tool,
                        const std::vector<std::string>& words);

}  // namespace lab
