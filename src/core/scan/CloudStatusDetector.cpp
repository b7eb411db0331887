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

} // namespace ringfold
