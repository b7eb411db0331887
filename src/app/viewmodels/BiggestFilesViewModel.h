#pragma once
// The largest files of the whole scanned tree for the "Biggest Files" panel: a
// snapshot list, largest first, with each file's folder path below the scanned root
// and its sizes (bytes) as they were when the list was built. Entries hold their
// nodes strongly, so the list stays readable until the next `rebuild`.
//
// Threads: main thread only; `rebuild` walks the tree synchronously. `entriesChanged`
// is emitted only when the list really changes.

#include "core/analysis/BiggestFiles.h"

#include <QObject>

#include <vector>

namespace ringfold {

class BiggestFilesViewModel : public QObject {
    Q_OBJECT

public:
    using Entry = BiggestFileEntry;

    explicit BiggestFilesViewModel(QObject* parent = nullptr);

    const std::vector<Entry>& entries() const { return m_entries; }

    /// Replaces the list with the `limit` largest files under `root`; empty without a
    /// root or when `limit` is below 1.
    void rebuild(const NodePtr& root, qint64 limit);

signals:
    void entriesChanged();

private:
    std::vector<Entry> m_entries;
};

} // namespace ringfold
