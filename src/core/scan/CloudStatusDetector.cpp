#include "core/scan/CloudStatusDetector.h"

#include <cstdlib>
#include <pwd.h>
#include <unistd.h>

namespace ringfold {

std::vector<std::string> CloudStatusDetector::cloudRoots(std::string_view homePath) {
    std::string home(homePath);
    return {home + "/Library/Mobile Documents/", home + "/Library/CloudStorage/"};
}

std::string CloudStatusDetector::homeFolder() {
    if (const char* h = std::getenv("HOME"); h && *h)
        return h;
    if (const passwd* pw = ::getpwuid(::getuid()); pw && pw->pw_dir)
        return pw->pw_dir;
    return "/";
}

CloudStatus CloudStatusDetector::status(std::uint32_t flags, std::string_view path,
                                        const std::vector<std::string>& cloudRoots) {
    if (flags & kDatalessFlag)
        return CloudStatus::cloudPlaceholder;
    for (const auto& root : cloudRoots)
        if (path.starts_with(root))
            return CloudStatus::cloudDownloaded;
    return CloudStatus::notApplicable;
}

std::uint32_t CloudStatusDetector::linuxFlags(std::string_view name, bool isRegularFile) {
    if (isRegularFile && (name.ends_with(".nextcloud") || name.ends_with(".owncloud")))
        return kDatalessFlag;
    return 0;
}

CloudScope CloudScope::ofFolder(std::string_view path, const std::vector<std::string>& roots) {
    std::string prefix(path);
    if (prefix.empty() || prefix.back() != '/')
        prefix += '/';
    CloudScope scope;
    scope.m_prefixLength = prefix.size();
    for (std::size_t i = 0; i < roots.size() && i < 64; ++i) {
        if (std::string_view(prefix).starts_with(roots[i]))
            scope.m_inside = true;
        else if (roots[i].size() > prefix.size() && roots[i].starts_with(prefix))
            scope.m_above |= std::uint64_t(1) << i;
    }
    return scope;
}

CloudScope CloudScope::child(std::string_view name, const std::vector<std::string>& roots) const {
    CloudScope scope;
    scope.m_prefixLength = m_prefixLength + name.size() + 1;
    scope.m_inside = m_inside;
    if (m_inside)
        return scope;
    // A root below this folder either names this subfolder next (then it ends right
    // after the name, or goes on below it) or lies elsewhere.
    for (std::uint64_t bits = m_above; bits; bits &= bits - 1) {
        const std::string& root = roots[static_cast<std::size_t>(__builtin_ctzll(bits))];
        std::string_view rest = std::string_view(root).substr(m_prefixLength);
        if (rest.size() <= name.size() || !rest.starts_with(name) || rest[name.size()] != '/')
            continue;
        if (rest.size() == name.size() + 1)
            scope.m_inside = true;
        else
            scope.m_above |= bits & (~bits + 1);
    }
    return scope;
}

} // namespace ringfold
