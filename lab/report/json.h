// Writes JSON, piece by piece, into a text.
//
//   JsonWriter json;
//   json.object_begin();
//   json.key("nodes").array_begin();
//   json.value("e1");
//   json.array_end();
//   json.object_end();
//   json.text();   // {"nodes":["e1"]}
//
// Commas come by themselves; that begins and ends match and that every value in an object has a
// key is the caller's care. Bytes that are no UTF-8 become U+FFFD, so that the text is always
// valid, whatever a node wrote into its files.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace lab {

class JsonWriter {
public:
    JsonWriter& object_begin();
    JsonWriter& object_end();
    JsonWriter& array_begin();
    JsonWriter& array_end();
    JsonWriter& key(std::string_view name);
    JsonWriter& value(std::string_view text);
    JsonWriter& value(const char* text);
    JsonWriter& value(std::int64_t number);
    JsonWriter& value(int number);
    JsonWriter& value(bool truth);
    JsonWriter& null();

    const std::string& text() const {
        return text_;
    }

private:
    void separate();
    JsonWriter& begin(char bracket);
    JsonWriter& end(char bracket);

    std::string text_;
    bool first_ = true;   // nothing stands before in this object or array
    bool keyed_ = false;  // a key waits for its value
};

// The text in double quotes, escaped.
std::string json_quoted(std::string_view text);

}  // namespace lab
