#pragma once
// Tells the sources model when a volume was mounted or unmounted. The kernel flags an
// open /proc/self/mountinfo with POLLPRI whenever the mount table of this namespace
// changes; the watcher then re-reads the table, compares it with the previous one
// and queues one call of `onChange` per mount that appeared and one per mount that
// went away. Calls are not coalesced or filtered (a bind mount or a tmpfs counts
// too): the callback re-reads the volumes itself.
//
// A mount is known by its id, mount point, device numbers and source together: the
// kernel hands a freed mount id to the next mount, so an unmount and a mount between
// two reads can leave the set of ids unchanged.
//
// Threads: created and used on the main thread; `onChange` always runs there, from
// the event loop, after the notification handler has returned.

#include "app/platform/MountTable.h"

#include <QObject>

#include <functional>
#include <set>
#include <string>
#include <tuple>

class QSocketNotifier;

namespace ringfold {

class VolumeWatcher : public QObject {
    Q_OBJECT

public:
    /// Starts watching at once. Without a readable mount table the watcher stays
    /// silent.
    explicit VolumeWatcher(std::function<void()> onChange,
                           std::string mountInfoPath = "/proc/self/mountinfo",
                           QObject* parent = nullptr);
    ~VolumeWatcher() override;

    bool isWatching() const { return m_notifier != nullptr; }

private:
    void tableMayHaveChanged();

    std::function<void()> m_onChange;
    std::string m_path;
    int m_fd = -1;
    QSocketNotifier* m_notifier = nullptr;
    using MountKey = std::tuple<int, std::string, unsigned, unsigned, std::string>;
    static std::set<MountKey> readKeys(const std::string& path);

    std::set<MountKey> m_mounts;
};

} // namespace ringfold
