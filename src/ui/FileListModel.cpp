#include "ui/FileListModel.h"

#include "app/viewmodels/FileListViewModel.h"
#include "core/model/DisplayGrouping.h"
#include "ui/Symbols.h"

#include <QApplication>
#include <QDateTime>
#include <QLocale>
#include <QPalette>

namespace ringfold {

namespace {

using Key = FileSortDescriptor::Key;

std::optional<Key> keyOf(int column) {
    switch (column) {
    case FileListModel::NameColumn:
        return Key::name;
    case FileListModel::KindColumn:
        return Key::kind;
    case FileListModel::ModifiedColumn:
        return Key::modified;
    case FileListModel::SizeColumn:
        return Key::size;
    default:
        return std::nullopt;
    }
}

QString dateText(Timestamp seconds, QLocale::FormatType format) {
    const QDateTime when = QDateTime::fromSecsSinceEpoch(seconds);
    return format == QLocale::ShortFormat ? QLocale().toString(when.date(), format)
                                          : QLocale().toString(when, format);
}

} // namespace

FileListModel::FileListModel(FileListViewModel& list, CleanupListStore& cleanup, QObject* parent)
    : NodeTableModel(cleanup, parent), m_list(list) {
    // The view model publishes its three lists one after another, all of them already
    // set: the first signal takes everything over, the others find nothing new.
    for (auto signal :
         {&FileListViewModel::displayRowsChanged, &FileListViewModel::smallerNodesChanged,
          &FileListViewModel::hiddenNodesChanged})
        connect(&list, signal, this, &FileListModel::sync);
    connect(&list, &FileListViewModel::revisionChanged, this, &FileListModel::rowsChangedInPlace);
    sync();
}

void FileListModel::sync() {
    const int extra = static_cast<int>(groups().size());
    if (m_sorting)
        setRowsReordered(m_list.displayRows(), m_list.lastFocusedNode(), extra);
    else
        setRows(m_list.displayRows(), m_list.lastFocusedNode(), extra);
}

std::vector<FileListModel::Group> FileListModel::groups() const {
    std::vector<Group> g;
    if (!m_list.smallerNodes().empty())
        g.push_back(Group::smaller);
    if (!m_list.hiddenNodes().empty())
        g.push_back(Group::hidden);
    return g;
}

std::optional<FileListModel::Group> FileListModel::groupAt(int row) const {
    const std::vector<Group> g = groups();
    const int extra = row - nodeRowCount();
    if (extra < 0 || extra >= static_cast<int>(g.size()))
        return std::nullopt;
    return g[static_cast<std::size_t>(extra)];
}

int FileListModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : BadgeColumn + 1;
}

QVariant FileListModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation != Qt::Horizontal)
        return {};
    if (role == Qt::DisplayRole) {
        switch (section) {
        case NameColumn:
            return tr("Name");
        case KindColumn:
            return tr("Kind");
        case ModifiedColumn:
            return tr("Modified");
        case SizeColumn:
            return tr("Size");
        default:
            return {};
        }
    }
    // A first click on a date or a size lists the newest or largest first.
    if (role == Qt::InitialSortOrderRole)
        return section == ModifiedColumn || section == SizeColumn ? Qt::DescendingOrder
                                                                  : Qt::AscendingOrder;
    if (role == Qt::TextAlignmentRole && section == SizeColumn)
        return QVariant::fromValue(Qt::AlignRight | Qt::AlignVCenter);
    return {};
}

void FileListModel::sort(int column, Qt::SortOrder order) {
    const auto key = keyOf(column);
    if (!key)
        return;
    m_sorting = true;
    m_list.setSortOrder({FileSortDescriptor{*key, order == Qt::AscendingOrder}});
    m_sorting = false;
}

QVariant FileListModel::nodeData(const FileNode& node, int, int column, int role) const {
    switch (column) {
    case NameColumn:
        return nameData(node, role);
    case KindColumn:
        if (role == Qt::DisplayRole)
            return QString::fromStdString(node.kindLabel());
        break;
    case ModifiedColumn:
        if (const auto date = node.modificationDate()) {
            if (role == Qt::DisplayRole)
                return dateText(*date, QLocale::ShortFormat);
            if (role == Qt::ToolTipRole)
                return dateText(*date, QLocale::LongFormat);
        }
        if (role == Qt::ForegroundRole)
            return secondaryForeground();
        break;
    case SizeColumn:
        if (role == Qt::DisplayRole)
            return QString::fromStdString(node.sizeLabel());
        if (role == Qt::ToolTipRole)
            if (const auto note = node.sharedStorageNote())
                return QString::fromStdString(*note);
        if (role == Qt::TextAlignmentRole)
            return QVariant::fromValue(Qt::AlignRight | Qt::AlignVCenter);
        break;
    default:
        break;
    }
    return {};
}

QVariant FileListModel::extraData(int extraRow, int column, int role) const {
    const std::optional<Group> group = groupAt(nodeRowCount() + extraRow);
    const NodePtr folder = m_list.lastFocusedNode();
    if (!group || !folder)
        return {};
    const bool smaller = *group == Group::smaller;
    if (role == Qt::BackgroundRole) {
        QColor tint = QApplication::palette().color(QPalette::Highlight);
        tint.setAlphaF(0.1f);
        return tint;
    }
    if (role == kAggregateIDRole)
        return qint64(smaller ? smallerObjectsAggregateID(folder->id())
                              : hiddenAggregateID(folder->id()));
    if (column == NameColumn && role == Qt::DisplayRole) {
        const auto count = (smaller ? m_list.smallerNodes() : m_list.hiddenNodes()).size();
        return (smaller ? tr("Smaller objects") : tr("Hidden items")) +
               QStringLiteral(" (%1 items)").arg(count);
    }
    if (column == NameColumn && role == Qt::DecorationRole)
        return symbolIcon(smaller ? "ellipsis.circle" : "eye.slash");
    if (column == SizeColumn && role == Qt::DisplayRole)
        return sizeText(smaller ? m_list.smallerNodesSize() : m_list.hiddenNodesSize());
    if (column == SizeColumn && role == Qt::TextAlignmentRole)
        return QVariant::fromValue(Qt::AlignRight | Qt::AlignVCenter);
    return {};
}

} // namespace ringfold
