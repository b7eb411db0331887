#include "ui/PanelChrome.h"

#include "app/viewmodels/ChartViewModel.h"
#include "app/window/SavedScans.h"
#include "core/model/ByteFormat.h"
#include "core/model/Tree.h"
#include "ui/Symbols.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QDateTime>
#include <QEvent>
#include <QFile>
#include <QHash>
#include <QLabel>
#include <QLocale>
#include <QMimeDatabase>
#include <QPainter>
#include <QPushButton>
#include <QStyleOptionButton>
#include <QVBoxLayout>

#include <cstring>

namespace ringfold::panel {

namespace {

struct Tint {
    const char* name;
    QRgb light;
    QRgb dark;
};

// The usual desktop accent hues, each with a brighter dark-mode twin.
constexpr Tint kTints[] = {
    {"blue", 0x007AFF, 0x0A84FF}, {"green", 0x34C759, 0x30D158},  {"purple", 0xAF52DE, 0xBF5AF2},
    {"pink", 0xFF2D55, 0xFF375F}, {"orange", 0xFF9500, 0xFF9F0A}, {"brown", 0xA2845E, 0xAC8E68},
    {"teal", 0x30B0C7, 0x40C8E0}, {"gray", 0x8E8E93, 0x98989D},   {"indigo", 0x5856D6, 0x5E5CE6},
    {"red", 0xFF3B30, 0xFF453A},
};

bool isDark(const QPalette& palette) {
    return palette.color(QPalette::Window).lightnessF() < 0.5;
}

QColor withAlpha(QColor c, double alpha) {
    c.setAlphaF(alpha);
    return c;
}

QFont scaled(const QFont& base, double factor) {
    QFont f = base;
    if (f.pointSizeF() > 0)
        f.setPointSizeF(f.pointSizeF() * factor);
    else
        f.setPixelSize(qMax(8, int(f.pixelSize() * factor)));
    return f;
}

// The locale's long date without its weekday and with abbreviated month names.
QString abbreviatedDateFormat() {
    QString format = QLocale().dateFormat(QLocale::LongFormat);
    for (const char* weekday : {"dddd, ", "dddd ", ", dddd", "dddd"})
        format.remove(QLatin1String(weekday));
    format.replace(QLatin1String("MMMM"), QLatin1String("MMM"));
    return format.trimmed();
}

} // namespace

QColor tintColor(const char* name, const QPalette& palette) {
    for (const Tint& t : kTints)
        if (std::strcmp(t.name, name) == 0)
            return QColor(isDark(palette) ? t.dark : t.light);
    return palette.color(QPalette::Highlight);
}

QColor secondaryText(const QPalette& palette) {
    return withAlpha(palette.color(QPalette::WindowText), 0.6);
}

QColor tertiaryText(const QPalette& palette) {
    return withAlpha(palette.color(QPalette::WindowText), 0.35);
}

QFont captionFont(const QFont& base) {
    return scaled(base, 0.85);
}
QFont caption2Font(const QFont& base) {
    return scaled(base, 0.77);
}

QString nodeName(const FileNode& node) {
    return QFile::decodeName(QByteArray(node.name().data(), qsizetype(node.name().size())));
}

QString byteText(std::int64_t bytes) {
    return QString::fromStdString(formatByteCount(bytes));
}

QString abbreviatedDate(Timestamp seconds) {
    static const QString format = abbreviatedDateFormat();
    return QLocale().toString(QDateTime::fromSecsSinceEpoch(seconds).date(), format);
}

QRect checkBoxRect(const QRect& cell, int left) {
    return QRect(left, cell.top() + (cell.height() - 16) / 2, 16, 16);
}

void paintCheckBox(QPainter* painter, const QRect& box, Check state, const QWidget* widget) {
    if (state == Check::locked) {
        symbolIcon("lock.fill")
            .paint(painter, box.adjusted(2, 1, -2, -1), Qt::AlignCenter, QIcon::Disabled);
        return;
    }
    QStyleOptionButton option;
    option.rect = box;
    option.state = QStyle::State_Enabled | (state == Check::on      ? QStyle::State_On
                                            : state == Check::mixed ? QStyle::State_NoChange
                                                                    : QStyle::State_Off);
    if (widget)
        option.palette = widget->palette();
    painter->save();
    if (state == Check::mixed)
        painter->setOpacity(0.5);
    QStyle* style = widget ? widget->style() : QApplication::style();
    style->drawPrimitive(QStyle::PE_IndicatorCheckBox, &option, painter, widget);
    painter->restore();
}

QString lockHelp(const FileNode& node) {
    if (node.tree().isRecord())
        return savedScanReason();
    return QStringLiteral("Hidden items cannot be added to the cleanup list — enable in Settings");
}

QIcon cloudIcon(CloudStatus status) {
    switch (status) {
    case CloudStatus::cloudPlaceholder:
        return symbolIcon("icloud");
    case CloudStatus::cloudDownloaded:
        return symbolIcon("icloud.fill");
    case CloudStatus::notApplicable:
        break;
    }
    return {};
}

QString cloudHelp(CloudStatus status) {
    switch (status) {
    case CloudStatus::cloudPlaceholder:
        return QStringLiteral("Stored in cloud — not downloaded locally");
    case CloudStatus::cloudDownloaded:
        return QStringLiteral("Backed up to cloud — downloaded locally (evictable)");
    case CloudStatus::notApplicable:
        break;
    }
    return {};
}

QIcon fileIcon(const FileNode& node) {
    if (node.isDirectory())
        return symbolIcon("folder");
    // One lookup per type, not per row: rows repaint on every hover.
    static QHash<QString, QIcon> byType;
    static QMimeDatabase mimes;
    const QMimeType type = mimes.mimeTypeForFile(nodeName(node), QMimeDatabase::MatchExtension);
    auto it = byType.constFind(type.name());
    if (it == byType.constEnd()) {
        QIcon icon = QIcon::fromTheme(type.iconName(), QIcon::fromTheme(type.genericIconName()));
        it = byType.insert(type.name(), icon.isNull() ? symbolIcon("doc") : icon);
    }
    return *it;
}

QColor secondarySymbolColor(const QPalette& palette) {
    const QColor text = palette.color(QPalette::WindowText);
    const QColor back = palette.color(QPalette::Window);
    auto mix = [](double a, double b) { return 0.6 * a + 0.4 * b; };
    return QColor::fromRgbF(float(mix(text.redF(), back.redF())),
                            float(mix(text.greenF(), back.greenF())),
                            float(mix(text.blueF(), back.blueF())));
}

void setSecondary(QWidget* label, const QPalette& palette) {
    QPalette pal = label->palette();
    pal.setColor(QPalette::WindowText, secondaryText(palette));
    label->setPalette(pal);
}

EmptyState::EmptyState(const char* symbol, const QString& text, QWidget* parent,
                       const QString& buttonText)
    : QWidget(parent), m_symbol(symbol), m_icon(new QLabel(this)), m_text(new QLabel(text, this)) {
    auto* layout = new QVBoxLayout(this);
    layout->addStretch(1);
    m_icon->setAlignment(Qt::AlignCenter);
    layout->addWidget(m_icon);
    m_text->setAlignment(Qt::AlignCenter);
    m_text->setWordWrap(true);
    layout->addWidget(m_text);
    if (!buttonText.isEmpty()) {
        m_button = new QPushButton(buttonText, this);
        layout->addWidget(m_button, 0, Qt::AlignHCenter);
    }
    layout->addStretch(1);
    restyle();
}

void EmptyState::changeEvent(QEvent* event) {
    // Only the children's palettes are set here, so this cannot call itself again.
    if (event->type() == QEvent::PaletteChange)
        restyle();
    QWidget::changeEvent(event);
}

void EmptyState::restyle() {
    m_icon->setPixmap(symbolIcon(m_symbol, secondarySymbolColor(palette()))
                          .pixmap(QSize(36, 36), devicePixelRatioF()));
    setSecondary(m_text, palette());
}

HoverLink::HoverLink(QAbstractItemView* view, ChartViewModel& chart,
                     std::function<const FileNode*(const QModelIndex&)> nodeAt)
    : QObject(view), m_chart(chart), m_nodeAt(std::move(nodeAt)) {
    view->setMouseTracking(true);
    view->viewport()->installEventFilter(this);
    connect(view, &QAbstractItemView::entered, this,
            [this](const QModelIndex& index) { setHovered(m_nodeAt(index)); });
}

bool HoverLink::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::Leave || event->type() == QEvent::Hide)
        setHovered(nullptr);
    return QObject::eventFilter(watched, event);
}

void HoverLink::setHovered(const FileNode* node) {
    // Clear only an emphasis this list set: the map's own hover must survive a
    // pointer that merely crosses an empty list.
    if (node) {
        m_highlighting = true;
        m_chart.setHighlightedNodeID(node->id());
    } else if (m_highlighting) {
        m_highlighting = false;
        m_chart.setHighlightedNodeID(std::nullopt);
    }
}

} // namespace ringfold::panel
