#include "core/io/NcduImport.h"

#include "core/io/ImportedTreeBuilder.h"
#include "core/scan/ScanSupport.h"

#include <rapidjson/error/en.h>
#include <rapidjson/filereadstream.h>
#include <rapidjson/reader.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <stdexcept>
#include <string_view>

namespace ringfold {

namespace {

// The parser's stack (names being read, one record per open array or object) grows
// through this; past the cap the import ends instead of exhausting memory.
struct CappedAllocator {
    static const bool kNeedFree = true;
    void* Malloc(std::size_t size) { return size ? grow(nullptr, size) : nullptr; }
    void* Realloc(void* old, std::size_t, std::size_t size) {
        if (size == 0) {
            std::free(old);
            return nullptr;
        }
        return grow(old, size);
    }
    static void Free(void* p) { std::free(p); }

private:
    static void* grow(void* old, std::size_t size) {
        if (size > NcduImport::kParserMemory)
            throw std::length_error("a name or the nesting is too large");
        void* p = std::realloc(old, size);
        if (!p)
            throw std::bad_alloc();
        return p;
    }
};

enum class Field {
    none,
    name,
    asize,
    dsize,
    dev,
    ino,
    nlink,
    hlnkc,
    readError,
    excluded,
    mtime,
    shared,
    cloud,
    timestamp,
    progname,
    other
};

Field fieldOf(std::string_view key) {
    static constexpr std::pair<std::string_view, Field> kFields[] = {
        {"name", Field::name},         {"asize", Field::asize},
        {"dsize", Field::dsize},       {"dev", Field::dev},
        {"ino", Field::ino},           {"nlink", Field::nlink},
        {"hlnkc", Field::hlnkc},       {"read_error", Field::readError},
        {"excluded", Field::excluded}, {"mtime", Field::mtime},
        {"rf_shared", Field::shared},  {"rf_cloud", Field::cloud}};
    for (const auto& [k, f] : kFields)
        if (k == key)
            return f;
    return Field::other;
}

// The SAX handler: a small state machine over the events of the format's nesting,
// building nodes as each entry's info object closes.
class Builder : public rapidjson::BaseReaderHandler<rapidjson::UTF8<>, Builder> {
public:
    Builder(std::stop_token stop, ScanProgress* progress) : m_stop(stop), m_progress(progress) {}
    std::string error;
    bool cancelled = false;
    std::optional<Timestamp> timestamp;
    ImportedTreeBuilder tree;
    /// Hands the entries read since the last report to the progress counters.
    void report() {
        if (m_progress && m_unreported)
            m_progress->addFolder(m_unreported, m_unreportedBytes);
        m_unreported = m_unreportedBytes = 0;
    }
    bool done() const { return m_state == State::done; }

    bool Default() { return fail("unexpected value"); }
    bool Null() { return m_skip || m_skipNext ? skipped() : Default(); }
    bool Bool(bool b) {
        if (m_skip || m_skipNext)
            return skipped();
        if (m_state != State::info)
            return Default();
        switch (m_field) {
        case Field::hlnkc:
            m_entry.hardLinked = b;
            break;
        case Field::readError:
            m_entry.restricted = b;
            break;
        case Field::shared:
            m_entry.sharesStorage = b;
            break;
        default:
            return fail("a true or false where it does not belong");
        }
        return nextKey();
    }
    bool Int(int v) { return v < 0 ? Int64(v) : Uint64(static_cast<unsigned>(v)); }
    bool Uint(unsigned v) { return Uint64(v); }
    bool Int64(std::int64_t v) {
        if (v >= 0)
            return Uint64(static_cast<std::uint64_t>(v));
        if (m_skip || m_skipNext)
            return skipped();
        if (m_state == State::info && m_field == Field::mtime) {
            m_entry.modificationDate = v;
            return nextKey();
        }
        return fail("a negative number where it does not belong");
    }
    bool Double(double) {
        return m_skip || m_skipNext ? skipped()
                                    : fail("a number that is not a whole number or is too large");
    }
    bool Uint64(std::uint64_t v);
    bool String(const char* s, rapidjson::SizeType n, bool) {
        if (m_skip || m_skipNext)
            return skipped();
        if (m_state == State::metaInfo && m_field == Field::progname) {
            m_writtenByGdu = std::string_view(s, n) == "gdu";
            return nextKey();
        }
        if (m_state != State::info)
            return Default();
        if (m_field == Field::name) {
            m_entry.name.assign(s, n);
            m_hasName = true;
        } else if (m_field == Field::excluded) {
            m_entry.excluded = true; // "pattern", "otherfs" ("othfs" from ncdu 1.18), "kernfs"...
        } else {
            return fail("text where it does not belong");
        }
        return nextKey();
    }
    bool Key(const char* s, rapidjson::SizeType n, bool) {
        if (m_skip)
            return true;
        const std::string_view key(s, n);
        if (m_state == State::metaInfo) // only the date and the writer matter there
            m_field = key == "timestamp"  ? Field::timestamp
                      : key == "progname" ? Field::progname
                                          : Field::other;
        else
            m_field = fieldOf(key);
        m_skipNext = m_field == Field::other;
        return true;
    }
    bool StartObject();
    bool EndObject(rapidjson::SizeType) {
        if (m_skip)
            return leaveSkipped();
        if (m_state == State::metaInfo) {
            m_state = State::rootFolder;
            return true;
        }
        return endInfo();
    }
    bool StartArray();
    bool EndArray(rapidjson::SizeType);

private:
    enum class State {
        outer,
        major,
        minor,
        meta,
        metaInfo,
        rootFolder,
        folderInfo,
        info,
        items,
        end,
        done
    };
    static constexpr int kMaxSkipDepth = 64;

    bool fail(std::string message) {
        if (error.empty())
            error = std::move(message);
        return false;
    }
    bool skipped() {
        m_skipNext = false;
        return true;
    }
    bool enterSkipped() {
        m_skipNext = false;
        if (++m_skip > kMaxSkipDepth)
            return fail("unknown values nested too deeply");
        return true;
    }
    bool leaveSkipped() {
        --m_skip;
        return true;
    }
    bool nextKey() {
        m_field = Field::none;
        return true;
    }
    bool endInfo();

    State m_state = State::outer;
    Field m_field = Field::none;
    bool m_skipNext = false;
    int m_skip = 0;
    bool m_hasName = false;
    ImportedEntry m_entry;
    std::string m_name;
    std::stop_token m_stop;
    ScanProgress* m_progress;
    std::int64_t m_unreported = 0, m_unreportedBytes = 0;
    bool m_writtenByGdu = false;
};

bool Builder::Uint64(std::uint64_t v) {
    if (m_skip || m_skipNext)
        return skipped();
    constexpr auto kMax = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
    switch (m_state) {
    case State::major:
        if (v != 1)
            return fail("unsupported format version " + std::to_string(v) + " (this reads 1)");
        m_state = State::minor;
        return true;
    case State::minor:
        m_state = State::meta;
        return true;
    case State::info:
        break;
    case State::metaInfo:
        if (m_field != Field::timestamp || v > kMax)
            return Default();
        timestamp = static_cast<Timestamp>(v);
        return nextKey();
    default:
        return Default();
    }
    switch (m_field) {
    case Field::asize:
    case Field::dsize:
    case Field::mtime:
        if (v > kMax)
            return fail("a number too large for a size or date");
        (m_field == Field::asize   ? m_entry.logicalSize
         : m_field == Field::dsize ? m_entry.allocatedSize
                                   : m_entry.modificationDate.emplace()) =
            static_cast<std::int64_t>(v);
        break;
    case Field::dev:
        m_entry.device = v;
        break;
    case Field::ino:
        m_entry.inode = v;
        break;
    case Field::nlink:
        m_entry.linkCount = v;
        break;
    case Field::cloud:
        m_entry.cloudStatus = v;
        break;
    default:
        return fail("a number where it does not belong");
    }
    return nextKey();
}

bool Builder::StartObject() {
    if (m_skip || m_skipNext)
        return enterSkipped();
    switch (m_state) {
    case State::meta: // whatever the writer put there; only the date is kept
        m_state = State::metaInfo;
        return true;
    case State::folderInfo:
    case State::items:
        m_name.swap(m_entry.name); // keeps the name's buffer
        m_entry = ImportedEntry{};
        m_entry.name.swap(m_name);
        m_entry.name.clear();
        m_entry.isFolder = m_state == State::folderInfo;
        m_hasName = false;
        m_state = State::info;
        return true;
    default:
        return Default();
    }
}

bool Builder::StartArray() {
    if (m_skip || m_skipNext)
        return enterSkipped();
    switch (m_state) {
    case State::outer:
        m_state = State::major;
        return true;
    case State::rootFolder:
    case State::items:
        if (tree.depth() >= NcduImport::kMaxDepth)
            return fail("folders nested too deeply");
        m_state = State::folderInfo;
        return true;
    default:
        return Default();
    }
}

bool Builder::EndArray(rapidjson::SizeType) {
    if (m_skip)
        return leaveSkipped();
    if (m_state == State::end) {
        m_state = State::done;
        return true;
    }
    if (m_state != State::items)
        return Default();
    if (tree.close())
        m_state = State::end;
    return true;
}

bool Builder::endInfo() {
    if (m_state != State::info)
        return Default();
    if (!m_hasName)
        return fail("an entry without a name");
    // gdu marks a hard link only on the names after the first it met, without a link
    // count: each marked name repeats data counted under another.
    m_entry.countedElsewhere =
        m_writtenByGdu && m_entry.hardLinked && m_entry.inode && m_entry.linkCount == 0;
    if (auto refused = tree.add(m_entry))
        return fail(std::move(*refused));
    m_state = State::items;
    // Stop and progress are looked at in batches: an entry costs well under a
    // microsecond, an atomic and a stop test per entry would show.
    if (!m_entry.isFolder)
        m_unreportedBytes = addBytes(m_unreportedBytes, m_entry.allocatedSize);
    if (++m_unreported == 4096) {
        report();
        if (m_stop.stop_requested()) {
            cancelled = true;
            return fail("cancelled");
        }
    }
    return true;
}

} // namespace

NcduImport NcduImport::read(std::FILE* in, std::stop_token stop, ScanProgress* progress) {
    NcduImport out;
    char buffer[1 << 16];
    rapidjson::FileReadStream stream(in, buffer, sizeof buffer);
    CappedAllocator stackAllocator;
    rapidjson::GenericReader<rapidjson::UTF8<>, rapidjson::UTF8<>, CappedAllocator> reader(
        &stackAllocator);
    Builder builder(stop, progress);
    try {
        reader.Parse<rapidjson::kParseIterativeFlag>(stream, builder);
    } catch (const std::exception& e) { // the parser's cap, or the tree's memory
        out.error = dynamic_cast<const std::length_error*>(&e) ? e.what() : "out of memory";
        out.errorOffset = stream.Tell();
        return out;
    }
    builder.report();
    out.timestamp = builder.timestamp;
    if (builder.cancelled || stop.stop_requested()) {
        out.cancelled = true;
        out.error = "cancelled";
        out.errorOffset = stream.Tell();
        return out;
    }
    if (std::ferror(in)) {
        out.error = std::string("cannot read: ") + std::strerror(errno);
        out.errorOffset = stream.Tell();
        return out;
    }
    if (reader.HasParseError() || !builder.done()) {
        out.error = !builder.error.empty() ? builder.error
                    : reader.HasParseError()
                        ? rapidjson::GetParseError_En(reader.GetParseErrorCode())
                        : "the file ends early";
        out.errorOffset = reader.HasParseError() ? reader.GetErrorOffset() : stream.Tell();
        if (!out.error.empty() && out.error.back() == '.')
            out.error.pop_back();
        return out;
    }
    out.result = builder.tree.finish(out.counts);
    return out;
}

} // namespace ringfold
