#include "app/viewmodels/FileRowSorter.h"

#include <QCollator>
#include <QLocale>
#include <QString>

#include <algorithm>
#include <numeric>
#include <optional>

namespace ringfold {

namespace {

QCollator makeCollator() {
    QLocale locale;
    // The C locale collates by code point and ignores numeric mode; file names still
    // deserve a human order there.
    if (locale.language() == QLocale::C)
        locale = QLocale(QLocale::English, QLocale::UnitedStates);
    QCollator collator(locale);
    collator.setCaseSensitivity(Qt::CaseInsensitive);
    collator.setNumericMode(true);
    return collator;
}

const QCollator& fileNameCollator() {
    static const QCollator collator = makeCollator();
    return collator;
}

QString toQString(std::string_view s) {
    return QString::fromUtf8(s.data(), static_cast<qsizetype>(s.size()));
}

int sign(int v) {
    return (v > 0) - (v < 0);
}

template <typename T> int compareValues(const T& a, const T& b) {
    return (b < a) - (a < b);
}

} // namespace

FileRowSorter::FileRowSorter(std::vector<FileSortDescriptor> order) : m_order(std::move(order)) {}

int FileRowSorter::compareNames(std::string_view a, std::string_view b) {
    return sign(fileNameCollator().compare(toQString(a), toQString(b)));
}

void FileRowSorter::sort(std::vector<FileNode*>& rows) const {
    if (m_order.empty() || rows.size() < 2)
        return;
    using Key = FileSortDescriptor::Key;
    auto uses = [&](Key k) {
        return std::any_of(m_order.begin(), m_order.end(),
                           [k](const FileSortDescriptor& d) { return d.key == k; });
    };

    // Collation keys are built once per row: comparing them is a byte compare, while
    // collating two strings anew would run for every one of the n log n comparisons.
    const QCollator& collator = fileNameCollator();
    std::vector<QCollatorSortKey> nameKeys;
    std::vector<QCollatorSortKey> kindKeys;
    std::vector<double> modified;
    if (uses(Key::name)) {
        nameKeys.reserve(rows.size());
        for (const FileNode* n : rows)
            nameKeys.push_back(collator.sortKey(toQString(n->name())));
    }
    if (uses(Key::kind)) {
        kindKeys.reserve(rows.size());
        for (const FileNode* n : rows)
            kindKeys.push_back(collator.sortKey(QString::fromStdString(n->kindLabel())));
    }
    if (uses(Key::modified)) {
        modified.reserve(rows.size());
        for (const FileNode* n : rows)
            modified.push_back(static_cast<double>(n->modificationDate().value_or(0)));
    }

    auto compare = [&](std::size_t a, std::size_t b, Key key) {
        switch (key) {
        case Key::name:
            return sign(nameKeys[a].compare(nameKeys[b]));
        case Key::kind:
            return sign(kindKeys[a].compare(kindKeys[b]));
        case Key::modified:
            return compareValues(modified[a], modified[b]);
        case Key::size:
            return compareValues(rows[a]->allocatedSize(), rows[b]->allocatedSize());
        }
        return 0;
    };

    std::vector<std::size_t> order(rows.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::stable_sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) {
        for (const FileSortDescriptor& d : m_order) {
            int c = compare(a, b, d.key);
            if (c != 0)
                return d.ascending ? c < 0 : c > 0;
        }
        return false;
    });

    std::vector<FileNode*> sorted;
    sorted.reserve(rows.size());
    for (std::size_t i : order)
        sorted.push_back(rows[i]);
    rows = std::move(sorted);
}

} // namespace ringfold
