#pragma once
// The stacked bar over the categories list: one segment per category summary, in the
// list's order, as wide as the category's share of the categorised bytes but never
// narrower than one pixel, filled with the category's tint. Hovering a segment names it
// and its size.
//
// Threads: GUI thread only.

#include <QWidget>

namespace ringfold {

class CategoriesViewModel;

class CategoryBar : public QWidget {
    Q_OBJECT

public:
    explicit CategoryBar(CategoriesViewModel& model, QWidget* parent = nullptr);

    /// The segments' rectangles for the current width, in summary order.
    QList<QRectF> segmentRects() const;

    QSize sizeHint() const override { return {200, 14}; }
    QSize minimumSizeHint() const override { return {40, 14}; }

protected:
    void paintEvent(QPaintEvent* event) override;
    bool event(QEvent* event) override;

private:
    CategoriesViewModel& m_model;
};

} // namespace ringfold
