#pragma once
// The system junk panel's column headers: the header checkbox over all groups (on,
// off, or mixed at half opacity) and the titles "Name", "Size", "Confidence" and
// "Modified", the current sort column with a chevron pointing the way it sorts. A click
// on a section is reported through QHeaderView::sectionClicked; the panel decides.
//
// Threads: GUI thread only.

#include "app/viewmodels/SystemJunkPanelState.h"
#include "ui/PanelChrome.h"

#include <QHeaderView>

#include <functional>

namespace ringfold {

class JunkHeaderView : public QHeaderView {
    Q_OBJECT

public:
    JunkHeaderView(const SystemJunkPanelState& state, std::function<panel::Check()> headerCheck,
                   QWidget* parent = nullptr);

    /// The column of a sort key and back (-1 / none for the checkbox column).
    static int columnOf(JunkSortKey key);
    static std::optional<JunkSortKey> keyOf(int column);
    /// Fixed widths of the columns after the name, wide enough for their titles.
    void applyColumnWidths();

protected:
    void paintSection(QPainter* painter, const QRect& rect, int logicalIndex) const override;
    QSize sectionSizeFromContents(int logicalIndex) const override;

private:
    const SystemJunkPanelState& m_state;
    std::function<panel::Check()> m_headerCheck;
};

} // namespace ringfold
