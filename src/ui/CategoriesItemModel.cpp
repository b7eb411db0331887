#include "ui/CategoriesItemModel.h"

#include "app/viewmodels/CategoriesViewModel.h"
#include "ui/PanelChrome.h"

#include <QFile>
#include <QLocale>

namespace ringfold {

namespace {

// internalId 0 marks a category row; a child carries its category's row + 1.
constexpr quintptr kTopLevel = 0;

bool hasFooter(const CategorySummary& s) {
    return s.fileCount > std::int64_t(s.topFiles.size());
}

} // namespace

CategoriesItemModel::CategoriesItemModel(CategoriesViewModel& model, QObject* parent)
    : QAbstractItemModel(parent), m_model(model) {
    // Summaries are a handful of rows, so a reset is the cheapest correct update.
    connect(&model, &CategoriesViewModel::summariesChanged, this, [this] {
        beginResetModel();
        endResetModel();
    });
}

const CategorySummary& CategoriesItemModel::summaryAt(int row) const {
    return m_model.summaries()[std::size_t(row)];
}

QModelIndex CategoriesItemModel::index(int row, int column, const QModelIndex& parent) const {
    if (!hasIndex(row, column, parent))
        return {};
    return createIndex(row, column, parent.isValid() ? quintptr(parent.row() + 1) : kTopLevel);
}

QModelIndex CategoriesItemModel::parent(const QModelIndex& child) const {
    if (!child.isValid() || child.internalId() == kTopLevel)
        return {};
    return createIndex(int(child.internalId() - 1), 0, kTopLevel);
}

int CategoriesItemModel::rowCount(const QModelIndex& parent) const {
    if (!parent.isValid())
        return int(m_model.summaries().size());
    if (parent.internalId() != kTopLevel || parent.column() != 0)
        return 0;
    const CategorySummary& s = summaryAt(parent.row());
    return int(s.topFiles.size()) + (hasFooter(s) ? 1 : 0);
}

int CategoriesItemModel::columnCount(const QModelIndex&) const {
    return 1;
}

CategoriesItemModel::Kind CategoriesItemModel::kind(const QModelIndex& index) const {
    if (index.internalId() == kTopLevel)
        return Kind::category;
    const CategorySummary& s = summaryAt(int(index.internalId() - 1));
    return std::size_t(index.row()) < s.topFiles.size() ? Kind::file : Kind::footer;
}

FileNode* CategoriesItemModel::node(const QModelIndex& index) const {
    if (!index.isValid() || kind(index) != Kind::file)
        return nullptr;
    return summaryAt(int(index.internalId() - 1)).topFiles[std::size_t(index.row())].get();
}

const CategorySummary* CategoriesItemModel::summary(const QModelIndex& index) const {
    if (!index.isValid() || index.internalId() != kTopLevel)
        return nullptr;
    return &summaryAt(index.row());
}

QModelIndex CategoriesItemModel::indexOf(const FileNode* node) const {
    if (!node)
        return {};
    const auto& summaries = m_model.summaries();
    for (std::size_t c = 0; c < summaries.size(); ++c) {
        const auto& top = summaries[c].topFiles;
        for (std::size_t r = 0; r < top.size(); ++r)
            if (top[r].get() == node)
                return createIndex(int(r), 0, quintptr(c + 1));
    }
    return {};
}

Qt::ItemFlags CategoriesItemModel::flags(const QModelIndex& index) const {
    if (!index.isValid())
        return Qt::NoItemFlags;
    return kind(index) == Kind::file ? Qt::ItemIsEnabled | Qt::ItemIsSelectable : Qt::ItemIsEnabled;
}

QVariant CategoriesItemModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid())
        return {};
    const Kind k = kind(index);
    if (role == KindRole)
        return int(k);
    if (k == Kind::category) {
        const CategorySummary& s = summaryAt(index.row());
        switch (role) {
        case Qt::DisplayRole:
            return QString::fromUtf8(displayName(s.category));
        case Qt::ToolTipRole:
            return QString::fromUtf8(displayName(s.category)) + QStringLiteral(": ") +
                   panel::byteText(s.allocatedSize);
        case SymbolRole:
            return QByteArray(symbolName(s.category));
        case TintRole:
            return QByteArray(tint(s.category));
        case CountRole:
            return QLocale().toString(qlonglong(s.fileCount)) + QStringLiteral(" files");
        case FractionRole:
            return s.fraction;
        case BytesRole:
            return qlonglong(s.allocatedSize);
        case SizeTextRole:
            return panel::byteText(s.allocatedSize);
        default:
            return {};
        }
    }
    const CategorySummary& s = summaryAt(int(index.internalId() - 1));
    if (k == Kind::footer) {
        if (role != Qt::DisplayRole)
            return {};
        const auto listed = qlonglong(s.topFiles.size());
        return QStringLiteral("…and %1 more — largest %2 shown")
            .arg(qlonglong(s.fileCount) - listed)
            .arg(listed);
    }
    const FileNode& n = *s.topFiles[std::size_t(index.row())];
    switch (role) {
    case Qt::DisplayRole:
        return panel::nodeName(n);
    case Qt::ToolTipRole:
        return QFile::decodeName(QByteArray::fromStdString(n.url()));
    case BytesRole:
        return qlonglong(n.allocatedSize());
    case SizeTextRole:
        return QString::fromStdString(n.sizeLabel());
    case NodeRole:
        return QVariant::fromValue(static_cast<void*>(const_cast<FileNode*>(&n)));
    default:
        return {};
    }
}

} // namespace ringfold
