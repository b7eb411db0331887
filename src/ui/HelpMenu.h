#pragma once
// The Help menu: "Ringfold Help" (F1, Ctrl+?) opens the bundled help page in one
// reused window; "Contact Support…" writes a mail with the version and the system;
// "Buy Me a Coffee…" opens the donation page; "Check for Updates…" asks the update
// feed; "About Ringfold" shows the version.
//
// Threads: GUI thread only.

#include <QString>

class QMainWindow;

class QWidget;

namespace ringfold {

class UpdateChecker;

/// Adds the Help menu to the window's menu bar, with "Check for Updates…", and shows
/// what update checks find in a notice that does not block the window.
void addHelpMenu(QMainWindow& window, UpdateChecker& updates);
/// Shows the help window, made on first use and reused afterwards, at `section` (an
/// anchor of the page) when given.
QWidget* showHelpWindow(const QString& section = {});

} // namespace ringfold
