#pragma once
// "Quick Preview" of one item: GNOME's previewer over D-Bus when the session has it,
// otherwise Ringfold's own preview window, one reused instance that follows the item
// asked for last. The D-Bus call is asynchronous and the file is read on a worker
// thread, so neither blocks the window.
//
// Threads: GUI thread.

#include "core/model/FileNode.h"

class QWidget;

namespace ringfold {

void quickPreview(const NodePtr& node, QWidget* parent);

} // namespace ringfold
