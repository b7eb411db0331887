#pragma once
// A small card over the top of the map that explains a grey segment: how much of the
// volume the scan could not read ("Inaccessible Space"), or what a folder's "Hidden
// items" segment holds. A rounded panel in the palette's Base colour, slightly
// translucent, with a faint border; clicks on it stay on it and never reach the map.
// Sizes in bytes, shown with the file-style formatter. Main thread.

#include "core/model/Types.h"

#include <QFrame>
#include <QStringList>

class QLabel;
class QVBoxLayout;

namespace ringfold {

class FileNode;

class MapInfoCard : public QFrame {
    Q_OBJECT

public:
    explicit MapInfoCard(QWidget* parent = nullptr);

    /// The used space the scan could not enumerate, and how many paths were refused.
    void showInaccessibleSpace(const SpaceAccounting& accounting);
    /// The hidden items grouped away in `folder`, largest first.
    void showHiddenItems(const FileNode& folder);

    /// The card's text, one entry per line; a row's name and size are joined by a tab.
    QStringList lines() const { return m_lines; }

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    enum class Style { headline, subheadline, caption, secondaryCaption };

    void clear();
    QLabel* addLine(const QString& text, Style style);
    void addRow(const QString& name, const QString& size);
    QFont fontFor(Style style) const;
    void applySecondaryColour(QLabel* label) const;

    QVBoxLayout* m_layout;
    QStringList m_lines;
};

} // namespace ringfold
