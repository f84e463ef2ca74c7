#include "lab/report/table.h"

#include <algorithm>

namespace lab {
namespace {

constexpr unsigned char FIRST_PRINTABLE = 0x20;
constexpr unsigned char DELETE = 0x7F;
constexpr unsigned char CONTINUATION_MASK = 0xC0;
constexpr unsigned char CONTINUATION = 0x80;
constexpr char COLUMN_GAP[] = "  ";

std::string printable(const std::string& text) {
    std::string clean = text;
    for (char& letter : clean) {
        const auto byte = static_cast<unsigned char>(letter);
        letter = byte < FIRST_PRINTABLE || byte == DELETE ? '?' : letter;
    }
    return clean;
}

std::size_t width_of(const std::string& text) {
    return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char letter) {
        return (static_cast<unsigned char>(letter) & CONTINUATION_MASK) != CONTINUATION;
    }));
}

const char* code_of(Colour colour) {
    switch (colour) {
        case Colour::green:
            return "\033[32m";
        case Colour::yellow:
            return "\033[33m";
        case Colour::red:
            return "\033[31m";
        case Colour::grey:
            return "\033[90m";
        case Colour::bold:
            return "\033[1m";
        case Colour::none:
            break;
    }
    return "";
}

using Row = std::vector<TableCell>;

std::string row_text(const Table& table, const Row& row, const std::vector<std::size_t>& widths,
                     bool in_colour) {
    std::string text;
    std::size_t owed = 0;  // blanks before the next text that is not empty
    for (std::size_t column = 0; column < table.columns.size(); ++column) {
        const TableCell cell = column < row.size() ? row[column] : TableCell{};
        const std::string clean = printable(cell.text);
        const std::size_t pad = widths[column] - width_of(clean);
        const bool right = table.columns[column].align == Align::right;
        owed += right ? pad : 0;
        if (!clean.empty()) {
            text.append(owed, ' ').append(coloured(clean, cell.colour, in_colour));
            owed = 0;
        }
        owed += (right ? 0 : pad) + std::string_view(COLUMN_GAP).size();
    }
    return text + "\n";
}

}  // namespace

std::string coloured(const std::string& text, Colour colour, bool in_colour) {
    if (!in_colour || colour == Colour::none) {
        return text;
    }
    return code_of(colour) + text + "\033[0m";
}

std::string table_text(const Table& table, bool in_colour) {
    std::vector<std::size_t> widths;
    Row titles;
    for (const TableColumn& column : table.columns) {
        widths.push_back(width_of(printable(column.title)));
        titles.emplace_back(column.title, Colour::bold);
    }
    for (const Row& row : table.rows) {
        for (std::size_t column = 0; column < std::min(row.size(), widths.size()); ++column) {
            widths[column] = std::max(widths[column], width_of(printable(row[column].text)));
        }
    }
    std::string text = row_text(table, titles, widths, in_colour);
    for (const Row& row : table.rows) {
        text += row_text(table, row, widths, in_colour);
    }
    return text;
}

}  // namespace lab
