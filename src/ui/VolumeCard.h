#pragma once
// One drive in the gallery: its icon and name, "X free of Y", a fill gauge with
// "N% full", and the size of its last scan. The whole card is a button; it lifts its
// border to the accent colour while hovered.

#include "core/model/Types.h"

#include <QAbstractButton>

namespace ringfold {

class VolumeCard : public QAbstractButton {
    Q_OBJECT

public:
    explicit VolumeCard(const ScanSource& source, QWidget* parent = nullptr);

    const Uuid& sourceId() const { return m_source.id; }
    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    ScanSource m_source;
};

} // namespace ringfold
