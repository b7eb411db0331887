#include "cli/JsonWriter.h"

#include <cstdio>

namespace ringfold::cli {

namespace {

// Length of the valid UTF-8 sequence at s[i], or 0 when the bytes there are not one
// (overlong forms, surrogates and code points above U+10FFFF are not).
std::size_t utf8Length(std::string_view s, std::size_t i) {
    const auto b = static_cast<unsigned char>(s[i]);
    const std::size_t n = b < 0x80   ? 1
                          : b < 0xC2 ? 0
                          : b < 0xE0 ? 2
                          : b < 0xF0 ? 3
                          : b < 0xF5 ? 4
                                     : 0;
    if (n == 0 || i + n > s.size())
        return 0;
    for (std::size_t k = 1; k < n; ++k)
        if ((static_cast<unsigned char>(s[i + k]) & 0xC0) != 0x80)
            return 0;
    const auto b1 = n > 1 ? static_cast<unsigned char>(s[i + 1]) : 0;
    if ((b == 0xE0 && b1 < 0xA0) || (b == 0xED && b1 >= 0xA0) || (b == 0xF0 && b1 < 0x90) ||
        (b == 0xF4 && b1 >= 0x90))
        return 0;
    return n;
}

} // namespace

JsonWriter& JsonWriter::open(char bracket) {
    separate();
    m_out += bracket;
    m_empty.push_back(true);
    return *this;
}

JsonWriter& JsonWriter::close(char bracket) {
    m_out += bracket;
    m_empty.pop_back();
    return *this;
}

void JsonWriter::separate() {
    if (m_afterKey) {
        m_afterKey = false;
        return;
    }
    if (!m_empty.empty()) {
        if (!m_empty.back())
            m_out += ", ";
        m_empty.back() = false;
    }
}

JsonWriter& JsonWriter::key(std::string_view name) {
    separate();
    quote(name);
    m_out += ": ";
    m_afterKey = true;
    return *this;
}

JsonWriter& JsonWriter::string(std::string_view bytes) {
    separate();
    quote(bytes);
    return *this;
}

JsonWriter& JsonWriter::integer(std::int64_t value) {
    separate();
    m_out += std::to_string(value);
    return *this;
}

JsonWriter& JsonWriter::boolean(bool value) {
    separate();
    m_out += value ? "true" : "false";
    return *this;
}

JsonWriter& JsonWriter::fixed(double value, int decimals) {
    separate();
    char buf[64];
    std::snprintf(buf, sizeof buf, "%.*f", decimals, value);
    m_out += buf;
    return *this;
}

JsonWriter& JsonWriter::pathMember(std::string_view name, std::string_view bytes) {
    key(name);
    separate();
    if (quote(bytes))
        return *this;
    key(std::string(name) + "Bytes");
    separate();
    std::string hex;
    static const char digits[] = "0123456789abcdef";
    for (unsigned char c : bytes)
        (hex += digits[c >> 4]) += digits[c & 15];
    quote(hex);
    return *this;
}

bool JsonWriter::quote(std::string_view text) {
    bool exact = true;
    m_out += '"';
    for (std::size_t i = 0; i < text.size();) {
        const auto c = static_cast<unsigned char>(text[i]);
        const std::size_t n = utf8Length(text, i);
        if (n == 0) {
            m_out += "\\ufffd";
            exact = false;
            ++i;
            continue;
        }
        if (n > 1) {
            m_out.append(text.substr(i, n));
            i += n;
            continue;
        }
        ++i;
        switch (c) {
        case '"':
            m_out += "\\\"";
            break;
        case '\\':
            m_out += "\\\\";
            break;
        case '\n':
            m_out += "\\n";
            break;
        case '\r':
            m_out += "\\r";
            break;
        case '\t':
            m_out += "\\t";
            break;
        default:
            if (c < 0x20 || c == 0x7F) {
                char buf[8];
                std::snprintf(buf, sizeof buf, "\\u%04x", c);
                m_out += buf;
            } else {
                m_out += static_cast<char>(c);
            }
        }
    }
    m_out += '"';
    return exact;
}

std::string JsonWriter::take() {
    std::string out = std::move(m_out);
    m_out.clear();
    m_empty.clear();
    m_afterKey = false;
    return out + "\n";
}

} // namespace ringfold::cli
