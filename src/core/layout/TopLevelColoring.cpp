#include "core/layout/TopLevelColoring.h"

#include "core/model/DisplayGrouping.h"

#include <algorithm>

namespace ringfold {

TopLevelColoring::TopLevelColoring(const FileNode& laidOut, double threshold) {
    const FileNode* underRoot = nullptr;
    const FileNode* n = &laidOut;
    while (const FileNode* p = n->parent()) {
        underRoot = n;
        n = p;
    }
    m_treeRoot = n;
    m_rootLevel = (n == &laidOut);

    const double floor =
        threshold * static_cast<double>(std::max<std::int64_t>(m_treeRoot->allocatedSize(), 1));
    for (FileNode* c : m_treeRoot->children())
        if (!c->isHidden() && static_cast<double>(c->allocatedSize()) >= floor)
            m_top.push_back(c);
    m_topCount = std::max(static_cast<int>(m_top.size()), 1);
    m_nodeTopIndex = underRoot ? topIndexOf(underRoot) : 0;
}

void TopLevelColoring::buildIndex() const {
    sortBySizeDescending(m_top);
    m_index.reserve(m_top.size());
    for (std::size_t i = 0; i < m_top.size(); ++i)
        m_index.emplace(m_top[i], static_cast<int>(i));
    m_indexed = true;
}

int TopLevelColoring::topIndexOf(const FileNode* rootChild) const {
    if (!m_indexed)
        buildIndex();
    auto it = m_index.find(rootChild);
    return it == m_index.end() ? 0 : it->second;
}

} // namespace ringfold
