#include "ScreenshotRun.h"

#include "app/coordination/AppState.h"
#include "app/coordination/ScanCoordinator.h"
#include "app/window/MainWindowModel.h"
#include "ui/ChartView.h"
#include "ui/MainWindow.h"

#include <QCoreApplication>
#include <QPixmap>
#include <QTimer>

#include <cstdio>

namespace ringfold {

ScreenshotRun::ScreenshotRun(MainWindow& window, QString file, QObject* parent)
    : QObject(parent), m_window(window), m_file(std::move(file)) {}

void ScreenshotRun::begin() {
    m_clock.start();
    MainWindowModel& model = m_window.model();
    connect(&model.app().chart(), &ChartViewModel::rootNodeChanged, this,
            &ScreenshotRun::onRootChanged);
    connect(&model.coordinator(), &ScanCoordinator::scanActivityChanged, this,
            &ScreenshotRun::onScanActivity);
    connect(m_window.chartView(), &ChartView::mapPainted, this, &ScreenshotRun::onMapPainted);
}

void ScreenshotRun::captureWhenShown() {
    m_clock.start();
    m_scanMs = m_paintMs = 0;
    m_saving = true;
    // The gallery's cards show the drives' capacities, which are read off the main
    // thread: picture them once they are in (or given up after the time limit).
    SidebarViewModel& sidebar = m_window.model().app().sidebar();
    if (!sidebar.capacitiesPending()) {
        QTimer::singleShot(0, this, &ScreenshotRun::save);
        return;
    }
    auto* poll = new QTimer(this);
    connect(poll, &QTimer::timeout, this, [this, poll, &sidebar] {
        if (sidebar.capacitiesPending())
            return;
        poll->stop();
        QTimer::singleShot(0, this, &ScreenshotRun::save);
    });
    poll->start(10);
}

void ScreenshotRun::onRootChanged() {
    if (m_scanMs < 0 && m_window.model().app().chart().rootNode())
        m_scanMs = m_clock.elapsed();
}

void ScreenshotRun::onScanActivity() {
    // A scan that ended without a tree (it failed) leaves nothing to picture.
    MainWindowModel& model = m_window.model();
    if (m_scanMs < 0 && !model.coordinator().hasPendingScans() &&
        !model.app().sidebar().scanningSourceID() && !model.app().chart().rootNode()) {
        std::fprintf(stderr, "ringfold: the scan ended without a result\n");
        QCoreApplication::exit(1);
    }
}

void ScreenshotRun::onMapPainted() {
    if (m_scanMs < 0 || m_saving || !m_window.showsMap())
        return;
    m_saving = true;
    m_paintMs = m_clock.elapsed() - m_scanMs;
    // After this paint has finished: grabbing paints the window once more.
    QTimer::singleShot(0, this, &ScreenshotRun::save);
}

void ScreenshotRun::save() {
    const QPixmap picture = m_window.grab();
    if (!picture.save(m_file, "PNG")) {
        std::fprintf(stderr, "ringfold: could not write %s\n", qPrintable(m_file));
        QCoreApplication::exit(1);
        return;
    }
    std::fprintf(stderr, "ringfold: scan %.3f s, map painted %.3f s later, saved %s (%dx%d)\n",
                 m_scanMs / 1000.0, m_paintMs / 1000.0, qPrintable(m_file), picture.width(),
                 picture.height());
    QCoreApplication::exit(0);
}

} // namespace ringfold
