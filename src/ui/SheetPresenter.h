#pragma once
// Shows what MainWindowModel asks of the window outside its panels: the trash and
// move confirmations, the folder chooser of a move or copy, the "Get Info" sheet and
// the alert of an operation's errors. One sheet at a time, window-modal.
//
// Threads: GUI thread only.

#include <QObject>
#include <QPointer>

#include <functional>

class QDialog;
class QWidget;

namespace ringfold {

class MainWindowModel;

class SheetPresenter : public QObject {
    Q_OBJECT

public:
    SheetPresenter(MainWindowModel& model, QWidget* window);

    /// The open sheet or alert, if any.
    QDialog* currentDialog() const { return m_dialog; }
    /// Asks for a destination ("Choose Destination") and copies the cleanup list there.
    void copyCleanupList();

    /// The folder chooser; replaceable so a test can answer it. Empty means cancelled.
    using FolderChooser = std::function<QString(QWidget* parent)>;
    void setFolderChooser(FolderChooser chooser) { m_chooseFolder = std::move(chooser); }

private:
    void showSheet();
    void showErrors();
    void open(QDialog* dialog);

    MainWindowModel& m_model;
    QWidget* m_window;
    QPointer<QDialog> m_dialog;
    FolderChooser m_chooseFolder;
};

} // namespace ringfold
