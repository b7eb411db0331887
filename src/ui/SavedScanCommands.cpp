#include "ui/SavedScanCommands.h"

#include "app/coordination/AppState.h"
#include "app/coordination/ScanCoordinator.h"
#include "app/window/MainWindowModel.h"
#include "app/window/SavedScans.h"

#include <QAction>
#include <QDir>
#include <QFile>
#include <QFileDialog>
#include <QMainWindow>
#include <QMessageBox>
#include <QStatusBar>

namespace ringfold {

namespace {

const QString kFilter = QStringLiteral("Scan files (*.json);;All files (*)");

} // namespace

SavedScanCommands::SavedScanCommands(MainWindowModel& model, QMainWindow& window)
    : QObject(&window), m_model(model), m_window(window) {
    m_open = new QAction(tr("Open Scan File…"), &window);
    m_open->setObjectName(QStringLiteral("openScanFile"));
    m_open->setShortcut(QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_O));
    m_open->setToolTip(tr("Browse a scan saved by Ringfold, ncdu or gdu"));
    connect(m_open, &QAction::triggered, this, &SavedScanCommands::chooseFileToOpen);
    m_save = new QAction(tr("Save Scan As…"), &window);
    m_save->setObjectName(QStringLiteral("saveScanAs"));
    m_save->setShortcut(QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_S));
    m_save->setToolTip(tr("Save this scan as a file that Ringfold, ncdu and gdu can open"));
    connect(m_save, &QAction::triggered, this, &SavedScanCommands::chooseFileToSave);
    window.addAction(m_open);
    window.addAction(m_save);

    SavedScans& saved = m_model.savedScans();
    connect(&saved, &SavedScans::savingChanged, this, &SavedScanCommands::updateEnabled);
    connect(&saved, &SavedScans::messageChanged, this, &SavedScanCommands::showMessage);
    connect(&m_model, &MainWindowModel::detailChanged, this, &SavedScanCommands::updateEnabled);
    connect(&m_model, &MainWindowModel::operationStatusChanged, this,
            &SavedScanCommands::updateEnabled);
    connect(&m_model.app().chart(), &ChartViewModel::rootNodeChanged, this,
            &SavedScanCommands::updateEnabled);
    updateEnabled();
}

void SavedScanCommands::chooseFileToOpen() {
    const QString file =
        QFileDialog::getOpenFileName(&m_window, tr("Open Scan File"), QDir::homePath(), kFilter);
    if (!file.isEmpty())
        m_model.savedScans().open(QFile::encodeName(file).toStdString());
}

void SavedScanCommands::chooseFileToSave() {
    SavedScans& saved = m_model.savedScans();
    if (!saved.canSave())
        return;
    const QString suggested = QDir::home().filePath(saved.suggestedFileName());
    const QString file =
        QFileDialog::getSaveFileName(&m_window, tr("Save Scan As"), suggested, kFilter);
    if (!file.isEmpty())
        saved.saveAs(QFile::encodeName(file).toStdString());
}

void SavedScanCommands::updateEnabled() {
    const bool saving = m_model.savedScans().saving();
    m_save->setEnabled(m_model.savedScans().canSave());
    m_save->setText(saving ? tr("Saving Scan…") : tr("Save Scan As…"));
}

void SavedScanCommands::showMessage() {
    const auto& message = m_model.savedScans().message();
    if (!message)
        return;
    const SavedScans::Message shown = *message;
    m_model.savedScans().dismissMessage();
    if (shown.error) {
        auto* box = new QMessageBox(QMessageBox::Warning, tr("Ringfold"), shown.text,
                                    QMessageBox::Ok, &m_window);
        box->setObjectName(QStringLiteral("savedScanAlert"));
        box->setAttribute(Qt::WA_DeleteOnClose);
        box->open();
    } else
        m_window.statusBar()->showMessage(shown.text, 10000);
}

} // namespace ringfold
