#include "ui/ChartView.h"

#include "app/operations/FileManagerReveal.h"
#include "app/stores/CleanupListStore.h"
#include "app/stores/SettingsStore.h"
#include "app/viewmodels/ChartViewModel.h"
#include "core/layout/SunburstLayoutEngine.h"
#include "core/layout/TreemapLayoutEngine.h"
#include "ui/MapInfoCard.h"
#include "ui/MapScene.h"
#include "ui/SunburstPainter.h"
#include "ui/TreemapPainter.h"

#include <QFile>
#include <QHelpEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QSemaphore>
#include <QThreadPool>
#include <QTimer>
#include <QToolTip>

#include <algorithm>
#include <cstring>

namespace ringfold {

namespace {

constexpr double kTreemapInset = 12.0;
constexpr int kCardTop = 12;

} // namespace

ChartView::ChartView(ChartViewModel& model, CleanupListStore& cleanup, SettingsStore& settings,
                     QWidget* parent)
    : QWidget(parent), m_model(model), m_cleanup(cleanup), m_settings(settings),
      m_inaccessibleCard(new MapInfoCard(this)), m_hiddenCard(new MapInfoCard(this)) {
    setMouseTracking(true);
    setAttribute(Qt::WA_OpaquePaintEvent);

    connect(&model, &ChartViewModel::focusedNodeChanged, this, &ChartView::focusChanged);
    connect(&model, &ChartViewModel::visualizationModeChanged, this, &ChartView::modeChanged);
    connect(&model, &ChartViewModel::treeRevisionChanged, this, &ChartView::layoutChanged);
    connect(&model, &ChartViewModel::showFreeSpaceChanged, this, &ChartView::layoutChanged);
    connect(&settings, &SettingsStore::smallerObjectsThresholdPercentChanged, this,
            &ChartView::layoutChanged);
    connect(&settings, &SettingsStore::groupHiddenItemsChanged, this, &ChartView::layoutChanged);
    // Hover and selection are painted over the cached picture.
    connect(&model, &ChartViewModel::highlightedNodeIDChanged, this, qOverload<>(&QWidget::update));
    connect(&model, &ChartViewModel::mapSelectionIDChanged, this, qOverload<>(&QWidget::update));
    connect(&cleanup, &CleanupListStore::includedIDsChanged, this, [this] {
        invalidatePicture();
        update();
    });
}

ChartView::~ChartView() = default;

void ChartView::setRevealHandler(RevealHandler handler) { m_reveal = std::move(handler); }

const std::vector<MapSegment>& ChartView::segments() {
    ensureLayout();
    return m_segments;
}

void ChartView::layoutChanged() {
    m_layoutPending = true;
    invalidatePicture();
    update();
}

void ChartView::focusChanged() {
    closeCards();
    // After the current update: whoever moved the focus may still read the selection.
    QTimer::singleShot(0, this, [this] { m_model.setMapSelectionID(std::nullopt); });
    layoutChanged();
}

void ChartView::modeChanged() {
    closeCards();
    layoutChanged();
}

void ChartView::ensureLayout() {
    if (!m_layoutPending || m_cachedSize.width() <= 0 || m_cachedSize.height() <= 0)
        return;
    m_layoutPending = false;
    invalidatePicture();
    const NodePtr& focused = m_model.focusedNode();
    if (!focused) {
        m_segments.clear();
        return;
    }
    const double threshold = m_settings.smallerObjectsThresholdPercent();
    const bool groupHidden = m_settings.groupHiddenItems();
    std::optional<VolumeAccounting> accounting;
    if (m_model.rootNode() && focused == m_model.rootNode() && m_model.isVolumeRootedSource() &&
        m_model.spaceAccounting())
        accounting = VolumeAccounting{*m_model.spaceAccounting(), m_model.showFreeSpace()};
    const double w = m_cachedSize.width(), h = m_cachedSize.height();
    m_segmentsMode = m_model.visualizationMode();
    ++m_layoutCount;
    if (m_segmentsMode == VisualizationMode::sunburst) {
        m_segments = SunburstLayoutEngine(threshold, groupHidden).layout(*focused, accounting,
                                                                         MapRect{0, 0, w, h});
    } else {
        const MapRect inset{kTreemapInset, kTreemapInset, w - 2 * kTreemapInset,
                            h - 2 * kTreemapInset};
        m_segments = TreemapLayoutEngine(threshold, groupHidden).layout(*focused, accounting, inset);
    }
}

void ChartView::invalidatePicture() { m_pictureValid = false; }

MapScene ChartView::scene() const {
    MapScene s;
    s.segments = &m_segments;
    s.size = QSizeF(m_cachedSize);
    s.focused = m_model.focusedNode().get();
    s.cleanupIDs = &m_cleanup.includedIDs();
    s.highlightedID = m_model.highlightedNodeID();
    s.selectedID = m_model.mapSelectionID();
    s.colors = MapColors::fromPalette(palette());
    return s;
}

void ChartView::rebuildPicture(const MapScene& scene, bool withOverlay) {
    const qreal dpr = devicePixelRatioF();
    const QSize pixels = (QSizeF(m_cachedSize) * dpr).toSize();
    // A new image of this size would cost page faults for every one of its pages.
    for (QImage* image : {&m_picture, &m_frame}) {
        if (image == &m_frame && !withOverlay)
            continue;
        if (image->size() != pixels || image->format() != QImage::Format_RGB32)
            *image = QImage(pixels, QImage::Format_RGB32);
        image->setDevicePixelRatio(dpr);
    }
    const VisualizationMode mode = m_segmentsMode;
    auto paint = [this, &scene, mode, withOverlay] {
        m_picture.fill(scene.colors.window);
        QPainter p(&m_picture);
        p.setRenderHints(QPainter::Antialiasing | QPainter::TextAntialiasing);
        if (mode == VisualizationMode::sunburst)
            SunburstPainter(scene).paintBase(p);
        else
            TreemapPainter(scene).paintBase(p);
        p.end();
        if (!withOverlay)
            return;
        std::memcpy(m_frame.bits(), m_picture.constBits(),
                    static_cast<std::size_t>(m_picture.sizeInBytes()));
        QPainter q(&m_frame);
        paintOverlay(q, scene, mode);
    };
    // Qt's raster engine hands every fill of more than about a hundred spans (a ring,
    // a callout's leader line) to the global thread pool and waits for it, unless it
    // already runs on one of the pool's threads. A map is thousands of such fills, and
    // the hand-offs cost far more than the pixels; drawn from a pool thread, each fill
    // stays in one piece. When the pool has no thread free, the frame is drawn here.
    QSemaphore done;
    if (QThreadPool::globalInstance()->tryStart([&] {
            paint();
            done.release();
        }))
        done.acquire();
    else
        paint();
    m_pictureValid = true;
}

void ChartView::paintOverlay(QPainter& p, const MapScene& scene, VisualizationMode mode) {
    p.setRenderHints(QPainter::Antialiasing | QPainter::TextAntialiasing);
    if (mode == VisualizationMode::sunburst)
        SunburstPainter(scene).paintOverlay(p);
    else
        TreemapPainter(scene).paintOverlay(p);
}

void ChartView::paintEvent(QPaintEvent*) {
    ensureLayout();
    QPainter p(this);
    if (m_cachedSize.isEmpty()) {
        p.fillRect(rect(), palette().color(QPalette::Window));
        emit mapPainted(0);
        return;
    }
    const MapScene s = scene();
    // A new sunburst picture takes its overlay along to the pool thread: a copy of the
    // picture costs less than the hand-offs of a dozen callouts' leader lines. A hover
    // or selection change, the common case, and the treemap, which has no callouts,
    // draw it here over the cached picture.
    const bool rebuild = !m_pictureValid || m_picture.devicePixelRatio() != devicePixelRatioF();
    const bool withOverlay = rebuild && m_segmentsMode == VisualizationMode::sunburst;
    if (rebuild)
        rebuildPicture(s, withOverlay);
    if (withOverlay) {
        p.drawImage(0, 0, m_frame);
    } else {
        p.drawImage(0, 0, m_picture);
        paintOverlay(p, s, m_segmentsMode);
    }
    emit mapPainted(static_cast<int>(m_segments.size()));
}

void ChartView::resizeEvent(QResizeEvent*) {
    m_cachedSize = size();
    if (m_cachedSize.width() > 0 && m_cachedSize.height() > 0)
        layoutChanged();
    updateCards();
}

ChartView::Hit ChartView::hitTest(QPointF point) {
    ensureLayout();
    if (m_segmentsMode == VisualizationMode::sunburst) {
        const auto hit =
            SunburstPainter::hitTest(m_segments, QSizeF(m_cachedSize), MapStyle{}, point);
        return {hit.index, hit.hub};
    }
    return {TreemapPainter::hitTest(m_segments, point), false};
}

void ChartView::mouseMoveEvent(QMouseEvent* event) {
    const Hit hit = hitTest(event->position());
    std::optional<NodeID> id;
    if (hit.index >= 0) {
        const MapSegment& s = m_segments[static_cast<std::size_t>(hit.index)];
        if (s.aggregateID)
            id = s.aggregateID;
        else if (!s.isFreeSpace && !s.isInaccessibleSpace)
            id = s.node->id();
    }
    const bool changed = id != m_model.highlightedNodeID();
    m_model.setHighlightedNodeID(id);
    if (changed && QToolTip::isVisible()) {
        const QString text = toolTipAt(event->position());
        if (text.isEmpty())
            QToolTip::hideText();
        else
            QToolTip::showText(event->globalPosition().toPoint(), text, this);
    }
}

void ChartView::leaveEvent(QEvent*) {
    if (m_model.highlightedNodeID())
        m_model.setHighlightedNodeID(std::nullopt);
}

void ChartView::mousePressEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton) {
        event->ignore(); // back and forward buttons belong to the window
        return;
    }
    click(hitTest(event->position()), event->modifiers());
}

void ChartView::mouseDoubleClickEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton) {
        event->ignore();
        return;
    }
    const Hit hit = hitTest(event->position());
    if (hit.hub || hit.index < 0)
        return;
    const NodePtr node = m_segments[static_cast<std::size_t>(hit.index)].node;
    if (!m_segments[static_cast<std::size_t>(hit.index)].isPlainItem())
        return;
    closeCards();
    if (node->isDirectory())
        m_model.focus(node);
}

void ChartView::click(const Hit& hit, Qt::KeyboardModifiers modifiers) {
    if (hit.hub) {
        closeCards();
        const bool atRoot = m_model.focusedNode() == m_model.rootNode();
        if (atRoot && m_model.isVolumeRootedSource())
            m_model.setShowFreeSpace(!m_model.showFreeSpace());
        if (!atRoot)
            m_model.goUp();
        return;
    }
    if (hit.index < 0) {
        closeCards();
        return;
    }
    // A copy: the model's answers below may schedule a new layout.
    const MapSegment s = m_segments[static_cast<std::size_t>(hit.index)];
    if (s.isInaccessibleSpace) {
        m_hiddenInfoParent.reset();
        m_showingInaccessibleInfo = !m_showingInaccessibleInfo;
        updateCards();
        return;
    }
    m_showingInaccessibleInfo = false;
    if (s.isHiddenAggregate) {
        m_hiddenInfoParent = m_hiddenInfoParent == s.node ? nullptr : s.node;
        updateCards();
        return;
    }
    m_hiddenInfoParent.reset();
    updateCards();
    if (!s.isPlainItem())
        return;
    if (modifiers & Qt::ControlModifier) {
        reveal(*s.node);
        return;
    }
    m_model.setMapSelectionID(s.node->id());
    emit fileSelected(s.node.get());
}

void ChartView::closeCards() {
    m_showingInaccessibleInfo = false;
    m_hiddenInfoParent.reset();
    updateCards();
}

void ChartView::updateCards() {
    auto place = [this](MapInfoCard* card) {
        card->move(std::max((width() - card->width()) / 2, 0), kCardTop);
        card->show();
        card->raise();
    };
    if (m_showingInaccessibleInfo && m_model.spaceAccounting()) {
        if (!m_inaccessibleCard->isVisibleTo(this))
            m_inaccessibleCard->showInaccessibleSpace(*m_model.spaceAccounting());
        place(m_inaccessibleCard);
    } else {
        m_inaccessibleCard->hide();
    }
    if (m_hiddenInfoParent) {
        if (!m_hiddenCard->isVisibleTo(this) || m_hiddenCardFolder != m_hiddenInfoParent.get())
            m_hiddenCard->showHiddenItems(*m_hiddenInfoParent);
        m_hiddenCardFolder = m_hiddenInfoParent.get();
        place(m_hiddenCard);
    } else {
        m_hiddenCard->hide();
        m_hiddenCardFolder = nullptr;
    }
}

void ChartView::reveal(const FileNode& node) {
    if (m_reveal) {
        m_reveal(node);
        return;
    }
    if (!m_fileManager)
        m_fileManager = std::make_unique<FileManagerReveal>();
    m_fileManager->reveal(QFile::decodeName(QByteArray::fromStdString(node.url())));
}

QString ChartView::toolTipAt(QPointF point) {
    const Hit hit = hitTest(point);
    if (hit.index < 0)
        return {};
    const MapSegment& s = m_segments[static_cast<std::size_t>(hit.index)];
    const SegmentLabel label = mapdraw::segmentLabel(s);
    std::optional<QString> size = label.size;
    if (const auto& a = m_model.spaceAccounting(); a && !size) {
        if (s.isFreeSpace)
            size = mapdraw::byteText(a->volumeAvailableCapacity);
        else if (s.isInaccessibleSpace)
            size = mapdraw::byteText(std::max<std::int64_t>(
                a->volumeTotalCapacity - a->volumeAvailableCapacity - a->enumeratedAllocatedSize,
                0));
    }
    return size ? label.name + QLatin1Char('\n') + *size : label.name;
}

bool ChartView::event(QEvent* event) {
    if (event->type() == QEvent::ToolTip) {
        auto* help = static_cast<QHelpEvent*>(event);
        const QString text = toolTipAt(help->pos());
        if (text.isEmpty()) {
            QToolTip::hideText();
            event->ignore();
        } else {
            QToolTip::showText(help->globalPos(), text, this);
        }
        return true;
    }
    return QWidget::event(event);
}

void ChartView::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    if (event->type() == QEvent::PaletteChange) {
        invalidatePicture();
        update();
    }
}

} // namespace ringfold
