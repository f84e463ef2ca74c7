#include "tests/contract/printf_form.h"

#include <algorithm>
#include <array>
#include <utility>

namespace contract {
namespace {

struct Conversion {
    std::string_view text;
    PieceKind kind;
};

constexpr std::array<Conversion, 7> CONVERSIONS = {{
    {"%s", PieceKind::text},
    {"%d", PieceKind::signed_number},
    {"%u", PieceKind::unsigned_number},
    {"%hhu", PieceKind::unsigned_number},
    {"%.2x", PieceKind::hex_byte},
    {"%02hhx", PieceKind::hex_byte},
    {"%f", PieceKind::fraction},
}};
constexpr size_t FRACTION_DIGITS = 6;

bool is_digit(char one) {
    return one >= '0' && one <= '9';
}

size_t digits(std::string_view text) {
    const auto* end = std::find_if_not(text.begin(), text.end(), is_digit);
    return static_cast<size_t>(end - text.begin());
}

size_t signed_length(std::string_view text) {
    const size_t sign = text.substr(0, 1) == "-" ? 1 : 0;
    const size_t length = digits(text.substr(sign));
    return length == 0 ? 0 : sign + length;
}

size_t fraction_length(std::string_view text) {
    const size_t whole = signed_length(text);
    const std::string_view rest = text.substr(whole);
    const bool fits = whole > 0 && rest.substr(0, 1) == "." &&
                      digits(rest.substr(1, FRACTION_DIGITS)) == FRACTION_DIGITS;
    return fits ? whole + 1 + FRACTION_DIGITS : 0;
}

size_t hex_byte_length(std::string_view text) {
    const std::string_view two = text.substr(0, 2);
    const bool fits =
        two.size() == 2 && two.find_first_not_of("0123456789abcdef") == std::string_view::npos;
    return fits ? 2 : 0;
}

// Characters at the front of `text` that the piece stands for; 0 for none. Not for TEXT, of which
// there are many.
size_t piece_length(const Piece& piece, std::string_view text) {
    switch (piece.kind) {
        case PieceKind::signed_number:
            return signed_length(text);
        case PieceKind::unsigned_number:
            return digits(text);
        case PieceKind::hex_byte:
            return hex_byte_length(text);
        case PieceKind::fraction:
            return fraction_length(text);
        case PieceKind::literal:
            return text.substr(0, piece.literal.size()) == piece.literal ? piece.literal.size() : 0;
        case PieceKind::text:
            break;
    }
    return 0;
}

bool gives(const Form& form, size_t at, std::string_view text, bool whole) {
    if (at == form.size()) {
        return !whole || text.empty();
    }
    if (form[at].kind != PieceKind::text) {
        const size_t length = piece_length(form[at], text);
        return length > 0 && gives(form, at + 1, text.substr(length), whole);
    }
    const size_t line_end = std::min(text.find('\n'), text.size());
    for (size_t length = 0; length <= line_end; ++length) {
        if (gives(form, at + 1, text.substr(length), whole)) {
            return true;
        }
    }
    return false;
}

void literal_add(Form& form, std::string_view text) {
    if (form.empty() || form.back().kind != PieceKind::literal) {
        form.push_back({});
    }
    form.back().literal += text;
}

}  // namespace

Form form_read(std::string_view printf_text) {
    Form form;
    while (!printf_text.empty()) {
        const auto begins = [&](const Conversion& one) {
            return printf_text.substr(0, one.text.size()) == one.text;
        };
        const auto* known = std::find_if(CONVERSIONS.begin(), CONVERSIONS.end(), begins);
        if (known != CONVERSIONS.end()) {
            form.push_back({known->kind, {}});
            printf_text.remove_prefix(known->text.size());
        } else if (printf_text[0] == '%') {
            return {};
        } else {
            literal_add(form, printf_text.substr(0, 1));
            printf_text.remove_prefix(1);
        }
    }
    return form;
}

Form form_named(Form form, const std::string& word) {
    const auto is_text = [](const Piece& piece) {
        return piece.kind == PieceKind::text;
    };
    const auto first = std::find_if(form.begin(), form.end(), is_text);
    if (first != form.end()) {
        *first = {PieceKind::literal, word};
    }
    return form;
}

bool form_gives(const Form& form, std::string_view text) {
    return gives(form, 0, text, true);
}

bool form_begins(const Form& form, std::string_view text) {
    return gives(form, 0, text, false);
}

}  // namespace contract
