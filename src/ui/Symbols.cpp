#include "ui/Symbols.h"

#include <QApplication>
#include <QCache>
#include <QFile>
#include <QHash>
#include <QIconEngine>
#include <QPainter>
#include <QPalette>
#include <QSvgRenderer>

#include <cstring>

// Outside the namespace: the macro declares the resource's global init function.
static void initRingfoldResources() {
    Q_INIT_RESOURCE(ringfold);
}

namespace ringfold {

namespace {

struct SymbolName {
    const char* symbol;
    const char* freedesktop; // null: always bundled
};

// Every symbol the window draws, each with a bundled SVG so that it shows without an
// icon theme. Chart, drive, category and badge symbols stay bundled even with a theme:
// themes draw them in styles that clash with the rest of the toolbar, or not at all.
constexpr SymbolName kSymbols[] = {
    {"house", "go-home"},
    {"chevron.backward", "go-previous"},
    {"chevron.forward", "go-next"},
    {"chevron.right", nullptr},
    {"arrow.clockwise", "view-refresh"},
    {"arrow.up", "go-up"},
    {"gearshape", "preferences-system"},
    {"folder", "folder"},
    {"plus", "list-add"},
    {"sparkles", nullptr},
    {"exclamationmark.triangle.fill", "dialog-warning"},
    {"chart.pie", nullptr},
    {"square.grid.2x2", nullptr},
    {"internaldrive", nullptr},
    {"externaldrive", nullptr},
    {"network", nullptr},
    {"desktopcomputer", nullptr},
    {"circle.dashed", nullptr},
    {"xmark", "window-close"},
    {"trash", "user-trash"},
    {"magnifyingglass", "system-search"},
    {"info.circle", "dialog-information"},
    {"eye", "view-preview"},
    {"eye.slash", nullptr},
    {"ellipsis.circle", nullptr},
    {"link", "insert-link"},
    {"lock.fill", nullptr},
    {"doc", "text-x-generic"},
    {"checkmark.circle", nullptr},
    {"icloud", nullptr},
    {"icloud.fill", nullptr},
    {"cup.and.saucer.fill", nullptr},
    // The file categories'.
    {"app.badge", nullptr},
    {"photo", nullptr},
    {"film", nullptr},
    {"music.note", nullptr},
    {"doc.text", nullptr},
    {"shippingbox", nullptr},
    {"hammer", nullptr},
    {"gearshape.2", nullptr},
    {"questionmark.folder", nullptr},
};

const SymbolName* find(const char* symbol) {
    for (const SymbolName& s : kSymbols)
        if (std::strcmp(s.symbol, symbol) == 0)
            return &s;
    return nullptr;
}

// Renders a bundled SVG whose strokes and fills say "currentColor" in the colour the
// application palette gives for the icon's mode, so disabled buttons grey out and a
// palette switch recolours every icon on its next paint.
class SymbolIconEngine : public QIconEngine {
public:
    explicit SymbolIconEngine(QByteArray svg, QColor fixed = {})
        : m_svg(std::move(svg)), m_fixed(fixed) {}

    void paint(QPainter* painter, const QRect& rect, QIcon::Mode mode, QIcon::State) override {
        QSvgRenderer renderer(coloured(mode));
        renderer.render(painter, QRectF(rect));
    }

    QPixmap pixmap(const QSize& size, QIcon::Mode mode, QIcon::State state) override {
        return scaledPixmap(size, mode, state, 1.0);
    }

    QPixmap scaledPixmap(const QSize& size, QIcon::Mode mode, QIcon::State state,
                         qreal scale) override {
        const QByteArray svg = coloured(mode);
        const QString key = QStringLiteral("%1/%2x%3@%4")
                                .arg(qHash(svg))
                                .arg(size.width())
                                .arg(size.height())
                                .arg(scale);
        if (QPixmap* cached = m_cache.object(key))
            return *cached;
        QPixmap pm(size * scale);
        pm.setDevicePixelRatio(scale);
        pm.fill(Qt::transparent);
        QPainter p(&pm);
        p.setRenderHint(QPainter::Antialiasing);
        paint(&p, QRect(QPoint(0, 0), size), mode, state);
        p.end();
        m_cache.insert(key, new QPixmap(pm));
        return pm;
    }

    QIconEngine* clone() const override { return new SymbolIconEngine(m_svg, m_fixed); }
    QString key() const override { return QStringLiteral("ringfold-symbol"); }

private:
    QByteArray coloured(QIcon::Mode mode) const {
        const QPalette pal = QApplication::palette();
        QColor colour = pal.color(QPalette::WindowText);
        if (mode == QIcon::Disabled)
            colour = pal.color(QPalette::Disabled, QPalette::WindowText);
        else if (mode == QIcon::Selected)
            colour = pal.color(QPalette::HighlightedText);
        if (m_fixed.isValid() && mode != QIcon::Disabled)
            colour = m_fixed;
        QByteArray svg = m_svg;
        svg.replace("currentColor", colour.name(QColor::HexRgb).toLatin1());
        return svg;
    }

    QByteArray m_svg;
    QColor m_fixed;
    QCache<QString, QPixmap> m_cache{64};
};

} // namespace

void initUiResources() {
    static const bool once = [] {
        initRingfoldResources();
        return true;
    }();
    (void)once;
}

std::vector<const char*> symbolNames() {
    std::vector<const char*> names;
    for (const SymbolName& s : kSymbols)
        names.push_back(s.symbol);
    return names;
}

const char* freedesktopIconName(const char* symbolName) {
    const SymbolName* s = find(symbolName);
    return s ? s->freedesktop : nullptr;
}

QIcon symbolIcon(const char* symbolName, const QColor& colour) {
    initUiResources();
    QFile file(QStringLiteral(":/icons/%1.svg").arg(QString::fromLatin1(symbolName)));
    if (file.open(QIODevice::ReadOnly))
        return QIcon(new SymbolIconEngine(file.readAll(), colour));
    return symbolIcon(symbolName);
}

QIcon symbolIcon(const char* symbolName) {
    initUiResources();
    static QHash<QString, QIcon> cache;
    const QString name = QString::fromLatin1(symbolName);
    if (auto it = cache.constFind(name); it != cache.constEnd())
        return *it;
    QIcon icon;
    const char* themeName = freedesktopIconName(symbolName);
    if (themeName && !QIcon::themeName().isEmpty() &&
        QIcon::hasThemeIcon(QString::fromLatin1(themeName)))
        icon = QIcon::fromTheme(QString::fromLatin1(themeName));
    if (icon.isNull()) {
        QFile file(QStringLiteral(":/icons/%1.svg").arg(name));
        if (file.open(QIODevice::ReadOnly))
            icon = QIcon(new SymbolIconEngine(file.readAll()));
    }
    cache.insert(name, icon);
    return icon;
}

} // namespace ringfold
