#include "ui/NodeTableModel.h"

#include "app/stores/CleanupListStore.h"
#include "core/model/ByteFormat.h"
#include "ui/PanelChrome.h"
#include "ui/Symbols.h"

#include <QApplication>
#include <QFile>
#include <QHash>
#include <QIcon>
#include <QMimeDatabase>
#include <QPalette>

#include <algorithm>
#include <unordered_map>

namespace ringfold {

namespace {

QString decoded(std::string_view bytes) {
    return QFile::decodeName(QByteArray(bytes.data(), static_cast<qsizetype>(bytes.size())));
}

// The desktop theme's icon for a file name's type, looked up once per extension: the
// mime database and the theme lookup cost far more than a hash probe per painted row.
QIcon fileIcon(const FileNode& node) {
    static QHash<QString, QIcon> cache;
    const std::string_view ext = pathExtension(node.name());
    const QString key = decoded(ext).toLower();
    if (auto it = cache.constFind(key); it != cache.constEnd())
        return *it;
    QIcon icon;
    if (!key.isEmpty()) {
        static const QMimeDatabase mimes;
        const QMimeType type =
            mimes.mimeTypeForFile(QStringLiteral("x.") + key, QMimeDatabase::MatchExtension);
        icon = QIcon::fromTheme(type.iconName(), QIcon::fromTheme(type.genericIconName()));
    }
    if (icon.isNull())
        icon = symbolIcon("doc");
    cache.insert(key, icon);
    return icon;
}

} // namespace

NodeTableModel::NodeTableModel(CleanupListStore& cleanup, QObject* parent)
    : QAbstractTableModel(parent), m_cleanup(cleanup) {
    connect(&cleanup, &CleanupListStore::includedIDsChanged, this,
            [this] { refreshColumn(kCheckColumn); });
}

int NodeTableModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(m_rows.size()) + m_extraRows;
}

FileNode* NodeTableModel::nodeAt(int row) const {
    if (row < 0 || row >= nodeRowCount() || !alive())
        return nullptr;
    return m_rows[static_cast<std::size_t>(row)];
}

int NodeTableModel::rowOf(const FileNode* node) const {
    if (!node || !alive())
        return -1;
    for (std::size_t i = 0; i < m_rows.size(); ++i)
        if (m_rows[i] == node)
            return static_cast<int>(i);
    return -1;
}

Qt::ItemFlags NodeTableModel::flags(const QModelIndex& index) const {
    Qt::ItemFlags f = QAbstractTableModel::flags(index);
    if (index.row() >= nodeRowCount())
        return f & ~Qt::ItemIsSelectable; // group rows take hover, not the selection
    // Checkable whatever the lock: a tree view asks every row's flags when it lays out,
    // so they must stay cheap. A locked row has no check state, so the view draws no
    // box and a click toggles nothing.
    if (index.column() == kCheckColumn)
        f |= Qt::ItemIsUserCheckable;
    return f;
}

bool NodeTableModel::setData(const QModelIndex& index, const QVariant& value, int role) {
    FileNode* node = nodeAt(index.row());
    if (role != Qt::CheckStateRole || index.column() != kCheckColumn || !node ||
        !m_cleanup.canAdd(*node))
        return false;
    const bool on = value.value<Qt::CheckState>() == Qt::Checked;
    if (on != m_cleanup.contains(*node))
        m_cleanup.toggle(node->shared()); // the store's signal repaints the column
    return true;
}

QVariant NodeTableModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || !alive())
        return {};
    const int row = index.row(), column = index.column();
    if (row >= nodeRowCount())
        return extraData(row - nodeRowCount(), column, role);
    const FileNode& node = *m_rows[static_cast<std::size_t>(row)];
    if (column == kCheckColumn)
        return checkData(node, role);
    if (column == badgeColumn())
        return badgeData(node, role);
    return nodeData(node, row, column, role);
}

QVariant NodeTableModel::extraData(int, int, int) const {
    return {};
}

QVariant NodeTableModel::checkData(const FileNode& node, int role) const {
    const bool allowed = m_cleanup.canAdd(node);
    if (role == Qt::CheckStateRole && allowed)
        return m_cleanup.contains(node) ? Qt::Checked : Qt::Unchecked;
    if (!allowed && role == Qt::DecorationRole)
        return symbolIcon("lock.fill");
    if (!allowed && role == Qt::ToolTipRole)
        return panel::lockHelp(node);
    return {};
}

QVariant NodeTableModel::badgeData(const FileNode& node, int role) {
    const CloudStatus status = node.cloudStatus();
    if (status == CloudStatus::notApplicable)
        return {};
    const bool placeholder = status == CloudStatus::cloudPlaceholder;
    if (role == Qt::DecorationRole)
        return symbolIcon(placeholder ? "icloud" : "icloud.fill");
    if (role == Qt::ToolTipRole)
        return placeholder ? tr("Stored in cloud — not downloaded locally")
                           : tr("Backed up to cloud — downloaded locally (evictable)");
    return {};
}

QVariant NodeTableModel::nameData(const FileNode& node, int role) {
    switch (role) {
    case Qt::DisplayRole:
        return decoded(node.name());
    case Qt::DecorationRole:
        return node.isDirectory() ? symbolIcon("folder") : fileIcon(node);
    case Qt::ToolTipRole:
        if (node.isRestricted())
            return tr("Permission denied during scan");
        return {};
    case kSharedRole:
        return node.sharesStorage();
    default:
        return {};
    }
}

QVariant NodeTableModel::sizeText(std::int64_t bytes) {
    return QString::fromStdString(formatByteCount(bytes));
}

QVariant NodeTableModel::secondaryForeground() {
    QColor c = QApplication::palette().color(QPalette::WindowText);
    c.setAlphaF(0.6f);
    return c;
}

// --- Taking over a new row list -------------------------------------------------------

void NodeTableModel::setRowsReordered(std::vector<FileNode*> next, const NodePtr& owner,
                                      int extraRows) {
    m_reorderOnly = true;
    setRows(std::move(next), owner, extraRows);
    m_reorderOnly = false;
}

void NodeTableModel::setRows(std::vector<FileNode*> next, const NodePtr& owner, int extraRows) {
    const bool sameList = owner && alive() && m_ownerNode == owner.get();
    const bool extrasMove = extraRows != m_extraRows;
    if (extrasMove && m_extraRows > 0) {
        beginRemoveRows({}, nodeRowCount(), nodeRowCount() + m_extraRows - 1);
        m_extraRows = 0;
        endRemoveRows();
    }
    if (sameList) {
        takeOverInPlace(next);
    } else {
        beginResetModel();
        m_rows = std::move(next);
        m_owner = owner;
        m_ownerNode = owner.get();
        m_extraRows = extraRows;
        endResetModel();
        return;
    }
    if (extrasMove && extraRows > 0) {
        beginInsertRows({}, nodeRowCount(), nodeRowCount() + extraRows - 1);
        m_extraRows = extraRows;
        endInsertRows();
    } else if (extraRows > 0) {
        emit dataChanged(index(nodeRowCount(), 0), index(rowCount() - 1, columnCount() - 1));
    }
}

namespace {

class NodeSet {
public:
    explicit NodeSet(const std::vector<FileNode*>& nodes) : m_sorted(nodes) {
        std::sort(m_sorted.begin(), m_sorted.end());
    }
    bool count(FileNode* n) const {
        return std::binary_search(m_sorted.begin(), m_sorted.end(), n);
    }

private:
    std::vector<FileNode*> m_sorted;
};

} // namespace

// Removes the rows that left, brings the rows both lists share into the new order
// (moving the persistent indexes, as a sort does), then inserts the new rows.
void NodeTableModel::takeOverInPlace(std::vector<FileNode*>& next) {
    if (next == m_rows) {
        rowsChangedInPlace();
        return;
    }
    if (m_reorderOnly && next.size() == m_rows.size()) {
        reorder(std::move(next));
        rowsChangedInPlace();
        return;
    }
    // Membership by binary search in sorted copies: far cheaper than node-based hash
    // sets for a folder of 100,000 rows.
    const NodeSet inNext(next), inOld(m_rows);

    // Rows that left, from the end so that the earlier row numbers hold.
    for (int r = nodeRowCount() - 1; r >= 0;) {
        if (inNext.count(m_rows[static_cast<std::size_t>(r)])) {
            --r;
            continue;
        }
        int first = r;
        while (first > 0 && !inNext.count(m_rows[static_cast<std::size_t>(first - 1)]))
            --first;
        beginRemoveRows({}, first, r);
        m_rows.erase(m_rows.begin() + first, m_rows.begin() + r + 1);
        endRemoveRows();
        r = first - 1;
    }

    std::vector<FileNode*> kept;
    kept.reserve(m_rows.size());
    for (FileNode* n : next)
        if (inOld.count(n))
            kept.push_back(n);
    if (kept != m_rows)
        reorder(std::move(kept));

    // New rows, front to back: what precedes row r already matches `next`.
    for (std::size_t r = 0; r < next.size();) {
        if (inOld.count(next[r])) {
            ++r;
            continue;
        }
        std::size_t end = r + 1;
        while (end < next.size() && !inOld.count(next[end]))
            ++end;
        beginInsertRows({}, static_cast<int>(r), static_cast<int>(end) - 1);
        m_rows.insert(m_rows.begin() + static_cast<std::ptrdiff_t>(r), next.begin() + r,
                      next.begin() + end);
        endInsertRows();
        r = end;
    }
    rowsChangedInPlace(); // the rows that stayed may have new sizes
}

// The same rows in a new order: only the persistent indexes (selection, current row)
// move, which keeps a sort of a huge folder from resetting the view.
void NodeTableModel::reorder(std::vector<FileNode*> order) {
    emit layoutAboutToBeChanged({}, QAbstractItemModel::VerticalSortHint);
    const QModelIndexList before = persistentIndexList();
    std::unordered_map<FileNode*, int> newRow;
    for (const QModelIndex& i : before)
        if (i.row() < nodeRowCount())
            newRow.emplace(m_rows[static_cast<std::size_t>(i.row())], -1);
    for (std::size_t r = 0; r < order.size() && !newRow.empty(); ++r)
        if (auto it = newRow.find(order[r]); it != newRow.end())
            it->second = static_cast<int>(r);
    QModelIndexList after;
    for (const QModelIndex& i : before) {
        if (i.row() >= nodeRowCount()) {
            after << i; // extra rows stay where they are
            continue;
        }
        const int row = newRow.at(m_rows[static_cast<std::size_t>(i.row())]);
        after << (row >= 0 ? index(row, i.column()) : QModelIndex());
    }
    m_rows = std::move(order);
    changePersistentIndexList(before, after);
    emit layoutChanged({}, QAbstractItemModel::VerticalSortHint);
}

void NodeTableModel::rowsChangedInPlace() {
    if (nodeRowCount() > 0)
        emit dataChanged(index(0, 0), index(nodeRowCount() - 1, columnCount() - 1));
}

void NodeTableModel::refreshColumn(int column) {
    if (rowCount() > 0)
        emit dataChanged(index(0, column), index(rowCount() - 1, column));
}

} // namespace ringfold
