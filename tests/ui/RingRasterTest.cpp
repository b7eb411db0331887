#include "ui/RingRaster.h"
#include "ui/SunburstPainter.h"
#include <QPainter>
#include <QTest>
using namespace ringfold;

class RingRasterTest : public QObject {
    Q_OBJECT
private slots:
    void matchesPainterFill() { // off-pixel centre, a run across 0, neighbours, a sliver
        const QRgb red = 0xffd02020, blue = 0xff2040c0, olive = 0xff806000;
        const QPointF c(150.5, 140.25);
        const std::vector<mapdraw::Ring> rings{
            {30, 70, 71, {{0.3, 1.4, red, red}, {1.4, 2.0, blue, blue}, {4.0, 4.02, olive, olive}}},
            {80, 125, 126, {{0, 0.5, olive, olive}, {5.0, 2 * M_PI, olive, olive}}}};
        QImage ours(300, 300, QImage::Format_ARGB32_Premultiplied), theirs = ours;
        ours.fill(Qt::white), theirs.fill(Qt::white);
        QPainter po(&ours), pt(&theirs);
        pt.setRenderHint(QPainter::Antialiasing);
        QVERIFY(mapdraw::fillRings(po, c, rings));
        for (const auto& ring : rings)
            for (const auto& run : ring.runs) {
                MapSegment s;
                std::tie(s.startAngle, s.endAngle, s.innerRadius, s.outerRadius) =
                    std::tuple(run.start, run.end, ring.inner, ring.outer);
                pt.fillPath(SunburstPainter::sectorPath(c, s), QColor::fromRgba(run.atInner));
            }
        double sum = 0; // pixels wholly inside a sector (of exactly its colour) match
        for (int i = 0; i < 300 * 300; ++i) {
            const QRgb a = ours.pixel(i % 300, i / 300), b = theirs.pixel(i % 300, i / 300);
            const int d = std::abs(qRed(a) - qRed(b)) + std::abs(qGreen(a) - qGreen(b)) +
                          std::abs(qBlue(a) - qBlue(b));
            sum += d;
            QVERIFY2(d <= 16 || (b != red && b != blue && b != olive), "a sector's inside");
        }
        QCOMPARE_LT(sum / (300.0 * 300.0), 0.5);
    }
};
QTEST_MAIN(RingRasterTest)
#include "RingRasterTest.moc"
