#include "app/operations/CopyManifest.h"

namespace ringfold {

namespace {

bool sameTime(const timespec& a, const timespec& b) {
    return a.tv_sec == b.tv_sec && a.tv_nsec == b.tv_nsec;
}

} // namespace

void CopyManifest::record(const struct stat& s) {
    m_entries[{s.st_dev, s.st_ino}] = Fingerprint{s.st_size, s.st_mtim, s.st_ctim};
}

bool CopyManifest::matches(const struct stat& s, bool withCtime) const {
    const auto it = m_entries.find({s.st_dev, s.st_ino});
    if (it == m_entries.end())
        return false;
    const Fingerprint& f = it->second;
    return S_ISDIR(s.st_mode) || (f.size == s.st_size && sameTime(f.mtime, s.st_mtim) &&
                                  (!withCtime || sameTime(f.ctime, s.st_ctim)));
}

} // namespace ringfold
