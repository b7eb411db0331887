#include "cli/Report.h"

#include "cli/JsonWriter.h"
#include "cli/JunkReport.h"

#include "core/model/ByteFormat.h"
#include "core/model/DisplayGrouping.h"

#include <algorithm>
#include <cstdio>
#include <vector>

namespace ringfold::cli {

namespace {

// The `top` largest children, largest first, ties in listing order. Kept in a
// bounded list rather than a copy of every child: a folder of a million entries
// would otherwise add 8 bytes per entry to the scan's peak memory.
std::vector<FileNode*> largestChildren(const FileNode& root, int top) {
    std::vector<FileNode*> kids;
    if (top < 0) {
        kids.assign(root.children().begin(), root.children().end());
        sortBySizeDescending(kids);
        return kids;
    }
    const auto limit = static_cast<std::size_t>(top);
    const auto larger = [](std::int64_t size, const FileNode* n) {
        return size > n->allocatedSize();
    };
    for (FileNode* child : root.children()) {
        if (kids.size() == limit &&
            (limit == 0 || kids.back()->allocatedSize() >= child->allocatedSize()))
            continue;
        kids.insert(std::upper_bound(kids.begin(), kids.end(), child->allocatedSize(), larger),
                    child);
        if (kids.size() > limit)
            kids.pop_back();
    }
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

} // namespace

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
    add("  Items        %s\n", grouped(d.counts.items).c_str());
    add("  Restricted   %s\n", grouped(a.restrictedPathCount).c_str());
    add("  Shared       %s streams counted once\n", grouped(d.counts.sharedStreams).c_str());
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
    JsonWriter json;
    json.beginObject().pathMember("path", d.path);
    json.key("items").integer(d.counts.items);
    json.key("allocatedSize").integer(root.allocatedSize());
    json.key("logicalSize").integer(root.logicalSize());
    json.key("restrictedPathCount").integer(a.restrictedPathCount);
    json.key("rootRestricted").boolean(root.isRestricted());
    json.key("sharedStreams").integer(d.counts.sharedStreams);
    json.key("volumeTotalCapacity").integer(a.volumeTotalCapacity);
    json.key("volumeAvailableCapacity").integer(a.volumeAvailableCapacity);
    json.key("seconds").fixed(d.seconds, 3);
    json.key("top").beginArray();
    for (FileNode* k : largestChildren(root, d.top)) {
        json.beginObject().pathMember("name", k->name());
        json.key("allocatedSize").integer(k->allocatedSize());
        json.key("logicalSize").integer(k->logicalSize());
        json.key("isDirectory").boolean(k->isDirectory());
        json.endObject();
    }
    json.endArray();
    if (d.junk) {
        json.key("junk");
        writeJunk(json, *d.junk);
    }
    return json.endObject().take();
}

} // namespace ringfold::cli
