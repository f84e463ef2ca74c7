#pragma once

// The approval list "/tmp/ApplicationData/Approvelist" as the access point policy reads it: which
// nodes are approved and of what model. Parsing is a function of one line; root loop and socket
// thread read the file.

#include <array>
#include <cstddef>

inline constexpr char APPROVAL_LIST_PATH[] = "/tmp/ApplicationData/Approvelist";
inline constexpr char APPROVAL_MODEL_STEERING[] = "MRX70";
inline constexpr size_t APPROVAL_MODEL_SIZE = 16;

/// Columns of a line; what a line lacks keeps its value, so the caller clears what must not be
/// carried from line to line.
struct approval_line {
    unsigned char approved = 0;
    std::array<char, APPROVAL_MODEL_SIZE> model{};
};

/// Scans "identifier flag model" over `line`.
void approval_line_scan(const char* text, approval_line& line);

enum class approval_readiness {
    missing,    ///< the list cannot be opened
    not_ready,  ///< an approved line still lacks its model
    ready,
};

/// Whether every approved line has its model.
approval_readiness approval_list_readiness();

/// Number of approved lines, 0 when the list is missing.
int approval_list_approved_count();

/// Whether an approved line names the model that wants the companion access points.
bool approval_list_model_approved();
