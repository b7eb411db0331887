#include "ui/FileRowContextMenu.h"

#include "app/coordination/AppState.h"
#include "app/operations/FileManagerReveal.h"
#include "app/window/MainWindowModel.h"
#include "app/window/SavedScans.h"
#include "core/model/Tree.h"

#include <QApplication>
#include <QFile>
#include <QFileDialog>
#include <QMenu>
#include <QPointer>

namespace ringfold {

namespace {

QString tr(const char* text) {
    return QApplication::translate("FileRowContextMenu", text);
}

// One file manager link per window: its D-Bus reply may arrive after the menu closed.
FileManagerReveal* revealFor(QWidget* parent) {
    QObject* owner = parent ? static_cast<QObject*>(parent->window()) : qApp;
    auto* reveal = owner->findChild<FileManagerReveal*>(QStringLiteral("rowReveal"),
                                                        Qt::FindDirectChildrenOnly);
    if (!reveal) {
        reveal = new FileManagerReveal(owner);
        reveal->setObjectName(QStringLiteral("rowReveal"));
    }
    return reveal;
}

} // namespace

void FileRowContextMenu::exec(MainWindowModel& model, const NodePtr& node, const QPoint& globalPos,
                              QWidget* parent, const Extras& extras) {
    if (!node)
        return;
    QMenu menu(parent);
    populate(menu, model, node, parent, extras);
    menu.exec(globalPos);
}

void FileRowContextMenu::populate(QMenu& menu, MainWindowModel& model, const NodePtr& node,
                                  QWidget* parent, const Extras& extras) {
    if (!node)
        return;
    CleanupListStore& cleanup = model.app().cleanupList();
    const bool allowed = cleanup.canAdd(*node);
    QPointer<QWidget> host(parent);
    auto offer = [&](const QString& text, auto&& action) {
        QAction* a = menu.addAction(text);
        QObject::connect(a, &QAction::triggered, &menu, action);
        return a;
    };
    auto extra = [&](const QString& text, const std::function<void(const NodePtr&)>& action) {
        if (action)
            offer(text, [action, node] { action(node); });
    };

    // A saved scan's paths may name files of another computer, or other files here.
    const bool record = node->tree().isRecord();
    QAction* reveal = offer(tr("Show in File Manager"), [host, node] {
        revealFor(host)->reveal(QFile::decodeName(QByteArray::fromStdString(node->url())));
    });
    if (!record)
        extra(tr("Quick Preview"), extras.quickPreview);
    offer(tr("Get Info"), [&model, node] { model.showInfo(node); });
    if (node->isDirectory()) {
        extra(tr("Drill Into Folder"), extras.drillInto);
        extra(tr("Add to Favorites"), extras.addToFavorites);
    }

    menu.addSeparator();
    offer(cleanup.contains(*node) ? tr("Remove from Cleanup List") : tr("Add to Cleanup List"),
          [&cleanup, node] { cleanup.toggle(node); })
        ->setEnabled(allowed);

    menu.addSeparator();
    QAction* trash =
        offer(tr("Move to Trash"), [&model, node] { model.requestTrash(node); });
    trash->setEnabled(allowed);
    if (node->cloudStatus() == CloudStatus::cloudDownloaded && !record)
        offer(tr("Remove Download"), [&model, node] { model.removeDownload(node); });
    QAction* move = offer(tr("Move to…"), [&model, node] { model.requestMove(node); });
    QAction* copy = offer(tr("Copy to…"), [&model, node, host] {
        // Modal to its window only: the other windows stay usable while one chooses.
        QFileDialog chooser(host, tr("Choose Destination"));
        chooser.setFileMode(QFileDialog::Directory);
        chooser.setOption(QFileDialog::ShowDirsOnly);
        chooser.setWindowModality(Qt::WindowModal);
        if (chooser.exec() == QDialog::Accepted && !chooser.selectedFiles().isEmpty())
            model.copyTo({node}, chooser.selectedFiles().constFirst());
    });
    if (record) {
        menu.setToolTipsVisible(true);
        for (QAction* a : {reveal, trash, move, copy}) {
            a->setEnabled(false);
            a->setToolTip(savedScanReason());
        }
    }
}

} // namespace ringfold
