#pragma once
// The two start-up screens: the relocation notice for an AppImage run from where it
// was downloaded or from its temporary mount, and the one-time access onboarding
// when the user's files are walled off (a sandbox without access to them). The access
// check lists folders, so it runs on a worker thread; the onboarding appears when it
// answers, unless the user has dismissed it for good.
//
// Threads: GUI thread; the folder listing on Qt's thread pool.

#include "app/window/InstallLocation.h"

#include <QDialog>

#include <functional>

namespace ringfold {

class SettingsStore;

class RelocationNotice : public QDialog {
    Q_OBJECT
public:
    RelocationNotice(InstallLocation location, QWidget* parent = nullptr);
};

class AccessOnboarding : public QDialog {
    Q_OBJECT
public:
    /// Every button dismisses it for good (the fdaOnboardingDismissed setting). With
    /// `scanAsAdministrator` (outside a sandbox) it offers that too.
    AccessOnboarding(SettingsStore& settings, std::function<void()> scanAsAdministrator = {},
                     QWidget* parent = nullptr);
};

/// Runs the start-up checks for `window`: the relocation notice first; otherwise the
/// access check in the background, then the onboarding if it applies.
void runStartupChecks(QWidget* window, SettingsStore& settings,
                      std::function<void()> scanAsAdministrator = {});

} // namespace ringfold
