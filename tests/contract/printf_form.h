// A printf form as data: which lines it can have produced.
//
// Functions of values. Known conversions are those of the daemon's texts: %s, %d, %u, %hhu, %f and
// hexadecimal bytes (%.2x, %02hhx). A form with any other one is refused.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace contract {

enum class PieceKind { literal, text, signed_number, unsigned_number, hex_byte, fraction };

struct Piece {
    PieceKind kind = PieceKind::literal;
    std::string literal;
};

using Form = std::vector<Piece>;

// Empty when the form is none.
Form form_read(std::string_view printf_text);

// The form with its first %s filled with `word`.
Form form_named(Form form, const std::string& word);

// Whether printing the form can give exactly `text`. A %s stands for anything within a line.
bool form_gives(const Form& form, std::string_view text);
// Whether `text` begins with what printing the form gives.
bool form_begins(const Form& form, std::string_view text);

}  // namespace contract
