#include "core/io/NcduExport.h"

#include <cerrno>
#include <charconv>
#include <cstring>
#include <string_view>

namespace ringfold {

namespace {

// Output is gathered in one block and handed to stdio in large writes: a million
// small fwrite calls cost more than the walk itself.
class Out {
public:
    explicit Out(std::FILE* f) : m_file(f) { m_buf.reserve(kBlock + 4096); }
    void raw(std::string_view s) {
        m_buf.append(s);
        spill();
    }
    void number(std::int64_t v) {
        char digits[24];
        auto r = std::to_chars(digits, digits + sizeof digits, v);
        m_buf.append(digits, r.ptr);
    }
    void string(std::string_view s) {
        static const char kHex[] = "0123456789abcdef";
        m_buf += '"';
        // The escapes JSON names, then \u00XX for the other control characters.
        static constexpr std::string_view kNamed = "\"\\\n\r\t\b\f", kLetters = "\"\\nrtbf";
        for (unsigned char c : s) {
            if (c >= 0x20 && c != '"' && c != '\\' && c != 0x7f) {
                m_buf += static_cast<char>(c);
            } else if (const auto k = kNamed.find(static_cast<char>(c)); k != kNamed.npos) {
                m_buf += '\\';
                m_buf += kLetters[k];
            } else {
                m_buf += "\\u00";
                m_buf += kHex[c >> 4];
                m_buf += kHex[c & 15];
            }
        }
        m_buf += '"';
        spill();
    }
    bool finish() {
        flush();
        return m_ok && std::fflush(m_file) == 0;
    }

private:
    static constexpr std::size_t kBlock = 1 << 16;
    void spill() {
        if (m_buf.size() >= kBlock)
            flush();
    }
    void flush() {
        if (m_ok && !m_buf.empty() &&
            std::fwrite(m_buf.data(), 1, m_buf.size(), m_file) != m_buf.size())
            m_ok = false;
        m_buf.clear();
    }
    std::FILE* m_file;
    std::string m_buf;
    bool m_ok = true;
};

void writeInfo(Out& o, const FileNode& n, std::string_view name) {
    o.raw("{\"name\":");
    o.string(name);
    if (!n.isDirectory()) {
        // Zero sizes are left out, as ncdu does.
        if (n.logicalSize()) {
            o.raw(",\"asize\":");
            o.number(n.logicalSize());
        }
        if (n.allocatedSize()) {
            o.raw(",\"dsize\":");
            o.number(n.allocatedSize());
        }
    }
    if (auto t = n.modificationDate()) {
        o.raw(",\"mtime\":");
        o.number(*t);
    }
    if (n.isRestricted())
        o.raw(",\"read_error\":true");
    if (n.isExcluded())
        o.raw(",\"excluded\":\"otherfs\"");
    if (n.sharesStorage())
        o.raw(",\"rf_shared\":true");
    if (n.cloudStatus() != CloudStatus::notApplicable) {
        o.raw(",\"rf_cloud\":");
        o.number(static_cast<int>(n.cloudStatus()));
    }
    o.raw("}");
}

} // namespace

bool writeNcduExport(const FileNode& root, std::FILE* out, const NcduExportInfo& info) {
    Out o(out);
    o.raw("[1,2,{\"progname\":");
    o.string(info.progname);
    o.raw(",\"progver\":");
    o.string(info.progver);
    if (info.timestamp) {
        o.raw(",\"timestamp\":");
        o.number(*info.timestamp);
    }
    o.raw("},\n[");
    writeInfo(o, root, root.url());
    // Depth first along the child and sibling links: a folder opens with "[" and its
    // info, and closes with "]" once its last child is written.
    const FileNode* n = root.firstChild();
    if (!n)
        o.raw("]");
    while (n) {
        o.raw(",\n");
        if (n->isDirectory())
            o.raw("[");
        writeInfo(o, *n, n->name());
        if (n->isDirectory() && n->firstChild()) {
            n = n->firstChild();
            continue;
        }
        if (n->isDirectory())
            o.raw("]");
        while (n != &root && !n->nextSibling()) {
            n = n->parent();
            o.raw("]");
        }
        n = n == &root ? nullptr : n->nextSibling();
    }
    o.raw("]\n");
    if (!o.finish()) {
        if (!errno)
            errno = EIO;
        return false;
    }
    return true;
}

} // namespace ringfold
