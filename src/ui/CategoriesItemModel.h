#pragma once
// The categories panel's rows as a two-level item model over CategoriesViewModel: one
// row per category summary (largest first), and under it the category's largest items
// followed, when the category holds more, by a footer row that counts the rest. Rows
// are formatted on request in data(); nothing is copied from the view model, so a
// reset costs nothing however large the tree behind it.
//
// A file row's node is only borrowed: the view model's summaries keep it alive until
// the next update, which resets this model first.
//
// Threads: GUI thread only.

#include <QAbstractItemModel>

namespace ringfold {

class CategoriesViewModel;
class FileNode;
struct CategorySummary;

class CategoriesItemModel : public QAbstractItemModel {
    Q_OBJECT

public:
    enum class Kind { category, file, footer };
    enum Role {
        KindRole = Qt::UserRole + 1,
        /// A category row's symbol name and tint name (const char* as QByteArray).
        SymbolRole,
        TintRole,
        /// "1,234 files" of a category row.
        CountRole,
        /// A category's share of the categorised total (0...1).
        FractionRole,
        /// Allocated bytes of a category or a file.
        BytesRole,
        /// The formatted size of a category or a file.
        SizeTextRole,
        /// The FileNode* of a file row.
        NodeRole,
    };

    explicit CategoriesItemModel(CategoriesViewModel& model, QObject* parent = nullptr);

    QModelIndex index(int row, int column, const QModelIndex& parent = {}) const override;
    QModelIndex parent(const QModelIndex& child) const override;
    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    /// Only item rows can be selected.
    Qt::ItemFlags flags(const QModelIndex& index) const override;

    Kind kind(const QModelIndex& index) const;
    /// The node of a file row, else null.
    FileNode* node(const QModelIndex& index) const;
    /// The index of a node listed under an expanded or collapsed category; invalid when
    /// the node is none of the listed items.
    QModelIndex indexOf(const FileNode* node) const;
    /// The category row's summary; null for other rows.
    const CategorySummary* summary(const QModelIndex& index) const;

private:
    const CategorySummary& summaryAt(int row) const;

    CategoriesViewModel& m_model;
};

} // namespace ringfold
