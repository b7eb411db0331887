#pragma once
// Writes one JSON document into a string; the writer keeps the commas and the nesting,
// so no caller ever edits finished text.
//
// Strings are bytes: names and paths on Linux need not be UTF-8. A string that is
// valid UTF-8 goes out as it is, with quotes, backslashes and control characters
// escaped. In one that is not, every byte outside a valid sequence becomes U+FFFD, so
// the document is always valid UTF-8 JSON that strict parsers accept (unlike lone
// surrogate escapes). pathMember() keeps such a name exact all the same: next to the
// readable text it adds "<key>Bytes", the raw bytes in lower-case hex.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace ringfold::cli {

class JsonWriter {
public:
    JsonWriter& beginObject() { return open('{'); }
    JsonWriter& endObject() { return close('}'); }
    JsonWriter& beginArray() { return open('['); }
    JsonWriter& endArray() { return close(']'); }
    /// The key of the next value inside an object.
    JsonWriter& key(std::string_view name);

    JsonWriter& string(std::string_view bytes);
    JsonWriter& integer(std::int64_t value);
    JsonWriter& boolean(bool value);
    /// A number with a fixed count of decimals.
    JsonWriter& fixed(double value, int decimals);

    /// key: text, plus key + "Bytes": hex when the bytes are not valid UTF-8.
    JsonWriter& pathMember(std::string_view name, std::string_view bytes);

    /// The document, ending in a newline; the writer is empty afterwards.
    std::string take();

private:
    JsonWriter& open(char bracket);
    JsonWriter& close(char bracket);
    // Writes the comma before a value or key when one is due.
    void separate();
    // Appends `bytes` as a string literal; returns false when a byte was replaced.
    bool quote(std::string_view bytes);

    std::string m_out;
    std::vector<bool> m_empty; // per open object or array: nothing in it yet
    bool m_afterKey = false;
};

} // namespace ringfold::cli
