#pragma once
// Plain text that wraps at word boundaries where it can and at any character where it
// must (or, for paths and file names, at any character), so a name with no spaces stays
// readable in a narrow column instead of running off its edge (QLabel only breaks
// between words). Its height follows its width. With a line limit, text that would
// need more lines loses its middle to "…", so the start of a path and the file name at
// its end stay in view; the tooltip and "Copy" in the context menu give the whole text.
//
// Threads: GUI thread only.

#include <QString>
#include <QTextOption>
#include <QWidget>

namespace ringfold {

class WrapAnywhereLabel : public QWidget {
    Q_OBJECT

public:
    explicit WrapAnywhereLabel(const QString& text = {}, QWidget* parent = nullptr);

    const QString& text() const { return m_text; }
    void setText(const QString& text);
    /// Breaks lines at any character rather than at word boundaries first: paths and
    /// file names fill their lines instead of leaving them short at each "-" or "/".
    void setBreakAnywhere(bool anywhere);
    /// At most this many lines (0: no limit).
    void setMaximumLines(int lines);
    /// The text as shown at `width` pixels: whole, or shortened in the middle.
    QString shownText(int width) const;

    bool hasHeightForWidth() const override { return true; }
    int heightForWidth(int width) const override;
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    QString m_text;
    int m_maxLines = 0;
    QTextOption::WrapMode m_mode = QTextOption::WrapAtWordBoundaryOrAnywhere;
};

} // namespace ringfold
