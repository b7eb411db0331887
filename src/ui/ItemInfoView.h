#pragma once
// The "Get Info" sheet of one node: its icon and name, then labelled rows (name,
// path, sizes, shared storage, modified, hidden, restricted) and "Done".
//
// Threads: GUI thread only.

#include "core/model/FileNode.h"

#include <QDialog>

namespace ringfold {

class ItemInfoView : public QDialog {
    Q_OBJECT

public:
    ItemInfoView(const NodePtr& node, QWidget* parent = nullptr);
};

} // namespace ringfold
