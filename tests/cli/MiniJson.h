#pragma once
// A strict little JSON reader for checking the scanner's reports in tests: objects keep
// their key order and duplicates (so tests can spot them), numbers keep their text, and
// \u escapes (the scanner writes only BMP ones) become UTF-8. Anything malformed throws
// std::runtime_error with the offset, so a broken report fails loudly.

#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace ringfold::test {

struct Json {
    enum class Type { null, boolean, number, string, array, object };
    Type type = Type::null;
    bool boolean = false;
    std::string text; // the string's value, or the number as written
    std::vector<Json> items;
    std::vector<std::pair<std::string, Json>> members;

    const Json* find(const std::string& key) const {
        for (const auto& m : members)
            if (m.first == key)
                return &m.second;
        return nullptr;
    }
    bool has(const std::string& key) const { return find(key) != nullptr; }
    const Json& operator[](const std::string& key) const {
        if (const Json* j = find(key))
            return *j;
        throw std::runtime_error("no key " + key);
    }
    std::int64_t integer() const {
        if (type != Type::number || text.find_first_of(".eE") != std::string::npos)
            throw std::runtime_error("not an integer: " + text);
        return std::stoll(text);
    }
    double real() const {
        if (type != Type::number)
            throw std::runtime_error("not a number");
        return std::stod(text);
    }

    static Json parse(const std::string& source) {
        Parser p{source};
        Json v = p.value(0);
        p.space();
        if (p.pos != source.size())
            p.fail("trailing text");
        return v;
    }

private:
    struct Parser {
        const std::string& s;
        std::size_t pos = 0;

        [[noreturn]] void fail(const char* what) const {
            throw std::runtime_error(std::string("JSON: ") + what + " at offset " +
                                     std::to_string(pos));
        }
        void space() {
            while (pos < s.size() && s[pos] && std::strchr(" \n\r\t", s[pos]))
                ++pos;
        }
        char peek() { return pos < s.size() ? s[pos] : '\0'; }
        bool eat(char c) {
            space();
            if (peek() != c)
                return false;
            ++pos;
            return true;
        }
        void expect(char c) {
            if (!eat(c))
                fail("unexpected character");
        }
        bool literal(const char* word) {
            const std::size_t n = std::strlen(word);
            if (s.compare(pos, n, word) != 0)
                return false;
            pos += n;
            return true;
        }
        Json value(int depth) {
            if (depth > 64)
                fail("nested too deeply");
            space();
            Json v;
            if (eat('{')) {
                v.type = Type::object;
                if (eat('}'))
                    return v;
                do {
                    std::string key = string();
                    expect(':');
                    v.members.emplace_back(std::move(key), value(depth + 1));
                } while (eat(','));
                expect('}');
            } else if (eat('[')) {
                v.type = Type::array;
                if (eat(']'))
                    return v;
                do
                    v.items.push_back(value(depth + 1));
                while (eat(','));
                expect(']');
            } else if (peek() == '"') {
                v.type = Type::string;
                v.text = string();
            } else if (literal("true")) {
                v.type = Type::boolean;
                v.boolean = true;
            } else if (literal("false")) {
                v.type = Type::boolean;
            } else if (!literal("null")) {
                v = number();
            }
            return v;
        }
        void digits() {
            const std::size_t start = pos;
            while (peek() >= '0' && peek() <= '9')
                ++pos;
            if (pos == start)
                fail("digit expected");
        }
        Json number() {
            const std::size_t start = pos;
            if (peek() == '-')
                ++pos;
            if (peek() == '0')
                ++pos;
            else
                digits();
            if (peek() == '.' && ++pos)
                digits();
            if ((peek() == 'e' || peek() == 'E') && ++pos) {
                if (peek() == '+' || peek() == '-')
                    ++pos;
                digits();
            }
            Json v;
            v.type = Type::number;
            v.text = s.substr(start, pos - start);
            return v;
        }
        std::string string() {
            expect('"');
            std::string out;
            for (;;) {
                if (pos >= s.size())
                    fail("unterminated string");
                const auto c = static_cast<unsigned char>(s[pos++]);
                if (c == '"')
                    return out;
                if (c < 0x20)
                    fail("raw control character in string");
                if (c != '\\') {
                    out += char(c);
                    continue;
                }
                static const char kFrom[] = "\"\\/bfnrt", kTo[] = "\"\\/\b\f\n\r\t";
                const char e = peek();
                ++pos;
                if (const char* m = e ? std::strchr(kFrom, e) : nullptr) {
                    out += kTo[m - kFrom];
                } else if (e == 'u') {
                    const std::string hex = s.substr(pos, 4);
                    if (hex.size() != 4 ||
                        hex.find_first_not_of("0123456789abcdefABCDEF") != std::string::npos)
                        fail("bad \\u escape");
                    const auto cp = unsigned(std::stoul(hex, nullptr, 16));
                    if (cp >= 0xD800 && cp < 0xE000)
                        fail("surrogate in \\u escape");
                    pos += 4;
                    if (cp < 0x80) {
                        out += char(cp);
                    } else if (cp < 0x800) {
                        out += char(0xC0 | (cp >> 6));
                        out += char(0x80 | (cp & 0x3F));
                    } else {
                        out += char(0xE0 | (cp >> 12));
                        out += char(0x80 | ((cp >> 6) & 0x3F));
                        out += char(0x80 | (cp & 0x3F));
                    }
                } else {
                    fail("unknown escape");
                }
            }
        }
    };
};

} // namespace ringfold::test
