#pragma once
// The whole scanned tree summarised by file category for the categories panel: bytes
// (allocated) and item counts per category, each category's share of the categorised
// total and its 25 largest items (held strongly until the next `update`).
//
// Threads: main thread only; `update` walks the tree synchronously. Each property has
// its own change signal, emitted only when the value really changes.

#include "core/analysis/CategorySummarizer.h"

#include <QObject>

#include <vector>

namespace ringfold {

class CategoriesViewModel : public QObject {
    Q_OBJECT
    Q_PROPERTY(qint64 totalBytes READ totalBytes NOTIFY totalBytesChanged)

public:
    using Summary = CategorySummary;

    explicit CategoriesViewModel(QObject* parent = nullptr);

    /// One per category holding at least one item, largest first.
    const std::vector<Summary>& summaries() const { return m_summaries; }
    qint64 totalBytes() const { return m_totalBytes; }

    /// Recomputes from `root` (the whole tree); no root empties the lists.
    void update(const NodePtr& root);

signals:
    void summariesChanged();
    void totalBytesChanged();

private:
    std::vector<Summary> m_summaries;
    qint64 m_totalBytes = 0;
};

} // namespace ringfold
