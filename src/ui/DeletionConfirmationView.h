#pragma once
// The window-modal sheet that confirms a move to the Trash or to another folder: the
// title, the subtitle, the items with their sizes, "Cancel" (Escape) and the
// destructive confirm button (Enter). The texts come from DeletionConfirmation; the
// dialog only lays them out.
//
// Threads: GUI thread only.

#include "app/operations/DeletionConfirmation.h"

#include <QDialog>

namespace ringfold {

class DeletionConfirmationView : public QDialog {
    Q_OBJECT

public:
    DeletionConfirmationView(const DeletionConfirmation& texts, QWidget* parent = nullptr);
};

} // namespace ringfold
