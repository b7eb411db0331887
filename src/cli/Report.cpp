#include "cli/Report.h"

#include "core/model/ByteFormat.h"
#include "core/model/DisplayGrouping.h"

#include <cstdio>
#include <vector>

namespace ringfold::cli {

namespace {

std::vector<FileNode*> largestChildren(const FileNode& root, int top) {
    std::vector<FileNode*> kids(root.children().begin(), root.children().end());
    sortBySizeDescending(kids);
    if (top >= 0 && kids.size() > static_cast<std::size_t>(top))
        kids.resize(static_cast<std::size_t>(top));
    return kids;
}

std::string grouped(std::int64_t v) {
    std::string digits = std::to_string(v < 0 ? -v : v);
    std::string out;
    for (std::size_t i = 0; i < digits.size(); ++i) {
        if (i && (digits.size() - i) % 3 == 0)
            out += ',';
        out += digits[i];
    }
    return v < 0 ? "-" + out : out;
}

// Length of the valid UTF-8 sequence at s[i], or 0 when the bytes there are not one.
std::size_t utf8Length(std::string_view s, std::size_t i) {
    auto b = static_cast<unsigned char>(s[i]);
    std::size_t n = b < 0x80 ? 1 : (b >> 5) == 6 ? 2 : (b >> 4) == 14 ? 3 : (b >> 3) == 30 ? 4 : 0;
    if (n == 0 || i + n > s.size())
        return 0;
    for (std::size_t k = 1; k < n; ++k)
        if ((static_cast<unsigned char>(s[i + k]) & 0xC0) != 0x80)
            return 0;
    if (n == 2 && b < 0xC2)
        return 0; // overlong
    if (n == 3) {
        auto b1 = static_cast<unsigned char>(s[i + 1]);
        if ((b == 0xE0 && b1 < 0xA0) || (b == 0xED && b1 >= 0xA0))
            return 0; // overlong or surrogate
    }
    if (n == 4) {
        auto b1 = static_cast<unsigned char>(s[i + 1]);
        if ((b == 0xF0 && b1 < 0x90) || b > 0xF4 || (b == 0xF4 && b1 >= 0x90))
            return 0;
    }
    return n;
}

} // namespace

std::string jsonString(std::string_view text) {
    std::string out = "\"";
    for (std::size_t i = 0; i < text.size();) {
        auto c = static_cast<unsigned char>(text[i]);
        std::size_t n = utf8Length(text, i);
        if (n == 0) {
            out += "\\ufffd";
            ++i;
            continue;
        }
        if (n > 1) {
            out.append(text.substr(i, n));
            i += n;
            continue;
        }
        switch (c) {
        case '"': out += "\\\""; break;
        case '\\': out += "\\\\"; break;
        case '\n': out += "\\n"; break;
        case '\r': out += "\\r"; break;
        case '\t': out += "\\t"; break;
        default:
            if (c < 0x20) {
                char buf[8];
                std::snprintf(buf, sizeof buf, "\\u%04x", c);
                out += buf;
            } else {
                out += static_cast<char>(c);
            }
        }
        ++i;
    }
    out += '"';
    return out;
}

std::string textReport(const ReportData& d) {
    const FileNode& root = *d.result->root;
    const SpaceAccounting& a = d.result->accounting;
    char line[512];
    std::string out;
    auto add = [&](const char* fmt, auto... args) {
        std::snprintf(line, sizeof line, fmt, args...);
        out += line;
    };
    add("%s\n", d.path.c_str());
    add("  Allocated    %s (logical %s)\n", formatBinary(root.allocatedSize()).c_str(),
        formatBinary(root.logicalSize()).c_str());
    add("  Items        %s\n", grouped(d.items).c_str());
    add("  Restricted   %s\n", grouped(a.restrictedPathCount).c_str());
    add("  Shared       %s streams counted once\n", grouped(d.sharedStreams).c_str());
    if (a.volumeTotalCapacity > 0)
        add("  Volume       %s total, %s free\n", formatBinary(a.volumeTotalCapacity).c_str(),
            formatBinary(a.volumeAvailableCapacity).c_str());
    else
        add("  Volume       capacity unknown\n");
    add("  Time         %.2f s\n", d.seconds);
    auto kids = largestChildren(root, d.top);
    if (!kids.empty()) {
        out += "\nLargest items:\n";
        for (FileNode* k : kids) {
            std::string name(k->name());
            for (char& ch : name)
                if (static_cast<unsigned char>(ch) < 0x20)
                    ch = '?';
            if (k->isDirectory())
                name += '/';
            add("  %12s  %s%s\n", formatBinary(k->allocatedSize()).c_str(), name.c_str(),
                k->isRestricted() ? "  (restricted)" : "");
        }
    }
    return out;
}

std::string jsonReport(const ReportData& d) {
    const FileNode& root = *d.result->root;
    const SpaceAccounting& a = d.result->accounting;
    std::string out = "{";
    auto num = [&](const char* key, std::int64_t v, bool comma = true) {
        out += jsonString(key) + ": " + std::to_string(v) + (comma ? ", " : "");
    };
    out += "\"path\": " + jsonString(d.path) + ", ";
    num("items", d.items);
    num("allocatedSize", root.allocatedSize());
    num("logicalSize", root.logicalSize());
    num("restrictedPathCount", a.restrictedPathCount);
    out += std::string("\"rootRestricted\": ") + (root.isRestricted() ? "true" : "false") + ", ";
    num("sharedStreams", d.sharedStreams);
    num("volumeTotalCapacity", a.volumeTotalCapacity);
    num("volumeAvailableCapacity", a.volumeAvailableCapacity);
    char secs[32];
    std::snprintf(secs, sizeof secs, "%.3f", d.seconds);
    out += std::string("\"seconds\": ") + secs + ", \"top\": [";
    bool first = true;
    for (FileNode* k : largestChildren(root, d.top)) {
        if (!first)
            out += ", ";
        first = false;
        out += "{\"name\": " + jsonString(k->name()) + ", ";
        out += "\"allocatedSize\": " + std::to_string(k->allocatedSize()) + ", ";
        out += "\"logicalSize\": " + std::to_string(k->logicalSize()) + ", ";
        out += std::string("\"isDirectory\": ") + (k->isDirectory() ? "true" : "false") + "}";
    }
    out += "]}\n";
    return out;
}

} // namespace ringfold::cli
