#include "app/operations/LinkTracker.h"

#include "app/operations/FolderWalk.h"

#include <unistd.h>

namespace ringfold {

bool LinkTracker::link(const struct stat& st, int dParent, const char* name) {
    const auto it = m_first.find({st.st_dev, st.st_ino});
    if (it == m_first.end())
        return false;
    FolderWalk::Fd folder(FolderWalk::openDirectory(m_dstDir, m_dstName));
    std::vector<const std::string*> chain;
    for (int i = it->second.folder; i >= 0; i = m_folders[std::size_t(i)].parent)
        chain.push_back(&m_folders[std::size_t(i)].name);
    for (auto c = chain.rbegin(); folder && c != chain.rend(); ++c)
        folder.reset(FolderWalk::openDirectory(folder.get(), (*c)->c_str()));
    return folder && ::linkat(folder.get(), it->second.name.c_str(), dParent, name, 0) == 0;
}

void LinkTracker::copied(const struct stat& st, const char* name) {
    if (st.st_nlink > 1)
        m_first[{st.st_dev, st.st_ino}] = {currentFolder(), name};
}

int LinkTracker::currentFolder() {
    for (std::size_t i = 0; i < m_index.size(); ++i) {
        if (m_index[i] < 0) {
            m_folders.push_back({i == 0 ? -1 : m_index[i - 1], m_path[i]});
            m_index[i] = int(m_folders.size()) - 1;
        }
    }
    return m_index.empty() ? -1 : m_index.back();
}

} // namespace ringfold
