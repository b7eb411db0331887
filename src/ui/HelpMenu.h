#pragma once
// The Help menu: "Ringfold Help" (F1, Ctrl+?) opens the bundled help page in one
// reused window; "Contact Support…" writes a mail with the version and the system;
// "Buy Me a Coffee…" opens the donation page; "About Ringfold" shows the version.
//
// Threads: GUI thread only.

class QMainWindow;
class QWidget;

namespace ringfold {

/// Adds the Help menu to the window's menu bar.
void addHelpMenu(QMainWindow& window);
/// Shows the help window, made on first use and reused afterwards.
QWidget* showHelpWindow();

} // namespace ringfold
