#include "device/approval_list.h"

#include "runtime/file_io.h"

#include <cstdio>
#include <string_view>

namespace {

constexpr size_t APPROVAL_LINE_SIZE = 64;

/// The list, line by line.
class ApprovalReader {
public:
    ApprovalReader() : file_(APPROVAL_LIST_PATH, "r") {}
    bool is_open() const {
        return static_cast<bool>(file_);
    }
    /// Scans the next line over `line`; false at the end.
    bool next(approval_line& line) {
        if (!file_next_piece(file_.get(), text_)) {
            return false;
        }
        approval_line_scan(text_.data(), line);
        return true;
    }

private:
    File file_;
    std::array<char, APPROVAL_LINE_SIZE> text_{};
};

}  // namespace

void approval_line_scan(const char* text, approval_line& line) {
    static_assert(APPROVAL_MODEL_SIZE == 16, "the scan format below states one less");
    // A line may lack its last columns while the entry is being completed.
    static_cast<void>(std::sscanf(text, "%*s %hhu %15s", &line.approved, line.model.data()));
}

approval_readiness approval_list_readiness() {
    ApprovalReader reader;
    if (!reader.is_open()) {
        return approval_readiness::missing;
    }
    // The flag is carried from line to line, the model is not.
    approval_line line;
    while (reader.next(line)) {
        if (line.approved != 0 && line.model[0] == '\0') {
            return approval_readiness::not_ready;
        }
        line.model.fill('\0');
    }
    return approval_readiness::ready;
}

int approval_list_approved_count() {
    ApprovalReader reader;
    if (!reader.is_open()) {
        return 0;
    }
    // The flag is carried: a line without one repeats the verdict of the line before.
    approval_line line;
    int count = 0;
    while (reader.next(line)) {
        count += line.approved != 0 ? 1 : 0;
    }
    return count;
}

bool approval_list_model_approved() {
    ApprovalReader reader;
    if (!reader.is_open()) {
        return false;
    }
    approval_line line;
    while (reader.next(line)) {
        if (line.approved != 0 && std::string_view(line.model.data()) == APPROVAL_MODEL_STEERING) {
            return true;
        }
        line = approval_line{};
    }
    return false;
}
