// Tables for people: columns as wide as their widest cell, in colour when wanted.
//
// A function of values. Widths count characters of UTF-8 text, each taken as one column; control
// characters in cells become "?", so that no node can change the reader's terminal.
#pragma once

#include <string>
#include <vector>

namespace lab {

enum class Colour { none, green, yellow, red, grey, bold };

struct TableCell {
    std::string text;
    Colour colour = Colour::none;

    TableCell() = default;
    TableCell(std::string cell_text, Colour cell_colour = Colour::none)  // a text is a cell
        : text(std::move(cell_text)), colour(cell_colour) {}
    TableCell(const char* cell_text) : text(cell_text) {}
};

enum class Align { left, right };

struct TableColumn {
    std::string title;
    Align align = Align::left;
};

struct Table {
    std::vector<TableColumn> columns;
    std::vector<std::vector<TableCell>> rows;  // missing cells are empty, surplus ones are left out
};

// Titles, then the rows, two blanks between columns, no blanks at the ends of lines.
std::string table_text(const Table& table, bool in_colour);

// A text in colour, or as it is.
std::string coloured(const std::string& text, Colour colour, bool in_colour);

}  // namespace lab
