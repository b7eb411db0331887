#include "app/platform/VolumeWatcher.h"

#include <QMetaObject>
#include <QSocketNotifier>

#include <fcntl.h>
#include <unistd.h>

namespace ringfold {

std::set<VolumeWatcher::MountKey> VolumeWatcher::readKeys(const std::string& path) {
    std::set<MountKey> keys;
    for (const MountEntry& e : MountTable::read(path))
        keys.emplace(e.mountID, e.mountPoint, e.major, e.minor, e.source);
    return keys;
}

VolumeWatcher::VolumeWatcher(std::function<void()> onChange, std::string mountInfoPath,
                             QObject* parent)
    : QObject(parent), m_onChange(std::move(onChange)), m_path(std::move(mountInfoPath)) {
    // The descriptor stays open for the watcher's life: the kernel remembers per open
    // file which table generation the reader has seen.
    m_fd = ::open(m_path.c_str(), O_RDONLY | O_CLOEXEC);
    if (m_fd < 0)
        return;
    m_mounts = readKeys(m_path);
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

    std::set<MountKey> now = readKeys(m_path);
    int changes = 0;
    for (const MountKey& key : now)
        changes += m_mounts.count(key) == 0 ? 1 : 0;
    for (const MountKey& key : m_mounts)
        changes += now.count(key) == 0 ? 1 : 0;
    m_mounts = std::move(now);

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
