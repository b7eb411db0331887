#pragma once
// A strict little JSON reader for checking the scanner's reports in tests: objects keep
// their key order (duplicates are kept, so tests can spot them), numbers keep their
// text, and \u escapes (with surrogate pairs) become UTF-8. Anything malformed throws
// std::runtime_error with the offset, so a broken report fails loudly.

#include <cstdint>
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

    bool has(const std::string& key) const { return find(key) != nullptr; }
    const Json* find(const std::string& key) const {
        for (const auto& m : members)
            if (m.first == key)
                return &m.second;
        return nullptr;
    }
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
    std::vector<std::string> keys() const {
        std::vector<std::string> k;
        for (const auto& m : members)
            k.push_back(m.first);
        return k;
    }

    static Json parse(const std::string& source) {
        Parser p{source, 0};
        p.space();
        Json v = p.value(0);
        p.space();
        if (p.pos != source.size())
            p.fail("trailing text");
        return v;
    }

private:
    struct Parser {
        const std::string& s;
        std::size_t pos;

        [[noreturn]] void fail(const char* what) const {
            throw std::runtime_error(std::string("JSON: ") + what + " at offset " +
                                     std::to_string(pos));
        }
        void space() {
            while (pos < s.size() &&
                   (s[pos] == ' ' || s[pos] == '\n' || s[pos] == '\r' || s[pos] == '\t'))
                ++pos;
        }
        void expect(char c) {
            if (pos >= s.size() || s[pos] != c)
                fail("unexpected character");
            ++pos;
        }
        bool literal(const char* word) {
            std::size_t n = std::char_traits<char>::length(word);
            if (s.compare(pos, n, word) != 0)
                return false;
            pos += n;
            return true;
        }
        Json value(int depth) {
            if (depth > 64)
                fail("nested too deeply");
            if (pos >= s.size())
                fail("unexpected end");
            Json v;
            char c = s[pos];
            if (c == '{') {
                v.type = Type::object;
                ++pos;
                space();
                if (pos < s.size() && s[pos] == '}') {
                    ++pos;
                    return v;
                }
                for (;;) {
                    space();
                    std::string key = string();
                    space();
                    expect(':');
                    space();
                    v.members.emplace_back(std::move(key), value(depth + 1));
                    space();
                    if (pos < s.size() && s[pos] == ',') {
                        ++pos;
                        continue;
                    }
                    expect('}');
                    return v;
                }
            }
            if (c == '[') {
                v.type = Type::array;
                ++pos;
                space();
                if (pos < s.size() && s[pos] == ']') {
                    ++pos;
                    return v;
                }
                for (;;) {
                    space();
                    v.items.push_back(value(depth + 1));
                    space();
                    if (pos < s.size() && s[pos] == ',') {
                        ++pos;
                        continue;
                    }
                    expect(']');
                    return v;
                }
            }
            if (c == '"') {
                v.type = Type::string;
                v.text = string();
                return v;
            }
            if (literal("true")) {
                v.type = Type::boolean;
                v.boolean = true;
                return v;
            }
            if (literal("false")) {
                v.type = Type::boolean;
                return v;
            }
            if (literal("null"))
                return v;
            return number();
        }
        Json number() {
            std::size_t start = pos;
            if (pos < s.size() && s[pos] == '-')
                ++pos;
            auto digits = [&] {
                std::size_t d = pos;
                while (pos < s.size() && s[pos] >= '0' && s[pos] <= '9')
                    ++pos;
                if (pos == d)
                    fail("digit expected");
            };
            if (pos < s.size() && s[pos] == '0')
                ++pos;
            else
                digits();
            if (pos < s.size() && s[pos] == '.') {
                ++pos;
                digits();
            }
            if (pos < s.size() && (s[pos] == 'e' || s[pos] == 'E')) {
                ++pos;
                if (pos < s.size() && (s[pos] == '+' || s[pos] == '-'))
                    ++pos;
                digits();
            }
            Json v;
            v.type = Type::number;
            v.text = s.substr(start, pos - start);
            return v;
        }
        unsigned hex4() {
            if (pos + 4 > s.size())
                fail("short \\u escape");
            unsigned v = 0;
            for (int i = 0; i < 4; ++i) {
                char c = s[pos++];
                v <<= 4;
                if (c >= '0' && c <= '9')
                    v |= unsigned(c - '0');
                else if (c >= 'a' && c <= 'f')
                    v |= unsigned(c - 'a' + 10);
                else if (c >= 'A' && c <= 'F')
                    v |= unsigned(c - 'A' + 10);
                else
                    fail("bad hex digit");
            }
            return v;
        }
        static void appendUtf8(std::string& out, unsigned cp) {
            if (cp < 0x80) {
                out += char(cp);
            } else if (cp < 0x800) {
                out += char(0xC0 | (cp >> 6));
                out += char(0x80 | (cp & 0x3F));
            } else if (cp < 0x10000) {
                out += char(0xE0 | (cp >> 12));
                out += char(0x80 | ((cp >> 6) & 0x3F));
                out += char(0x80 | (cp & 0x3F));
            } else {
                out += char(0xF0 | (cp >> 18));
                out += char(0x80 | ((cp >> 12) & 0x3F));
                out += char(0x80 | ((cp >> 6) & 0x3F));
                out += char(0x80 | (cp & 0x3F));
            }
        }
        std::string string() {
            expect('"');
            std::string out;
            for (;;) {
                if (pos >= s.size())
                    fail("unterminated string");
                auto c = static_cast<unsigned char>(s[pos++]);
                if (c == '"')
                    return out;
                if (c < 0x20)
                    fail("raw control character in string");
                if (c != '\\') {
                    out += char(c);
                    continue;
                }
                if (pos >= s.size())
                    fail("unterminated escape");
                char e = s[pos++];
                switch (e) {
                case '"':
                    out += '"';
                    break;
                case '\\':
                    out += '\\';
                    break;
                case '/':
                    out += '/';
                    break;
                case 'b':
                    out += '\b';
                    break;
                case 'f':
                    out += '\f';
                    break;
                case 'n':
                    out += '\n';
                    break;
                case 'r':
                    out += '\r';
                    break;
                case 't':
                    out += '\t';
                    break;
                case 'u': {
                    unsigned cp = hex4();
                    if (cp >= 0xD800 && cp < 0xDC00) {
                        if (!literal("\\u"))
                            fail("lone high surrogate");
                        unsigned lo = hex4();
                        if (lo < 0xDC00 || lo >= 0xE000)
                            fail("bad low surrogate");
                        cp = 0x10000 + ((cp - 0xD800) << 10) + (lo - 0xDC00);
                    } else if (cp >= 0xDC00 && cp < 0xE000) {
                        fail("lone low surrogate");
                    }
                    appendUtf8(out, cp);
                    break;
                }
                default:
                    fail("unknown escape");
                }
            }
        }
    };
};

} // namespace ringfold::test
