#include "ui/SheetPresenter.h"

#include "app/coordination/AppState.h"
#include "app/operations/DeletionConfirmation.h"
#include "app/stores/CleanupListStore.h"
#include "app/window/MainWindowModel.h"
#include "ui/DeletionConfirmationView.h"
#include "ui/ItemInfoView.h"

#include <QFileDialog>
#include <QMessageBox>

namespace ringfold {

SheetPresenter::SheetPresenter(MainWindowModel& model, QWidget* window)
    : QObject(window), m_model(model), m_window(window), m_chooseFolder([](QWidget* parent) {
          return QFileDialog::getExistingDirectory(parent, QStringLiteral("Choose Destination"));
      }) {
    connect(&model, &MainWindowModel::activeSheetChanged, this, &SheetPresenter::showSheet);
    connect(&model, &MainWindowModel::operationErrorsChanged, this, &SheetPresenter::showErrors);
}

void SheetPresenter::open(QDialog* dialog) {
    if (m_dialog)
        m_dialog->deleteLater();
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    m_dialog = dialog;
    dialog->open();
}

void SheetPresenter::showSheet() {
    const auto& sheet = m_model.activeSheet();
    if (!sheet) {
        // Closed by the model (confirmed or cancelled elsewhere): take the dialog down.
        if (m_dialog && m_dialog->property("sheet").toBool())
            m_dialog->close();
        return;
    }
    using Kind = MainWindowModel::Sheet::Kind;
    QDialog* dialog = nullptr;
    if (sheet->kind == Kind::itemInfo) {
        dialog = new ItemInfoView(sheet->nodes.front(), m_window);
        connect(dialog, &QDialog::finished, &m_model, &MainWindowModel::dismissSheet);
    } else {
        const bool trash = sheet->kind == Kind::trash;
        const DeletionConfirmation texts = trash ? DeletionConfirmation::forTrash(sheet->nodes)
                                                 : DeletionConfirmation::forMove(sheet->nodes);
        dialog = new DeletionConfirmationView(texts, m_window);
        connect(dialog, &QDialog::rejected, &m_model, &MainWindowModel::dismissSheet);
        connect(dialog, &QDialog::accepted, this, [this, trash] {
            if (trash) {
                m_model.confirmTrash();
                return;
            }
            std::vector<NodePtr> nodes = m_model.confirmMove();
            const QString folder = m_chooseFolder(m_window);
            if (!folder.isEmpty())
                m_model.moveTo(std::move(nodes), folder);
        });
    }
    dialog->setProperty("sheet", true);
    open(dialog);
}

void SheetPresenter::copyCleanupList() {
    if (m_model.app().cleanupList().isEmpty() || m_model.operationRunning())
        return;
    const QString folder = m_chooseFolder(m_window);
    if (!folder.isEmpty())
        m_model.copyCleanupListTo(folder);
}

void SheetPresenter::showErrors() {
    if (!m_model.showingErrorAlert())
        return;
    auto* alert = new QMessageBox(QMessageBox::Warning, MainWindowModel::errorAlertTitle(),
                                  MainWindowModel::errorAlertTitle(), QMessageBox::Ok, m_window);
    alert->setInformativeText(m_model.errorAlertMessage());
    alert->setWindowModality(Qt::WindowModal);
    connect(alert, &QDialog::finished, &m_model, &MainWindowModel::dismissErrorAlert);
    open(alert);
}

} // namespace ringfold
