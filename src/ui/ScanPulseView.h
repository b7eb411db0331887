#pragma once
// The scanning overlay's indicator: an accent disc with rings that swell and fade
// outwards, animated only while visible (still when the desktop reduces motion).

#include <QWidget>

class QVariantAnimation;

namespace ringfold {

class ScanPulseView : public QWidget {
    Q_OBJECT

public:
    explicit ScanPulseView(QWidget* parent = nullptr);
    QSize sizeHint() const override { return {76, 76}; }

protected:
    void paintEvent(QPaintEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    QVariantAnimation* m_phase;
};

} // namespace ringfold
