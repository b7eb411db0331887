#include "ui/SystemJunkItemModel.h"

#include "app/stores/CleanupListStore.h"
#include "app/viewmodels/ChartViewModel.h"
#include "ui/PanelChrome.h"
#include "ui/Symbols.h"

#include <QFile>

namespace ringfold {

namespace {

bool isUnder(const FileNode& node, const FileNode* root) {
    const FileNode* n = &node;
    while (n->parent())
        n = n->parent();
    return n == root;
}

} // namespace

SystemJunkItemModel::SystemJunkItemModel(const SystemJunkViewModel& junk,
                                         const SystemJunkPanelState& state,
                                         const CleanupListStore& cleanup,
                                         const ChartViewModel& chart, QObject* parent)
    : QAbstractTableModel(parent), m_junk(junk), m_state(state), m_cleanup(cleanup),
      m_chart(chart) {
    rebuild();
}

void SystemJunkItemModel::rebuild() {
    beginResetModel();
    m_rows.clear();
    m_shown.clear();
    const FileNode* root = m_chart.rootNode().get();
    for (const SystemJunkPanelState::Group& group : m_junk.groups()) {
        SystemJunkPanelState::Group shown{group.category, {}};
        for (JunkItem& item : m_state.displayedItems(group))
            if (isUnder(*item.node, root))
                shown.items.push_back(std::move(item));
        if (shown.items.empty())
            continue;
        m_rows.push_back({int(m_shown.size()), -1});
        for (std::size_t i = 0; i < shown.items.size(); ++i)
            m_rows.push_back({int(m_shown.size()), int(i)});
        m_shown.push_back(std::move(shown));
    }
    endResetModel();
}

void SystemJunkItemModel::checksChanged() {
    if (!m_rows.empty())
        emit dataChanged(index(0, checkColumn), index(rowCount() - 1, checkColumn), {CheckRole});
}

int SystemJunkItemModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : int(m_rows.size());
}

int SystemJunkItemModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : kColumns;
}

const SystemJunkPanelState::Group* SystemJunkItemModel::group(int row) const {
    if (row < 0 || row >= rowCount())
        return nullptr;
    return &m_shown[std::size_t(m_rows[std::size_t(row)].group)];
}

const JunkItem* SystemJunkItemModel::item(int row) const {
    if (row < 0 || row >= rowCount() || m_rows[std::size_t(row)].item < 0)
        return nullptr;
    const Row& r = m_rows[std::size_t(row)];
    return &m_shown[std::size_t(r.group)].items[std::size_t(r.item)];
}

int SystemJunkItemModel::rowOf(const FileNode* node) const {
    for (int row = 0; node && row < rowCount(); ++row)
        if (const JunkItem* i = item(row); i && i->node.get() == node)
            return row;
    return -1;
}

Qt::ItemFlags SystemJunkItemModel::flags(const QModelIndex& index) const {
    if (!index.isValid())
        return Qt::NoItemFlags;
    return item(index.row()) ? Qt::ItemIsEnabled | Qt::ItemIsSelectable : Qt::ItemIsEnabled;
}

QVariant SystemJunkItemModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole)
        return {};
    switch (section) {
    case nameColumn:
        return QStringLiteral("Name");
    case sizeColumn:
        return QStringLiteral("Size");
    case confidenceColumn:
        return QStringLiteral("Confidence");
    case modifiedColumn:
        return QStringLiteral("Modified");
    default:
        return QString();
    }
}

QVariant SystemJunkItemModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid())
        return {};
    const int column = index.column();
    const SystemJunkPanelState::Group& g = *group(index.row());
    const JunkItem* it = item(index.row());
    if (role == GroupRowRole)
        return it == nullptr;
    if (!it) {
        switch (role) {
        case Qt::DisplayRole:
            if (column == nameColumn)
                return QString::fromUtf8(displayName(g.category));
            if (column == sizeColumn)
                return panel::byteText(g.totalSize());
            return {};
        case CountRole:
            return SystemJunkPanelState::itemCountLabel(g.items.size());
        case CheckRole:
            return int(SystemJunkPanelState::groupChecked(g, m_cleanup) ? panel::Check::on
                                                                        : panel::Check::off);
        default:
            return {};
        }
    }
    const FileNode& node = *it->node;
    switch (role) {
    case Qt::DisplayRole:
        switch (column) {
        case nameColumn:
            return panel::nodeName(node);
        case sizeColumn:
            return QString::fromStdString(node.sizeLabel());
        case confidenceColumn:
            return QString::fromUtf8(label(it->confidence));
        case modifiedColumn:
            // Sorted as the oldest; shown as unknown rather than as a made-up date.
            return node.modificationDate() ? panel::abbreviatedDate(*node.modificationDate())
                                           : QStringLiteral("—");
        default:
            return {};
        }
    case Qt::DecorationRole:
        if (column == nameColumn)
            return symbolIcon(node.isDirectory() ? "folder" : "doc");
        return {};
    case Qt::ToolTipRole:
        if (column == checkColumn && !m_cleanup.canAdd(node))
            return panel::lockHelp(node);
        if (column == nameColumn)
            return QFile::decodeName(QByteArray::fromStdString(node.url()));
        if (column == sizeColumn)
            if (auto note = node.sharedStorageNote())
                return QString::fromStdString(*note);
        return {};
    case CheckRole:
        return int(!m_cleanup.canAdd(node)    ? panel::Check::locked
                   : m_cleanup.contains(node) ? panel::Check::on
                                              : panel::Check::off);
    case ConfidenceRole:
        return int(it->confidence);
    default:
        return {};
    }
}

} // namespace ringfold
