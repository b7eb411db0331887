#include "app/platform/VolumeWatcher.h"

#include <QMetaObject>
#include <QSocketNotifier>

#include <fcntl.h>
#include <unistd.h>

namespace ringfold {

namespace {

std::set<int> mountIDs(const std::string& path) {
    std::set<int> ids;
    for (const MountEntry& e : MountTable::read(path))
        ids.insert(e.mountID);
    return ids;
}

} // namespace

VolumeWatcher::VolumeWatcher(std::function<void()> onChange, std::string mountInfoPath,
                             QObject* parent)
    : QObject(parent), m_onChange(std::move(onChange)), m_path(std::move(mountInfoPath)) {
    // The descriptor stays open for the watcher's life: the kernel remembers per open
    // file which table generation the reader has seen.
    m_fd = ::open(m_path.c_str(), O_RDONLY | O_CLOEXEC);
    if (m_fd < 0)
        return;
    m_mountIDs = mountIDs(m_path);
    m_notifier = new QSocketNotifier(m_fd, QSocketNotifier::Exception, this);
    connect(m_notifier, &QSocketNotifier::activated, this, &VolumeWatcher::tableMayHaveChanged);
}

VolumeWatcher::~VolumeWatcher() {
    delete m_notifier;
    if (m_fd >= 0)
        ::close(m_fd);
}

void VolumeWatcher::tableMayHaveChanged() {
    // Reading through our descriptor re-arms it on older kernels; poll itself does on
    // newer ones.
    char buf[4096];
    ::lseek(m_fd, 0, SEEK_SET);
    while (::read(m_fd, buf, sizeof buf) > 0) {
    }

    std::set<int> now = mountIDs(m_path);
    int changes = 0;
    for (int id : now)
        changes += m_mountIDs.count(id) == 0 ? 1 : 0;
    for (int id : m_mountIDs)
        changes += now.count(id) == 0 ? 1 : 0;
    m_mountIDs = std::move(now);

    for (int i = 0; i < changes; ++i)
        QMetaObject::invokeMethod(
            this,
            [this] {
                if (m_onChange)
                    m_onChange();
            },
            Qt::QueuedConnection);
}

} // namespace ringfold
