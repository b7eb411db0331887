#include "app/viewmodels/SidebarViewModel.h"

#include "app/platform/VolumeWatcher.h"

#include <QDir>
#include <QPointer>

#include <algorithm>

namespace ringfold {

namespace {

std::string cleanPath(const std::string& path) {
    return QDir::cleanPath(QString::fromStdString(path)).toStdString();
}

std::string lastComponent(const std::string& path) {
    const std::string clean = cleanPath(path);
    const auto slash = clean.find_last_of('/');
    if (clean == "/" || slash == std::string::npos)
        return clean;
    return clean.substr(slash + 1);
}

void applyCapacity(ScanSource& source) {
    const auto capacity = volumeCapacity(source.url);
    source.volumeTotalCapacity = capacity ? std::optional(capacity->total) : std::nullopt;
    source.volumeAvailableCapacity = capacity ? std::optional(capacity->available) : std::nullopt;
}

} // namespace

SidebarViewModel::SidebarViewModel(std::unique_ptr<FavoritesStore> store, QObject* parent)
    : SidebarViewModel(std::move(store), Options{}, parent) {}

SidebarViewModel::SidebarViewModel(std::unique_ptr<FavoritesStore> store, Options options,
                                   QObject* parent)
    : QObject(parent),
      m_favoritesStore(store ? std::move(store) : std::make_unique<FavoritesStore>()),
      m_options(std::move(options)) {
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
    applyCapacity(m_thisComputer);

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

SidebarViewModel::~SidebarViewModel() = default;

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
    return nullptr;
}

void SidebarViewModel::notifySourceChanged(const ScanSource* source) {
    if (source == &m_thisComputer)
        emit thisComputerChanged();
    else if (source >= m_volumes.data() && source < m_volumes.data() + m_volumes.size())
        emit volumesChanged();
    else if (m_transient && source == &*m_transient)
        emit transientSourceChanged();
    else
        emit favoritesChanged();
}

void SidebarViewModel::refreshVolumes() {
    std::vector<ScanSource> next;
    for (const MountEntry& entry : MountTable::userVolumes(mountTable())) {
        ScanSource v;
        v.url = entry.mountPoint;
        v.displayName =
            MountTable::labelOf(entry, m_options.systemPaths).value_or(lastComponent(v.url));
        v.kind = MountTable::kindOf(entry, m_options.systemPaths);
        applyCapacity(v);
        const ScanSource* known = nullptr;
        for (const ScanSource& old : m_volumes)
            if (old.url == v.url)
                known = &old;
        if (!known) {
            const auto departed = m_departedVolumes.find(v.url);
            if (departed != m_departedVolumes.end())
                known = &departed->second;
        }
        if (known) {
            v.id = known->id;
            v.lastScanDate = known->lastScanDate;
            v.lastScanAllocatedSize = known->lastScanAllocatedSize;
        } else {
            v.id = Uuid::generate();
        }
        next.push_back(std::move(v));
    }
    for (const ScanSource& old : m_volumes)
        m_departedVolumes[old.url] = old;
    for (const ScanSource& v : next)
        m_departedVolumes.erase(v.url);
    if (next == m_volumes)
        return;
    m_volumes = std::move(next);
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
    for (auto& [url, departed] : m_departedVolumes)
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
