#include "runtime/command.h"

#include "runtime/shell_text.h"

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstdlib>

namespace {

/// Values of the own configuration that are told apart; a worker meets a few in its life.
constexpr size_t OWN_VALUES_NAMED_MAX = 64;

/// What was printed has to be out before a child could inherit a copy of it.
void stdout_flush() {
    std::fflush(stdout);
}

uint32_t hash_add(uint32_t hash, std::string_view text) {
    constexpr uint32_t PRIME = 16777619;
    for (const char c : text) {
        hash = (hash ^ static_cast<uint8_t>(c)) * PRIME;
    }
    return (hash ^ 0xFFU) * PRIME;
}

/// Whether it is the first time that `own` stands in this line.
bool own_value_is_new(const command_value& own, const char* format) {
    static std::array<std::atomic<uint32_t>, OWN_VALUES_NAMED_MAX> named;
    constexpr uint32_t SEED = 2166136261;
    uint32_t hash = hash_add(SEED, format);
    for (const std::string_view text :
         {std::string_view(own.section()), std::string_view(own.option()), own.text()}) {
        hash = hash_add(hash, text);
    }
    hash |= 1U;  // 0 is a free place
    for (auto& place : named) {
        uint32_t before = 0;
        if (place.compare_exchange_strong(before, hash, std::memory_order_relaxed)) {
            return true;
        }
        if (before == hash) {
            return false;
        }
    }
    return false;
}

void own_value_name(const command_value& own, const char* format) {
    if (own_value_is_new(own, format)) {
        std::fprintf(stderr, "%s : the shell reads wireless.%s.%s as more than text: %s\n",
                     "command_run", own.section(), own.option(), format);
    }
}

/// Writes a line from its format and its values in turn.
class LineBuilder {
public:
    LineBuilder(std::span<char> room, command_excess excess) : room_(room), excess_(excess) {}

    bool build(const char* const format, std::span<const command_value> values) {
        auto value = values.begin();
        for (const char* rest = format; *rest != '\0' && !full_; ++rest) {
            if (*rest == '%') {
                ++rest;
                value_add(*value++, format, rest + 1);
            } else {
                place_ = shell_place_after(place_, *rest);
                text_add({rest, 1});
            }
        }
        return whole_;
    }

private:
    void text_add(std::string_view text) {
        const size_t added = text.copy(room_.data() + length_, room_.size() - length_);
        length_ += added;
        full_ = added < text.size();
        whole_ = whole_ && !full_;
    }

    void value_add(const command_value& value, const char* format, std::string_view rest) {
        if (value.section() != nullptr) {
            if (shell_reads(value.text(), place_)) {
                own_value_name(value, format);
            }
            text_add(value.text());
            return;
        }
        // A text that is cut leaves room for what closes its quotes.
        const size_t left = room_.size() - length_;
        const size_t reserved = excess_ == command_excess::cut ? literal_length(rest) : 0;
        const shell_written written = shell_text(
            value.text(), place_, room_.subspan(length_, left - std::min(left, reserved)));
        length_ += written.length;
        whole_ = whole_ && written.whole;
    }

    /// Characters of the line's own text in what is left of its format.
    static size_t literal_length(std::string_view rest) {
        return rest.size() - 2 * static_cast<size_t>(std::ranges::count(rest, '%'));
    }

    std::span<char> room_;
    command_excess excess_;
    shell_place place_ = shell_place::bare;
    size_t length_ = 0;
    bool full_ = false;
    bool whole_ = true;
};

}  // namespace

bool command_build(command_line& line, size_t size, command_excess excess, const char* format,
                   std::span<const command_value> values) {
    line.fill('\0');
    return LineBuilder(std::span(line).first(std::min(size, line.size()) - 1), excess)
        .build(format, values);
}

void command_run(const char* line) {
    stdout_flush();
    [[maybe_unused]] const int status = std::system(line);
}

CommandPipe::CommandPipe(const char* line) : file_(nullptr) {
    stdout_flush();
    file_ = popen(line, "re");
}

CommandPipe::~CommandPipe() {
    if (file_ != nullptr) {
        pclose(file_);
    }
}
