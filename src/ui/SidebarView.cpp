#include "ui/SidebarView.h"

#include "app/viewmodels/SidebarViewModel.h"
#include "app/window/SavedScans.h"
#include "ui/SidebarRowDelegate.h"
#include "ui/SourceText.h"
#include "ui/Symbols.h"

#include <QDateTime>
#include <QFile>
#include <QFileDialog>
#include <QHeaderView>
#include <QLocale>
#include <QMenu>
#include <QPushButton>
#include <QTreeWidget>
#include <QVBoxLayout>

#include <algorithm>

namespace ringfold {

namespace {

using D = SidebarRowDelegate;

QString idText(const Uuid& id) {
    return QString::fromStdString(id.toString());
}

QString decoded(const std::string& bytes) {
    return QFile::decodeName(QByteArray::fromStdString(bytes));
}

// Tells the "Open Scan File…" row from "Add Favorite Folder".
const QString kOpenScanAction = QStringLiteral("open-scan-file");

} // namespace

SidebarView::SidebarView(SidebarViewModel& model, Actions actions, QWidget* parent)
    : QWidget(parent), m_model(model), m_actions(std::move(actions)) {
    setBackgroundRole(QPalette::AlternateBase);
    setAutoFillBackground(true);
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 4, 0, 10);
    column->setSpacing(8);

    m_list = new QTreeWidget(this);
    m_list->setHeaderHidden(true);
    m_list->setRootIsDecorated(false);
    m_list->setIndentation(0);
    m_list->setFrameShape(QFrame::NoFrame);
    m_list->setItemDelegate(new SidebarRowDelegate(m_list));
    m_list->setMouseTracking(true);
    m_list->setContextMenuPolicy(Qt::CustomContextMenu);
    m_list->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_list->viewport()->setBackgroundRole(QPalette::AlternateBase);
    m_list->setBackgroundRole(QPalette::AlternateBase);
    column->addWidget(m_list, 1);

    m_junkButton = new QPushButton(symbolIcon("sparkles"), tr("Scan Startup Disk for Junk"), this);
    m_junkButton->setToolTip(QStringLiteral("Scan ") + decoded(m_model.thisComputer().displayName) +
                             QStringLiteral(" and jump straight to the System Junk results"));
    auto* buttonRow = new QHBoxLayout;
    buttonRow->setContentsMargins(12, 0, 12, 0);
    buttonRow->addWidget(m_junkButton);
    column->addLayout(buttonRow);
    connect(m_junkButton, &QPushButton::clicked, this, [this] {
        if (m_actions.scanStartupJunk)
            m_actions.scanStartupJunk();
    });

    connect(m_list, &QTreeWidget::currentItemChanged, this, &SidebarView::onCurrentChanged);
    connect(m_list, &QTreeWidget::itemClicked, this, [this](QTreeWidgetItem* item) {
        if (item->data(0, D::KindRole).toInt() != D::ActionRow)
            return;
        if (item->data(0, D::PathRole).toString() == kOpenScanAction) {
            if (m_actions.openScanFile)
                m_actions.openScanFile();
        } else {
            addFavoriteWithChooser();
        }
    });
    connect(m_list, &QTreeWidget::customContextMenuRequested, this, &SidebarView::showContextMenu);

    for (auto signal :
         {&SidebarViewModel::thisComputerChanged, &SidebarViewModel::volumesChanged,
          &SidebarViewModel::favoritesChanged, &SidebarViewModel::transientSourceChanged,
          &SidebarViewModel::savedScansChanged, &SidebarViewModel::scanningSourceIDChanged})
        connect(&m_model, signal, this, &SidebarView::rebuild);
    connect(&m_model, &SidebarViewModel::selectedSourceIDChanged, this,
            &SidebarView::syncSelectionFromModel);
    rebuild();
}

void SidebarView::addSection(const QString& title) {
    auto* item = new QTreeWidgetItem(m_list, QStringList(title));
    item->setData(0, D::KindRole, D::SectionRow);
    item->setFlags(Qt::ItemIsEnabled);
}

void SidebarView::addSourceRow(const ScanSource& source) {
    auto* item = new QTreeWidgetItem(m_list, QStringList(decoded(source.displayName)));
    item->setData(0, D::KindRole, D::SourceRow);
    item->setData(0, D::SourceIdRole, idText(source.id));
    item->setData(0, D::PathRole, decoded(source.url));
    item->setData(0, Qt::DecorationRole, symbolIcon(sourceSymbol(source)));
    item->setFlags(Qt::ItemIsEnabled | Qt::ItemIsSelectable);

    QStringList parts;
    QString tip = decoded(source.url);
    if (m_model.scanningSourceID() == source.id) {
        parts << (source.kind == ScanSourceKind::savedScan ? QStringLiteral("Reading…")
                                                           : QStringLiteral("Scanning…"));
    } else if (source.kind == ScanSourceKind::savedScan) {
        // The scan's date and size: the row is narrow, and its file is in the tooltip.
        if (source.lastScanDate)
            parts << QLocale().toString(QDateTime::fromSecsSinceEpoch(*source.lastScanDate).date(),
                                        QLocale::ShortFormat);
        if (source.lastScanAllocatedSize)
            parts << byteText(*source.lastScanAllocatedSize);
    } else if (source.lastScanWasRestricted) {
        parts << restrictedText();
        tip = restrictedHelp();
        item->setData(0, D::RestrictedRole, true);
    } else {
        if (auto capacity = capacityText(source))
            parts << *capacity;
        if (auto indexed = indexedText(source))
            parts << *indexed;
    }
    item->setData(0, D::SubtitleRole, parts.join(QStringLiteral(" · ")));
    item->setToolTip(0, tip);
}

void SidebarView::rebuild() {
    m_syncing = true;
    m_list->clear();
    addSection(tr("This Computer"));
    addSourceRow(m_model.thisComputer());
    if (!m_model.volumes().empty()) {
        addSection(tr("External & Network Volumes"));
        for (const ScanSource& v : m_model.volumes())
            addSourceRow(v);
    }
    addSection(tr("Favorite Folders"));
    if (m_model.favorites().empty()) {
        auto* note = new QTreeWidgetItem(m_list, QStringList(tr("No favorites yet")));
        note->setData(0, D::KindRole, D::NoteRow);
        note->setFlags(Qt::ItemIsEnabled);
    }
    for (const ScanSource& f : m_model.favorites())
        addSourceRow(f);
    auto* add = new QTreeWidgetItem(m_list, QStringList(tr("Add Favorite Folder")));
    add->setData(0, D::KindRole, D::ActionRow);
    add->setData(0, Qt::DecorationRole, symbolIcon("plus"));
    add->setFlags(Qt::ItemIsEnabled);
    if (const auto& transient = m_model.transientSource()) {
        addSection(tr("Opened Folder"));
        addSourceRow(*transient);
    }
    addSection(tr("Saved Scans"));
    for (const ScanSource& saved : m_model.savedScans())
        addSourceRow(saved);
    auto* open = new QTreeWidgetItem(m_list, QStringList(tr("Open Scan File…")));
    open->setData(0, D::KindRole, D::ActionRow);
    open->setData(0, D::PathRole, kOpenScanAction);
    open->setData(0, Qt::DecorationRole, symbolIcon("doc"));
    open->setToolTip(0, tr("Browse a scan saved by Ringfold, ncdu or gdu (%1)")
                            .arg(QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_O)
                                     .toString(QKeySequence::NativeText)));
    open->setFlags(Qt::ItemIsEnabled);
    m_syncing = false;
    syncSelectionFromModel();
}

QTreeWidgetItem* SidebarView::rowOf(const Uuid& id) const {
    const QString wanted = idText(id);
    for (int i = 0; i < m_list->topLevelItemCount(); ++i) {
        QTreeWidgetItem* item = m_list->topLevelItem(i);
        if (item->data(0, D::SourceIdRole).toString() == wanted)
            return item;
    }
    return nullptr;
}

void SidebarView::syncSelectionFromModel() {
    m_syncing = true;
    const auto selected = m_model.selectedSourceID();
    QTreeWidgetItem* row = selected ? rowOf(*selected) : nullptr;
    if (row) {
        m_list->setCurrentItem(row);
    } else {
        m_list->clearSelection();
        m_list->setCurrentItem(nullptr);
    }
    m_syncing = false;
}

void SidebarView::onCurrentChanged() {
    if (m_syncing)
        return;
    QTreeWidgetItem* item = m_list->currentItem();
    if (!item || item->data(0, D::KindRole).toInt() != D::SourceRow)
        return;
    if (auto id = Uuid::parse(item->data(0, D::SourceIdRole).toString().toStdString()))
        m_model.setSelectedSourceID(*id);
}

void SidebarView::showContextMenu(const QPoint& pos) {
    QTreeWidgetItem* item = m_list->itemAt(pos);
    if (!item || item->data(0, D::KindRole).toInt() != D::SourceRow)
        return;
    const auto id = Uuid::parse(item->data(0, D::SourceIdRole).toString().toStdString());
    const ScanSource* source = id ? m_model.source(*id) : nullptr;
    if (!source)
        return;
    const Uuid sourceId = source->id;
    const std::string path = source->url;
    const bool favourite = std::any_of(m_model.favorites().begin(), m_model.favorites().end(),
                                       [&](const ScanSource& f) { return f.id == sourceId; });
    const bool transient = m_model.transientSource() && m_model.transientSource()->id == sourceId;
    const bool record = source->kind == ScanSourceKind::savedScan;
    const bool restricted = source->lastScanWasRestricted;

    QMenu menu(this);
    menu.setToolTipsVisible(true);
    QAction* rescan =
        menu.addAction(symbolIcon("arrow.clockwise"), tr("Rescan"), this, [this, sourceId] {
            if (m_actions.rescan)
                m_actions.rescan(sourceId);
        });
    QAction* reveal = menu.addAction(tr("Show in File Manager"), this, [this, path] {
        if (m_actions.reveal)
            m_actions.reveal(path);
    });
    for (QAction* a : {rescan, reveal}) {
        a->setEnabled(!record);
        if (record)
            a->setToolTip(savedScanReason());
    }
    if (restricted && !record && m_actions.scanAsAdministrator) {
        QAction* admin = menu.addAction(tr("Scan as Administrator…"), this, [this, sourceId] {
            m_actions.scanAsAdministrator(sourceId);
        });
        admin->setToolTip(tr("Scan again with the administrator's rights, so that the folders "
                             "your account can't read are counted too (asks for the password)"));
    }
    if (record) {
        menu.addSeparator();
        menu.addAction(tr("Close Saved Scan"), this,
                       [this, sourceId] { m_model.closeSavedScan(sourceId); });
    } else if (favourite) {
        menu.addSeparator();
        menu.addAction(tr("Remove from Favorites"), this,
                       [this, sourceId] { m_model.removeFavorite(sourceId); });
    } else if (transient) {
        menu.addSeparator();
        menu.addAction(symbolIcon("plus"), tr("Add to Favorite Folders"), this,
                       [this, path] { m_model.addFavorite(path); });
    }
    menu.exec(m_list->viewport()->mapToGlobal(pos));
}

void SidebarView::addFavoriteWithChooser() {
    const QString folder =
        QFileDialog::getExistingDirectory(window(), tr("Choose a folder to add to Favorites"));
    if (!folder.isEmpty())
        m_model.addFavorite(QFile::encodeName(folder).toStdString());
}

} // namespace ringfold
