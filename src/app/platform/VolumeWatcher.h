#pragma once
// Tells the sources model when a volume was mounted or unmounted. The kernel flags an
// open /proc/self/mountinfo with POLLPRI whenever the mount table of this namespace
// changes; the watcher then re-reads the table, compares it with the previous one
// by mount id, and queues one call of `onChange` per mount that appeared and one per
// mount that went away. Calls are not coalesced or filtered (a bind mount or a tmpfs
// counts too): the callback re-reads the volumes itself.
//
// Threads: created and used on the main thread; `onChange` always runs there, from
// the event loop, after the notification handler has returned.

#include "app/platform/MountTable.h"

#include <QObject>

#include <functional>
#include <set>
#include <string>

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
    std::set<int> m_mountIDs;
};

} // namespace ringfold
