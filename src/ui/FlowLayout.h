#pragma once
// Lays its items out left to right and wraps to a new row when the next one does not
// fit, like words in a paragraph; used for the gallery's cards and chips.

#include <QLayout>
#include <QList>

namespace ringfold {

class FlowLayout : public QLayout {
public:
    explicit FlowLayout(QWidget* parent = nullptr, int spacing = 12);
    ~FlowLayout() override;

    void addItem(QLayoutItem* item) override;
    int count() const override { return int(m_items.size()); }
    QLayoutItem* itemAt(int index) const override { return m_items.value(index); }
    QLayoutItem* takeAt(int index) override;
    Qt::Orientations expandingDirections() const override { return {}; }
    bool hasHeightForWidth() const override { return true; }
    int heightForWidth(int width) const override { return arrange(QRect(0, 0, width, 0), false); }
    QSize minimumSize() const override;
    QSize sizeHint() const override { return minimumSize(); }
    void setGeometry(const QRect& rect) override;

private:
    int arrange(const QRect& rect, bool apply) const;

    QList<QLayoutItem*> m_items;
    int m_gap;
};

} // namespace ringfold
