#pragma once
// Sorts file-list rows by a list of sort descriptors: the first descriptor decides,
// ties go to the next, and rows equal under all of them keep their order. Names and
// kind labels compare like a file manager does: by the user's locale, ignoring case,
// with digit runs compared by value ("file2" before "file10"). Main thread.

#include "app/viewmodels/FileListViewModel.h"

#include <vector>

namespace ringfold {

class FileRowSorter {
public:
    explicit FileRowSorter(std::vector<FileSortDescriptor> order);
    void sort(std::vector<FileNode*>& rows) const;

    /// -1, 0 or 1 for two names, by the rule above.
    static int compareNames(std::string_view a, std::string_view b);

private:
    std::vector<FileSortDescriptor> m_order;
};

} // namespace ringfold
