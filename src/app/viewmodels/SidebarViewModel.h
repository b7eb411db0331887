#pragma once
// The places the user can scan: "This Computer" (the root file system), the other
// mounted volumes in mount-table order, and the favourite folders in stored order;
// the selection; which source is being scanned; each source's last-scan record and
// capacities (bytes). Volume identities are fresh per run and survive remounts of the
// same file system while the program runs; favourite identities are persisted by the
// FavoritesStore. A VolumeWatcher keeps the volume list current.
//
// Capacities come from statvfs, which hangs for as long as a network server is
// away, so they are read on worker threads: a new volume's figures are unknown until
// its read returns, and a read that outlasts the time limit leaves them unknown (a
// hung read is not started again while it hangs, so it holds one thread at most).
//
// Threads: main thread only, apart from those capacity reads. The scan itself belongs
// to the ScanCoordinator, which stops it when `scanningSourceID` stops naming its
// source (cancelScan, or a new beginScan).

#include "app/platform/MountTable.h"
#include "app/stores/FavoritesStore.h"
#include "core/model/Types.h"

#include <QObject>

#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

class QTimer;

namespace ringfold {

class VolumeWatcher;

class SidebarViewModel : public QObject {
    Q_OBJECT

public:
    /// Where the volume facts come from; the defaults read the running system.
    struct Options {
        std::string mountInfoPath = "/proc/self/mountinfo";
        MountSystemPaths systemPaths;
        bool watchVolumes = true;
        /// Reads one volume's capacity on a worker thread; may block.
        std::function<std::optional<VolumeCapacity>(const std::string&)> readCapacity =
            volumeCapacity;
        /// How long capacities may take before they are left unknown.
        std::chrono::milliseconds capacityTimeLimit{5000};
    };

    /// A null store means the default favourites file.
    explicit SidebarViewModel(std::unique_ptr<FavoritesStore> store = nullptr,
                              QObject* parent = nullptr);
    SidebarViewModel(std::unique_ptr<FavoritesStore> store, Options options,
                     QObject* parent = nullptr);
    ~SidebarViewModel() override;

    const ScanSource& thisComputer() const { return m_thisComputer; }
    const std::vector<ScanSource>& volumes() const { return m_volumes; }
    const std::vector<ScanSource>& favorites() const { return m_favorites; }
    /// A folder opened for this run only (the program's PATH argument): listed and
    /// scanned like a favourite, never saved.
    const std::optional<ScanSource>& transientSource() const { return m_transient; }
    /// Scans read back from files (ncdu JSON exports), in the order they were opened;
    /// listed for this run only. Their last-scan date is the date the file gives.
    const std::vector<ScanSource>& savedScans() const { return m_savedScans; }
    std::optional<Uuid> selectedSourceID() const { return m_selectedSourceID; }
    std::optional<Uuid> scanningSourceID() const { return m_scanningSourceID; }
    const FavoritesStore& favoritesStore() const { return *m_favoritesStore; }

    void setSelectedSourceID(std::optional<Uuid> id);

    /// This Computer, else the first volume, else the first favourite, else the
    /// transient folder, else the saved scan with that id.
    const ScanSource* source(const Uuid& id) const;

    /// Re-reads the mounted volumes and starts reading their capacities. The same file
    /// system at a mount point seen before in this run (listed now or unmounted
    /// since) keeps its id and last-scan date and size, takes the new name and kind,
    /// and loses its restricted mark; another file system there is a new volume. The
    /// selection is left alone.
    void refreshVolumes();
    /// True while capacity reads of the last refresh are out and within the time limit.
    bool capacitiesPending() const { return !m_awaitedCapacities.empty(); }
    /// Adds a favourite unless one has the same (cleaned) path; the name defaults to
    /// the folder's last path component. Saves the favourites.
    void addFavorite(const std::string& path, std::optional<std::string> displayName = {});
    /// Removes the favourite and saves; clears the selection when it was selected.
    void removeFavorite(const Uuid& id);
    /// The source for a folder named on the command line: the listed source at that
    /// (cleaned) path if there is one, else a new transient folder that replaces any
    /// earlier one. Returns its id; the selection is left alone.
    Uuid openTransientFolder(const std::string& path);
    /// Lists the saved scan in `file`, named after the file (the same file again gives
    /// the source already listed). Returns its id; the selection is left alone.
    Uuid openSavedScan(const std::string& file);
    /// Takes a saved scan off the list; clears the selection when it was selected.
    void closeSavedScan(const Uuid& id);
    /// The settings window's reset: stops any scan and clears the selection, restores
    /// the default favourites (saved at once) and forgets every volume's records.
    void resetFavoritesAndScanRecords();

    // Scan bookkeeping for the coordinator.
    /// Marks `id` as the source being scanned (replacing any other).
    void beginScan(const Uuid& id);
    /// Clears the scan state only if `id` is still the scanning source.
    void finishScan(const Uuid& id);
    /// The user's "Cancel": no scanning source and no selection (back to the gallery).
    void cancelScan();
    void clearLastScan(const Uuid& id);
    void recordScan(const Uuid& id, Timestamp date, std::int64_t allocatedSize, bool restricted);

signals:
    void thisComputerChanged();
    void volumesChanged();
    void favoritesChanged();
    void transientSourceChanged();
    void savedScansChanged();
    void selectedSourceIDChanged();
    void scanningSourceIDChanged();
    /// A volume left the list (unmounted, or another file system took its place);
    /// whatever was kept of its contents is stale.
    void volumeVanished(const ringfold::Uuid& id);

private:
    ScanSource* mutableSource(const Uuid& id);
    void notifySourceChanged(const ScanSource* source);
    void setScanningSourceID(std::optional<Uuid> id);
    void setFavorites(std::vector<ScanSource> favorites);
    std::vector<MountEntry> mountTable() const;
    void readCapacities(std::set<std::string> paths);
    void capacityArrived(const std::string& path, std::optional<VolumeCapacity> capacity);
    void capacityTimeLimitPassed();
    void setCapacity(const std::string& path, std::optional<VolumeCapacity> capacity);

    struct CapacityReads;
    // Where a volume was mounted and which file system it was (fileSystemIdentity).
    using VolumeKey = std::pair<std::string, std::string>;

    ScanSource m_thisComputer;
    std::vector<ScanSource> m_volumes;
    std::vector<ScanSource> m_favorites;
    std::optional<ScanSource> m_transient;
    std::vector<ScanSource> m_savedScans;
    std::map<Uuid, std::string> m_volumeFileSystems; // of each listed volume
    // Volumes that were unmounted: a remount of the same file system at the same
    // place gets its identity and last-scan record back.
    std::map<VolumeKey, ScanSource> m_departedVolumes;
    std::optional<Uuid> m_selectedSourceID;
    std::optional<Uuid> m_scanningSourceID;
    std::unique_ptr<FavoritesStore> m_favoritesStore;
    VolumeWatcher* m_volumeWatcher = nullptr;
    Options m_options;
    std::shared_ptr<CapacityReads> m_capacityReads;
    std::set<std::string> m_awaitedCapacities;
    QTimer* m_capacityDeadline = nullptr;
};

} // namespace ringfold
