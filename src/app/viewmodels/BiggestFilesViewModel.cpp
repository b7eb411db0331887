#include "app/viewmodels/BiggestFilesViewModel.h"

namespace ringfold {

BiggestFilesViewModel::BiggestFilesViewModel(QObject* parent) : QObject(parent) {}

void BiggestFilesViewModel::rebuild(const NodePtr& root, qint64 limit) {
    std::vector<Entry> entries;
    if (root)
        entries = BiggestFiles::find(*root, limit);
    if (entries == m_entries)
        return;
    m_entries = std::move(entries);
    emit entriesChanged();
}

} // namespace ringfold
