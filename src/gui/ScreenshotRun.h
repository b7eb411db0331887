#pragma once
// `ringfold --screenshot FILE PATH`: waits for the selected source's scan to finish
// and for the map of its tree to be painted, then saves the whole window as a PNG,
// reports the scan and paint times on stderr and quits with 0 (1 when the scan or
// the save failed). Without a folder it pictures the drive gallery instead.

#include <QElapsedTimer>
#include <QObject>
#include <QString>

namespace ringfold {

class MainWindow;

class ScreenshotRun : public QObject {
    Q_OBJECT

public:
    ScreenshotRun(MainWindow& window, QString file, QObject* parent = nullptr);
    /// Call right before the scan is started.
    void begin();
    /// Without a scan: pictures the window (the drive gallery) once it is painted.
    void captureWhenShown();

private:
    void onRootChanged();
    void onScanActivity();
    void onMapPainted();
    void save();

    MainWindow& m_window;
    QString m_file;
    QElapsedTimer m_clock;
    qint64 m_scanMs = -1;
    qint64 m_paintMs = -1;
    bool m_saving = false;
};

} // namespace ringfold
