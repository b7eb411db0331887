#pragma once
// Drawing pieces the categories and system junk panels share: the named tint colours,
// text colours and fonts of rows, the cleanup checkbox (or its lock), the cloud badge,
// file icons, dates, the panels' empty states, and the link that emphasises a hovered
// row's segment on the map. Lengths are device-independent pixels.
//
// Threads: GUI thread only.

#include "core/model/FileNode.h"

#include <QColor>
#include <QFont>
#include <QIcon>
#include <QObject>
#include <QPalette>
#include <QString>
#include <QWidget>

#include <functional>

class QAbstractItemView;
class QLabel;
class QModelIndex;
class QPainter;
class QPushButton;
class QRect;

namespace ringfold {

class ChartViewModel;

namespace panel {

/// A named tint ("blue", "orange", "purple", ...), a shade lighter on dark palettes so it
/// keeps its contrast there.
QColor tintColor(const char* name, const QPalette& palette);
/// Secondary and tertiary labels: the text colour at 60 % and 35 %.
QColor secondaryText(const QPalette& palette);
QColor tertiaryText(const QPalette& palette);
/// The widget font scaled for captions (0.85) and small captions (0.77).
QFont captionFont(const QFont& base);
QFont caption2Font(const QFont& base);

/// A node's name for display (names are bytes on disk).
QString nodeName(const FileNode& node);
/// File-style byte count ("1.5 MB", "Zero KB").
QString byteText(std::int64_t bytes);
/// A day in the locale's abbreviated style ("Nov 23, 2026", "23 Nov 2026"), no time.
QString abbreviatedDate(Timestamp seconds);

/// What a cleanup checkbox shows.
enum class Check { off, on, mixed, locked };
/// The 16-pixel square the checkbox of a cell takes, centred vertically at `left`.
QRect checkBoxRect(const QRect& cell, int left);
/// A checkbox in the style's look (mixed at half opacity) or, for a hidden node that
/// may not be listed, a lock.
void paintCheckBox(QPainter* painter, const QRect& box, Check state, const QWidget* widget);
/// Help text of the lock.
QString lockHelp(const FileNode& node);

/// The cloud badge: nothing for ordinary files.
QIcon cloudIcon(CloudStatus status);
QString cloudHelp(CloudStatus status);

/// The icon a file manager shows for a node, chosen by name only (the disk is never
/// read): the theme's icon for the extension's type, else a "doc" or "folder" symbol.
QIcon fileIcon(const FileNode& node);

/// The secondary label colour as an opaque blend over the window colour, for bundled
/// symbols (which are recoloured without their alpha).
QColor secondarySymbolColor(const QPalette& palette);

/// Gives a label the secondary text colour of `palette`.
void setSecondary(QWidget* label, const QPalette& palette);

/// A panel's empty state: a centred symbol over a line of text, with an optional button
/// under it. Its colours follow palette changes (a switch between light and dark).
class EmptyState : public QWidget {
public:
    EmptyState(const char* symbol, const QString& text, QWidget* parent,
               const QString& buttonText = {});
    /// The button, or null when the state has none.
    QPushButton* button() const { return m_button; }

protected:
    void changeEvent(QEvent* event) override;

private:
    void restyle();

    const char* m_symbol;
    QLabel* m_icon;
    QLabel* m_text;
    QPushButton* m_button = nullptr;
};

/// Emphasises the map segment of the row under the pointer and clears it when the
/// pointer leaves the list. `nodeAt` gives a row's node or null for rows without one.
class HoverLink : public QObject {
public:
    HoverLink(QAbstractItemView* view, ChartViewModel& chart,
              std::function<const FileNode*(const QModelIndex&)> nodeAt);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void setHovered(const FileNode* node);

    ChartViewModel& m_chart;
    std::function<const FileNode*(const QModelIndex&)> m_nodeAt;
    bool m_highlighting = false;
};

} // namespace panel
} // namespace ringfold
