#pragma once
// The window's side of saved scans: the "Open Scan File…" and "Save Scan As…" actions
// with their file dialogs, and the outcome of a saved-scan command shown as the user
// expects it: an alert for a file that couldn't be opened or written, a note in the
// status bar for the rest (a saved file, a refused administrator's scan).
//
// Threads: GUI thread only.

#include <QObject>

class QAction;
class QMainWindow;

namespace ringfold {

class MainWindowModel;

class SavedScanCommands : public QObject {
    Q_OBJECT

public:
    SavedScanCommands(MainWindowModel& model, QMainWindow& window);

    QAction* openAction() const { return m_open; }
    QAction* saveAction() const { return m_save; }
    /// Asks for a saved scan to open (the sidebar's "Open Scan File…" too).
    void chooseFileToOpen();
    void chooseFileToSave();

private:
    void updateEnabled();
    void showMessage();

    MainWindowModel& m_model;
    QMainWindow& m_window;
    QAction* m_open;
    QAction* m_save;
};

} // namespace ringfold
