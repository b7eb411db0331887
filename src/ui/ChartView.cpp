#include "ui/ChartView.h"

#include "app/viewmodels/ChartViewModel.h"

#include <QPainter>

namespace ringfold {

ChartView::ChartView(ChartViewModel& model, CleanupListStore&, SettingsStore&, QWidget* parent)
    : QWidget(parent), m_model(model) {
    setMinimumSize(200, 200);
    setAttribute(Qt::WA_OpaquePaintEvent);
    auto repaint = [this] { update(); };
    connect(&m_model, &ChartViewModel::focusedNodeChanged, this, repaint);
    connect(&m_model, &ChartViewModel::visualizationModeChanged, this, repaint);
    connect(&m_model, &ChartViewModel::showFreeSpaceChanged, this, repaint);
    connect(&m_model, &ChartViewModel::treeRevisionChanged, this, repaint);
}

ChartView::~ChartView() = default;

void ChartView::paintEvent(QPaintEvent*) {
    QPainter p(this);
    p.fillRect(rect(), palette().color(QPalette::Window));
    emit mapPainted(0);
}

} // namespace ringfold
