#pragma once
// Where the running program lives, and whether it can read the user's files: the two
// start-up checks behind the relocation notice and the access onboarding.
//
// Linux ties no permission to a program's location, so the classification only tells
// apart a program that the desktop's menu will find from an AppImage run where it was
// downloaded (or from its temporary mount), a build tree and anything else. Paths are
// bytes, as the system gives them.

#include <functional>
#include <string>

namespace ringfold {

enum class InstallLocation { applications, diskImage, translocated, other, developmentBuild };

/// First match wins. `path`: the AppImage file when `appImage` is set (from
/// $APPIMAGE), else the running executable. `home`: the home folder. `hasBuildCache`
/// tells whether a folder holds a CMakeCache.txt (a build tree).
InstallLocation
classifyInstallLocation(const std::string& path, const std::string& home, bool appImage,
                        const std::function<bool(const std::string& folder)>& hasBuildCache);
/// The classification of this process, from $APPIMAGE or the executable's path.
InstallLocation currentInstallLocation();

/// The relocation notice shows for these two.
bool showsRelocationNotice(InstallLocation location);

/// Whether listing the home folder or its Documents or Downloads folder fails with a
/// permission error, as it does inside a sandbox without access to the user's files.
/// Blocks on the disk: call it off the GUI thread.
bool filesAreWalledOff(const std::string& home);

/// Whether this process runs in a Flatpak or Snap sandbox, where no helper can be run
/// as the administrator.
bool runsInSandbox();

} // namespace ringfold
