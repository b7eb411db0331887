#include "core/io/NcduImport.h"

#include "core/model/Tree.h"
#include "core/scan/ScanSupport.h"
#include "core/scan/SharedStorageTracker.h"

#include <rapidjson/error/en.h>
#include <rapidjson/filereadstream.h>
#include <rapidjson/reader.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <stdexcept>
#include <string_view>
#include <sys/sysmacros.h>
#include <vector>

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

enum class Field { none, name, asize, dsize, dev, ino, nlink, hlnkc, readError, excluded, mtime,
                   shared, cloud, other };

Field fieldOf(std::string_view key) {
    static constexpr std::pair<std::string_view, Field> kFields[] = {
        {"name", Field::name},           {"asize", Field::asize},   {"dsize", Field::dsize},
        {"dev", Field::dev},             {"ino", Field::ino},       {"nlink", Field::nlink},
        {"hlnkc", Field::hlnkc},         {"read_error", Field::readError},
        {"excluded", Field::excluded},   {"mtime", Field::mtime},   {"rf_shared", Field::shared},
        {"rf_cloud", Field::cloud}};
    for (const auto& [k, f] : kFields)
        if (k == key)
            return f;
    return Field::other;
}

// One entry's info object as it is read.
struct Info {
    std::string name;
    bool hasName = false;
    std::int64_t asize = 0, dsize = 0;
    std::optional<std::uint64_t> dev, ino;
    std::uint64_t nlink = 0;
    bool hlnkc = false, readError = false, excluded = false, shared = false;
    std::optional<Timestamp> mtime;
    std::uint64_t cloud = 0;
    void reset() {
        std::string keep = std::move(name);
        *this = Info{};
        name = std::move(keep);
        name.clear();
    }
};

// The SAX handler: a small state machine over the events of the format's nesting,
// building nodes as each entry's info object closes.
class Builder : public rapidjson::BaseReaderHandler<rapidjson::UTF8<>, Builder> {
public:
    explicit Builder(std::shared_ptr<Tree> tree) : m_tree(std::move(tree)), m_alloc(*m_tree) {}

    std::string error;
    FileNode* root = nullptr;
    std::int64_t items = 0, restricted = 0, sharedFirsts = 0;
    SharedStorageTracker tracker;
    bool done() const { return m_state == State::done; }

    bool Default() { return fail("unexpected value"); }
    bool Null() { return m_skip || m_skipNext ? skipped() : Default(); }
    bool Bool(bool b) {
        if (m_skip || m_skipNext)
            return skipped();
        if (m_state != State::info)
            return Default();
        switch (m_field) {
        case Field::hlnkc: m_info.hlnkc = b; break;
        case Field::readError: m_info.readError = b; break;
        case Field::shared: m_info.shared = b; break;
        default: return fail("a true or false where it does not belong");
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
            m_info.mtime = v;
            return nextKey();
        }
        return fail("a negative number where it does not belong");
    }
    bool Double(double) {
        return m_skip || m_skipNext ? skipped() : fail("a number that is not a whole number or is too large");
    }
    bool Uint64(std::uint64_t v);
    bool String(const char* s, rapidjson::SizeType n, bool) {
        if (m_skip || m_skipNext)
            return skipped();
        if (m_state != State::info)
            return Default();
        if (m_field == Field::name) {
            m_info.name.assign(s, n);
            m_info.hasName = true;
        } else if (m_field == Field::excluded) {
            m_info.excluded = true; // "pattern", "otherfs" ("othfs" from ncdu 1.18), "kernfs"...
        } else {
            return fail("text where it does not belong");
        }
        return nextKey();
    }
    bool Key(const char* s, rapidjson::SizeType n, bool) {
        if (m_skip)
            return true;
        m_field = fieldOf(std::string_view(s, n));
        m_skipNext = m_field == Field::other;
        return true;
    }
    bool StartObject();
    bool EndObject(rapidjson::SizeType) { return m_skip ? leaveSkipped() : endInfo(); }
    bool StartArray();
    bool EndArray(rapidjson::SizeType);

private:
    enum class State { outer, major, minor, meta, rootFolder, folderInfo, info, items, end, done };
    struct Frame {
        FileNode* node;
        Tree::ChildChain chain;
        std::uint64_t dev;
        std::int64_t logical = 0, allocated = 0;
        bool anyShared = false;
        bool sharedMark = false;
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
        if (--m_skip == 0 && m_state == State::meta)
            m_state = State::rootFolder;
        return true;
    }
    bool nextKey() {
        m_field = Field::none;
        return true;
    }
    bool endInfo();
    void addToFolder(FileNode* n);
    bool closeFolder();

    std::shared_ptr<Tree> m_tree;
    NodeAllocator m_alloc;
    State m_state = State::outer;
    bool m_infoIsFolder = false;
    Field m_field = Field::none;
    bool m_skipNext = false;
    int m_skip = 0;
    Info m_info;
    std::vector<Frame> m_stack;
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
    case State::info: break;
    default: return Default();
    }
    switch (m_field) {
    case Field::asize:
    case Field::dsize:
    case Field::mtime:
        if (v > kMax)
            return fail("a number too large for a size or date");
        (m_field == Field::asize   ? m_info.asize
         : m_field == Field::dsize ? m_info.dsize
                                   : m_info.mtime.emplace()) = static_cast<std::int64_t>(v);
        break;
    case Field::dev: m_info.dev = v; break;
    case Field::ino: m_info.ino = v; break;
    case Field::nlink: m_info.nlink = v; break;
    case Field::cloud: m_info.cloud = v; break;
    default: return fail("a number where it does not belong");
    }
    return nextKey();
}

bool Builder::StartObject() {
    if (m_skip || m_skipNext)
        return enterSkipped();
    switch (m_state) {
    case State::meta: // whatever the writer put there; nothing here needs it
        m_skip = 1;
        return true;
    case State::folderInfo:
    case State::items:
        m_infoIsFolder = m_state == State::folderInfo;
        m_info.reset();
        m_state = State::info;
        return true;
    default: return Default();
    }
}

bool Builder::StartArray() {
    if (m_skip || m_skipNext)
        return enterSkipped();
    switch (m_state) {
    case State::outer: m_state = State::major; return true;
    case State::rootFolder:
    case State::items:
        if (m_stack.size() >= NcduImport::kMaxDepth)
            return fail("folders nested too deeply");
        m_state = State::folderInfo;
        return true;
    default: return Default();
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
    return closeFolder();
}

bool Builder::endInfo() {
    if (m_state != State::info)
        return Default();
    Info& i = m_info;
    const bool isRoot = m_stack.empty();
    if (!i.hasName)
        return fail("an entry without a name");
    const std::string_view name = i.name;
    if (name.empty() || name.find('\0') != name.npos ||
        (!isRoot && (name == "." || name == ".." || name.find('/') != name.npos)))
        return fail("an entry name that cannot be a file name");

    NodeInit init;
    std::string display;
    if (isRoot) {
        // The root's name is the scanned path; the node shows its last component.
        std::string_view p = name;
        while (p.size() > 1 && p.back() == '/')
            p.remove_suffix(1);
        const auto slash = p.rfind('/');
        display = std::string(slash == p.npos || p.size() == 1 ? p : p.substr(slash + 1));
        init.name = display;
    } else {
        init.name = name;
    }
    init.isDirectory = m_infoIsFolder;
    init.isHidden = !init.name.empty() && init.name.front() == '.';
    init.isRestricted = i.readError;
    init.sharesStorage = i.shared;
    init.modificationDate = i.mtime;
    if (i.cloud <= 2)
        init.cloudStatus = static_cast<CloudStatus>(i.cloud);
    if (!m_infoIsFolder) { // a folder's size is its contents'
        init.logicalSize = i.asize;
        init.allocatedSize = i.dsize;
    }
    FileNode* n = m_alloc.create(init);
    n->setExcluded(i.excluded);
    ++items;
    restricted += i.readError;
    const std::uint64_t dev = i.dev ? *i.dev : (isRoot ? 0 : m_stack.back().dev);
    if (isRoot) {
        root = n;
        m_tree->setUrl(n, std::string(name));
    }
    if (!m_infoIsFolder) {
        if (i.shared && i.dsize > 0)
            ++sharedFirsts;
        const bool linked = i.ino && (i.hlnkc || i.nlink >= 2);
        if (linked && i.dsize > 0 &&
            !tracker.claim(foldDeviceID(major(dev), minor(dev)), *i.ino, n)) {
            n->setAllocatedSize(0);
            n->setSharesStorage(true);
        }
        addToFolder(n);
        m_state = State::items;
        return true;
    }
    m_stack.push_back(Frame{n, Tree::ChildChain(n), dev});
    m_stack.back().sharedMark = i.shared;
    m_state = State::items;
    return true;
}

void Builder::addToFolder(FileNode* n) {
    Frame& f = m_stack.back();
    f.chain.append(n);
    f.logical = addBytes(f.logical, n->logicalSize());
    f.allocated = addBytes(f.allocated, n->allocatedSize());
}

bool Builder::closeFolder() {
    Frame f = std::move(m_stack.back());
    m_stack.pop_back();
    // The first holder of hard-linked data learns that it shares only when a later link
    // turns up, so the flags are read once the folder's children are all known.
    for (FileNode* c = f.chain.front(); c; c = c->nextSibling())
        f.anyShared = f.anyShared || c->sharesStorage();
    const bool hasChildren = !f.chain.empty();
    m_tree->attach(f.node, f.chain, nullptr);
    f.node->setLogicalSize(f.logical);
    f.node->setAllocatedSize(f.allocated);
    if (f.sharedMark || (f.allocated == 0 && hasChildren && f.anyShared))
        f.node->setSharesStorage(true);
    if (m_stack.empty()) {
        m_state = State::end;
        return true;
    }
    addToFolder(f.node);
    return true;
}

} // namespace

NcduImport NcduImport::read(std::FILE* in) {
    NcduImport out;
    auto tree = Tree::create();
    char buffer[1 << 16];
    rapidjson::FileReadStream stream(in, buffer, sizeof buffer);
    CappedAllocator stackAllocator;
    rapidjson::GenericReader<rapidjson::UTF8<>, rapidjson::UTF8<>, CappedAllocator> reader(
        &stackAllocator);
    std::optional<Builder> builder(std::in_place, tree);
    try {
        reader.Parse<rapidjson::kParseIterativeFlag>(stream, *builder);
    } catch (const std::exception& e) { // the parser's cap, or the tree's memory
        out.error = dynamic_cast<const std::length_error*>(&e) ? e.what() : "out of memory";
        out.errorOffset = stream.Tell();
        return out;
    }
    if (std::ferror(in)) {
        out.error = std::string("cannot read: ") + std::strerror(errno);
        out.errorOffset = stream.Tell();
        return out;
    }
    if (reader.HasParseError() || !builder->done()) {
        out.error = !builder->error.empty() ? builder->error
                    : reader.HasParseError()
                        ? rapidjson::GetParseError_En(reader.GetParseErrorCode())
                        : "the file ends early";
        out.errorOffset = reader.HasParseError() ? reader.GetErrorOffset() : stream.Tell();
        if (!out.error.empty() && out.error.back() == '.')
            out.error.pop_back();
        return out;
    }
    FileNode* root = builder->root;
    out.counts.items = builder->items;
    out.counts.sharedStreams = builder->tracker.totalDuplicateStreams() + builder->sharedFirsts;
    ScanResult r;
    r.accounting.enumeratedAllocatedSize = root->allocatedSize();
    r.accounting.restrictedPathCount = builder->restricted;
    builder.reset(); // settles the allocator's node count before the tree is handed out
    r.root = tree->share(root);
    out.result = std::move(r);
    return out;
}

} // namespace ringfold
