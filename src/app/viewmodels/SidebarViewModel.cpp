#include "app/viewmodels/SidebarViewModel.h"

#include "app/platform/VolumeWatcher.h"

#include <QMetaObject>
#include <QPointer>
#include <QTimer>

#include <algorithm>
#include <mutex>
#include <system_error>
#include <thread>

namespace ringfold {

namespace {

// Lexical clean-up on the path's bytes ("//", "." and ".." folded, no trailing "/"): a
// trip through QString would turn every byte that isn't UTF-8 into U+FFFD and make two
// different folders look alike.
std::string cleanPath(const std::string& path) {
    const bool absolute = !path.empty() && path.front() == '/';
    std::vector<std::string> parts;
    for (std::size_t at = 0; at <= path.size();) {
        const std::size_t end = std::min(path.find('/', at), path.size());
        std::string part = path.substr(at, end - at);
        at = end + 1;
        if (part.empty() || part == ".")
            continue;
        if (part == ".." && !parts.empty() && parts.back() != "..")
            parts.pop_back();
        else if (part != ".." || !absolute)
            parts.push_back(std::move(part));
    }
    std::string out = absolute ? "/" : "";
    for (const std::string& part : parts)
        out += (out.empty() || out == "/" ? "" : "/") + part;
    return out.empty() ? "." : out;
}

std::string lastComponent(const std::string& path) {
    const std::string clean = cleanPath(path);
    const auto slash = clean.find_last_of('/');
    if (clean == "/" || slash == std::string::npos)
        return clean;
    return clean.substr(slash + 1);
}

// Returns whether anything changed.
bool applyCapacity(ScanSource& source, const std::optional<VolumeCapacity>& capacity) {
    const auto total = capacity ? std::optional(capacity->total) : std::nullopt;
    const auto available = capacity ? std::optional(capacity->available) : std::nullopt;
    if (source.volumeTotalCapacity == total && source.volumeAvailableCapacity == available)
        return false;
    source.volumeTotalCapacity = total;
    source.volumeAvailableCapacity = available;
    return true;
}

} // namespace

// Shared with the reading threads, which may outlive the model: `owner` is cleared
// under the mutex when the model goes, so a thread never posts to a dead object.
struct SidebarViewModel::CapacityReads {
    std::mutex mutex;
    SidebarViewModel* owner = nullptr;
    std::set<std::string> inFlight; // paths whose read has not returned yet
};

SidebarViewModel::SidebarViewModel(std::unique_ptr<FavoritesStore> store, QObject* parent)
    : SidebarViewModel(std::move(store), Options{}, parent) {}

SidebarViewModel::SidebarViewModel(std::unique_ptr<FavoritesStore> store, Options options,
                                   QObject* parent)
    : QObject(parent),
      m_favoritesStore(store ? std::move(store) : std::make_unique<FavoritesStore>()),
      m_options(std::move(options)), m_capacityReads(std::make_shared<CapacityReads>()),
      m_capacityDeadline(new QTimer(this)) {
    m_capacityReads->owner = this;
    m_capacityDeadline->setSingleShot(true);
    connect(m_capacityDeadline, &QTimer::timeout, this, &SidebarViewModel::capacityTimeLimitPassed);
    const std::vector<MountEntry> table = mountTable();
    m_thisComputer.id = Uuid::generate();
    m_thisComputer.url = "/";
    m_thisComputer.kind = ScanSourceKind::internalVolume;
    m_thisComputer.displayName = "File System";
    // The last mount on "/" is the one in effect.
    for (auto it = table.rbegin(); it != table.rend(); ++it) {
        if (it->mountPoint == "/") {
            if (auto label = MountTable::labelOf(*it, m_options.systemPaths))
                m_thisComputer.displayName = *label;
            break;
        }
    }
    m_awaitedCapacities.insert(m_thisComputer.url); // read with the first volumes

    if (!m_favoritesStore->fileExists()) {
        m_favorites = m_favoritesStore->defaultFavorites();
        m_favoritesStore->save(m_favorites);
    } else {
        m_favorites = m_favoritesStore->load();
    }

    refreshVolumes();

    if (m_options.watchVolumes) {
        QPointer<SidebarViewModel> self(this);
        m_volumeWatcher = new VolumeWatcher(
            [self] {
                if (self)
                    self->refreshVolumes();
            },
            m_options.mountInfoPath, this);
    }
}

SidebarViewModel::~SidebarViewModel() {
    std::lock_guard lock(m_capacityReads->mutex);
    m_capacityReads->owner = nullptr;
}

std::vector<MountEntry> SidebarViewModel::mountTable() const {
    return MountTable::read(m_options.mountInfoPath);
}

void SidebarViewModel::setSelectedSourceID(std::optional<Uuid> id) {
    if (m_selectedSourceID == id)
        return;
    m_selectedSourceID = id;
    emit selectedSourceIDChanged();
}

void SidebarViewModel::setScanningSourceID(std::optional<Uuid> id) {
    if (m_scanningSourceID == id)
        return;
    m_scanningSourceID = id;
    emit scanningSourceIDChanged();
}

const ScanSource* SidebarViewModel::source(const Uuid& id) const {
    return const_cast<SidebarViewModel*>(this)->mutableSource(id);
}

ScanSource* SidebarViewModel::mutableSource(const Uuid& id) {
    if (m_thisComputer.id == id)
        return &m_thisComputer;
    for (ScanSource& v : m_volumes)
        if (v.id == id)
            return &v;
    for (ScanSource& f : m_favorites)
        if (f.id == id)
            return &f;
    if (m_transient && m_transient->id == id)
        return &*m_transient;
    for (ScanSource& s : m_savedScans)
        if (s.id == id)
            return &s;
    return nullptr;
}

void SidebarViewModel::notifySourceChanged(const ScanSource* source) {
    const auto in = [source](const std::vector<ScanSource>& list) {
        return std::any_of(list.begin(), list.end(),
                           [source](const ScanSource& s) { return &s == source; });
    };
    if (source == &m_thisComputer)
        emit thisComputerChanged();
    else if (in(m_volumes))
        emit volumesChanged();
    else if (m_transient && source == &*m_transient)
        emit transientSourceChanged();
    else if (in(m_savedScans))
        emit savedScansChanged();
    else
        emit favoritesChanged();
}

void SidebarViewModel::refreshVolumes() {
    const auto fileSystemOf = [this](const Uuid& id) {
        const auto it = m_volumeFileSystems.find(id);
        return it == m_volumeFileSystems.end() ? std::string() : it->second;
    };
    std::vector<ScanSource> next;
    std::map<Uuid, std::string> fileSystems;
    for (const MountEntry& entry : MountTable::userVolumes(mountTable())) {
        ScanSource v;
        v.url = entry.mountPoint;
        v.displayName =
            MountTable::labelOf(entry, m_options.systemPaths).value_or(lastComponent(v.url));
        v.kind = MountTable::kindOf(entry, m_options.systemPaths);
        const VolumeKey key{v.url, MountTable::fileSystemIdentity(entry, m_options.systemPaths)};
        const ScanSource* known = nullptr;
        for (const ScanSource& old : m_volumes)
            if (old.url == v.url && fileSystemOf(old.id) == key.second)
                known = &old;
        if (known) {
            // Still mounted: keep the figures until the new ones arrive.
            v.volumeTotalCapacity = known->volumeTotalCapacity;
            v.volumeAvailableCapacity = known->volumeAvailableCapacity;
        } else if (const auto departed = m_departedVolumes.find(key);
                   departed != m_departedVolumes.end()) {
            known = &departed->second;
        }
        if (known) {
            v.id = known->id;
            v.lastScanDate = known->lastScanDate;
            v.lastScanAllocatedSize = known->lastScanAllocatedSize;
        } else {
            v.id = Uuid::generate();
        }
        fileSystems[v.id] = key.second;
        next.push_back(std::move(v));
    }

    std::vector<Uuid> vanished;
    for (const ScanSource& old : m_volumes) {
        if (!fileSystems.contains(old.id)) {
            vanished.push_back(old.id);
            m_departedVolumes[{old.url, fileSystemOf(old.id)}] = old;
        }
    }
    for (const ScanSource& v : next)
        m_departedVolumes.erase({v.url, fileSystems[v.id]});
    m_volumeFileSystems = std::move(fileSystems);

    std::set<std::string> paths;
    for (const ScanSource& v : next)
        paths.insert(v.url);
    if (next != m_volumes) {
        m_volumes = std::move(next);
        emit volumesChanged();
    }
    for (const Uuid& id : vanished)
        emit volumeVanished(id);
    readCapacities(std::move(paths));
}

void SidebarViewModel::readCapacities(std::set<std::string> paths) {
    // This Computer's figures are read once; a refresh must not drop that read.
    if (m_awaitedCapacities.contains(m_thisComputer.url))
        paths.insert(m_thisComputer.url);
    m_awaitedCapacities = paths;
    if (paths.empty()) {
        m_capacityDeadline->stop();
        return;
    }
    m_capacityDeadline->start(m_options.capacityTimeLimit);
    for (const std::string& path : paths) {
        {
            std::lock_guard lock(m_capacityReads->mutex);
            // A read of this path still hangs: its answer, if it comes in time, serves.
            if (!m_capacityReads->inFlight.insert(path).second)
                continue;
        }
        try {
            std::thread([reads = m_capacityReads, read = m_options.readCapacity, path] {
                std::optional<VolumeCapacity> capacity = read(path);
                std::lock_guard lock(reads->mutex);
                reads->inFlight.erase(path);
                if (SidebarViewModel* owner = reads->owner)
                    QMetaObject::invokeMethod(
                        owner, [owner, path, capacity] { owner->capacityArrived(path, capacity); },
                        Qt::QueuedConnection);
            }).detach();
        } catch (const std::system_error&) {
            std::lock_guard lock(m_capacityReads->mutex);
            m_capacityReads->inFlight.erase(path); // no thread: the figures stay unknown
        }
    }
}

void SidebarViewModel::capacityArrived(const std::string& path,
                                       std::optional<VolumeCapacity> capacity) {
    if (m_awaitedCapacities.erase(path) == 0)
        return; // too late, or for a volume that has gone
    if (m_awaitedCapacities.empty())
        m_capacityDeadline->stop();
    setCapacity(path, capacity);
}

void SidebarViewModel::capacityTimeLimitPassed() {
    const std::set<std::string> late = std::move(m_awaitedCapacities);
    m_awaitedCapacities.clear();
    for (const std::string& path : late)
        setCapacity(path, std::nullopt);
}

void SidebarViewModel::setCapacity(const std::string& path,
                                   std::optional<VolumeCapacity> capacity) {
    if (m_thisComputer.url == path && applyCapacity(m_thisComputer, capacity))
        emit thisComputerChanged();
    bool changed = false;
    for (ScanSource& v : m_volumes)
        if (v.url == path)
            changed |= applyCapacity(v, capacity);
    if (changed)
        emit volumesChanged();
}

void SidebarViewModel::setFavorites(std::vector<ScanSource> favorites) {
    const bool changed = favorites != m_favorites;
    m_favorites = std::move(favorites);
    m_favoritesStore->save(m_favorites);
    if (changed)
        emit favoritesChanged();
}

void SidebarViewModel::addFavorite(const std::string& path,
                                   std::optional<std::string> displayName) {
    const std::string clean = cleanPath(path);
    for (const ScanSource& f : m_favorites)
        if (cleanPath(f.url) == clean)
            return;
    std::vector<ScanSource> next = m_favorites;
    next.push_back(
        makeFavoriteSource(Uuid::generate(), clean, displayName.value_or(lastComponent(clean))));
    setFavorites(std::move(next));
}

void SidebarViewModel::removeFavorite(const Uuid& id) {
    const bool wasSelected = m_selectedSourceID == id;
    std::vector<ScanSource> next = m_favorites;
    std::erase_if(next, [&](const ScanSource& f) { return f.id == id; });
    setFavorites(std::move(next));
    if (wasSelected)
        setSelectedSourceID(std::nullopt);
}

Uuid SidebarViewModel::openTransientFolder(const std::string& path) {
    const std::string clean = cleanPath(path);
    if (cleanPath(m_thisComputer.url) == clean)
        return m_thisComputer.id;
    for (const std::vector<ScanSource>* list : {&m_volumes, &m_favorites})
        for (const ScanSource& s : *list)
            if (cleanPath(s.url) == clean)
                return s.id;
    if (m_transient && cleanPath(m_transient->url) == clean)
        return m_transient->id;
    m_transient = makeFavoriteSource(Uuid::generate(), clean, lastComponent(clean));
    emit transientSourceChanged();
    return m_transient->id;
}

Uuid SidebarViewModel::openSavedScan(const std::string& file) {
    const std::string clean = cleanPath(file);
    for (const ScanSource& s : m_savedScans)
        if (s.url == clean)
            return s.id;
    ScanSource s;
    s.id = Uuid::generate();
    s.url = clean;
    s.displayName = lastComponent(clean);
    s.kind = ScanSourceKind::savedScan;
    m_savedScans.push_back(std::move(s));
    emit savedScansChanged();
    return m_savedScans.back().id;
}

void SidebarViewModel::closeSavedScan(const Uuid& id) {
    const bool wasSelected = m_selectedSourceID == id;
    if (std::erase_if(m_savedScans, [&](const ScanSource& s) { return s.id == id; }) == 0)
        return;
    emit savedScansChanged();
    if (wasSelected)
        setSelectedSourceID(std::nullopt);
}

void SidebarViewModel::resetFavoritesAndScanRecords() {
    cancelScan();
    setFavorites(m_favoritesStore->defaultFavorites());
    auto forget = [](ScanSource& s) {
        const bool had = s.lastScanDate || s.lastScanAllocatedSize || s.lastScanWasRestricted;
        s.lastScanDate.reset();
        s.lastScanAllocatedSize.reset();
        s.lastScanWasRestricted = false;
        return had;
    };
    if (forget(m_thisComputer))
        emit thisComputerChanged();
    bool volumesChangedNow = false;
    for (ScanSource& v : m_volumes)
        volumesChangedNow |= forget(v);
    for (auto& [key, departed] : m_departedVolumes)
        forget(departed);
    if (volumesChangedNow)
        emit volumesChanged();
}

void SidebarViewModel::beginScan(const Uuid& id) {
    setScanningSourceID(id);
}

void SidebarViewModel::finishScan(const Uuid& id) {
    if (m_scanningSourceID == id)
        setScanningSourceID(std::nullopt);
}

void SidebarViewModel::cancelScan() {
    setScanningSourceID(std::nullopt);
    setSelectedSourceID(std::nullopt);
}

void SidebarViewModel::clearLastScan(const Uuid& id) {
    ScanSource* s = mutableSource(id);
    if (!s || (!s->lastScanDate && !s->lastScanAllocatedSize))
        return;
    s->lastScanDate.reset();
    s->lastScanAllocatedSize.reset();
    notifySourceChanged(s);
}

void SidebarViewModel::recordScan(const Uuid& id, Timestamp date, std::int64_t allocatedSize,
                                  bool restricted) {
    ScanSource* s = mutableSource(id);
    if (!s)
        return;
    if (s->lastScanDate == date && s->lastScanAllocatedSize == allocatedSize &&
        s->lastScanWasRestricted == restricted)
        return;
    s->lastScanDate = date;
    s->lastScanAllocatedSize = allocatedSize;
    s->lastScanWasRestricted = restricted;
    notifySourceChanged(s);
}

} // namespace ringfold
