#include "app/coordination/TreeRelease.h"

#include <QThreadPool>

namespace ringfold {

void releaseInBackground(NodePtr&& node) {
    if (!node)
        return;
    QThreadPool::globalInstance()->start([held = std::move(node)]() mutable { held.reset(); });
}

} // namespace ringfold
