#pragma once
// One favourite folder in the gallery: a rounded chip with the folder symbol and the
// name, the whole chip a button that highlights while hovered.

#include "core/model/Types.h"

#include <QAbstractButton>

namespace ringfold {

class FavoriteChip : public QAbstractButton {
    Q_OBJECT

public:
    explicit FavoriteChip(const ScanSource& source, QWidget* parent = nullptr);

    const Uuid& sourceId() const { return m_id; }
    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    Uuid m_id;
    QString m_detail;
};

} // namespace ringfold
