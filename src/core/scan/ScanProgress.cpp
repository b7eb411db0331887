#include "core/scan/ScanProgress.h"

namespace ringfold {

std::string ScanProgress::currentFolder() const {
    std::lock_guard lock(m_mutex);
    return m_current;
}

void ScanProgress::setCurrentFolder(std::string_view path) {
    std::unique_lock lock(m_mutex, std::try_to_lock);
    if (lock.owns_lock())
        m_current.assign(path);
}

} // namespace ringfold
