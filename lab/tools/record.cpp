#include "lab/tools/record.h"

#include <charconv>

#include "lab/tools/small_file.h"
#include "lab/tools/text_escape.h"

namespace lab {
namespace {

constexpr std::size_t STAMP_FIELDS = 5;

template <typename Number>
bool number_decode(std::string_view text, Number* number) {
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), *number);
    return error == std::errc{} && end == text.data() + text.size();
}

std::string stamp_encode(const RecordStamp& stamp) {
    std::string descriptors;
    for (const std::string& descriptor : stamp.descriptors) {
        descriptors.append(descriptors.empty() ? "" : ",").append(text_escape(descriptor, ","));
    }
    return std::to_string(stamp.time) + "\t" + std::to_string(stamp.pid) + "\t" +
           std::to_string(stamp.parent) + "\t" + std::to_string(stamp.flow_log_inode) + ":" +
           std::to_string(stamp.flow_log_size) + "\t" + descriptors;
}

bool stamp_decode(const std::vector<std::string_view>& fields, RecordStamp* stamp) {
    const std::vector<std::string_view> log = text_split(fields[3], ':');
    if (log.size() != 2 || !number_decode(fields[0], &stamp->time) ||
        !number_decode(fields[1], &stamp->pid) || !number_decode(fields[2], &stamp->parent) ||
        !number_decode(log[0], &stamp->flow_log_inode) ||
        !number_decode(log[1], &stamp->flow_log_size)) {
        return false;
    }
    stamp->descriptors.clear();
    if (!fields[4].empty()) {
        for (const std::string_view piece : text_split(fields[4], ',')) {
            stamp->descriptors.push_back(text_unescape(piece));
        }
    }
    return true;
}

// Reads the whole lines behind `*offset` and hands each to `decode`.
template <typename Record>
int records_read(const std::string& path, std::uint64_t* offset, std::vector<Record>* records,
                 bool (*decode)(std::string_view, Record*)) {
    if (*offset > file_size(path)) {
        *offset = 0;
    }
    std::string content;
    if (!file_read_from(path, *offset, &content)) {
        return -1;
    }
    int count = 0;
    std::string_view rest = content;
    for (std::size_t end = rest.find('\n'); end != std::string_view::npos; end = rest.find('\n')) {
        Record record;
        if (decode(rest.substr(0, end), &record)) {
            records->push_back(record);
            ++count;
        }
        rest.remove_prefix(end + 1);
        *offset += end + 1;
    }
    return count;
}

}  // namespace

std::string lines_path(const std::string& root) {
    return root + "/run/lab/record/lines";
}

std::string calls_path(const std::string& root) {
    return root + "/run/lab/record/calls";
}

std::string line_record_encode(const LineRecord& record) {
    return stamp_encode(record.stamp) + "\t" + text_escape(record.line) + "\n";
}

std::string call_record_encode(const CallRecord& record) {
    std::string text =
        stamp_encode(record.stamp) + "\t" + text_escape(record.note) + "\t" + record.tool;
    for (const std::string& word : record.words) {
        text.append("\t").append(text_escape(word));
    }
    return text + "\n";
}

bool line_record_decode(std::string_view text, LineRecord* record) {
    const std::vector<std::string_view> fields = text_split(text, '\t');
    if (fields.size() != STAMP_FIELDS + 1 || !stamp_decode(fields, &record->stamp)) {
        return false;
    }
    record->line = text_unescape(fields[STAMP_FIELDS]);
    return true;
}

bool call_record_decode(std::string_view text, CallRecord* record) {
    const std::vector<std::string_view> fields = text_split(text, '\t');
    if (fields.size() < STAMP_FIELDS + 2 || !stamp_decode(fields, &record->stamp)) {
        return false;
    }
    record->note = text_unescape(fields[STAMP_FIELDS]);
    record->tool = fields[STAMP_FIELDS + 1];
    record->words.clear();
    for (std::size_t at = STAMP_FIELDS + 2; at < fields.size(); ++at) {
        record->words.push_back(text_unescape(fields[at]));
    }
    return true;
}

int line_records_read(const std::string& root, std::uint64_t* offset,
                      std::vector<LineRecord>* records) {
    return records_read(lines_path(root), offset, records, line_record_decode);
}

int call_records_read(const std::string& root, std::uint64_t* offset,
                      std::vector<CallRecord>* records) {
    return records_read(calls_path(root), offset, records, call_record_decode);
}

std::vector<LineRecord> line_records(const std::string& root) {
    std::vector<LineRecord> records;
    std::uint64_t offset = 0;
    line_records_read(root, &offset, &records);
    return records;
}

std::vector<CallRecord> call_records(const std::string& root) {
    std::vector<CallRecord> records;
    std::uint64_t offset = 0;
    call_records_read(root, &offset, &records);
    return records;
}

std::vector<std::string> recorded_line_texts(const std::string& root) {
    std::vector<std::string> texts;
    for (const LineRecord& record : line_records(root)) {
        texts.push_back(record.line);
    }
    return texts;
}

std::string call_text(const CallRecord& record) {
    return record.words.empty() ? record.tool : record.tool + " " + text_join(record.words, " ");
}

std::vector<std::string> recorded_call_texts(const std::string& root) {
    std::vector<std::string> texts;
    for (const CallRecord& record : call_records(root)) {
        texts.push_back(call_text(record));
    }
    return texts;
}

void records_clear(const std::string& root) {
    file_remove(lines_path(root));
    file_remove(calls_path(root));
}

}  // namespace lab
