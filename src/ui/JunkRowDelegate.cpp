#include "ui/JunkRowDelegate.h"

#include "ui/PanelChrome.h"
#include "ui/SystemJunkItemModel.h"

#include <QPainter>
#include <QPainterPath>

namespace ringfold {

namespace {

using Model = SystemJunkItemModel;

QColor withAlpha(QColor c, double alpha) {
    c.setAlphaF(alpha);
    return c;
}

struct BadgeColours {
    QColor text;
    QColor fill;
};

BadgeColours badgeColours(JunkConfidence confidence, const QPalette& palette) {
    switch (confidence) {
    case JunkConfidence::high: {
        const QColor orange = panel::tintColor("orange", palette);
        return {orange, withAlpha(orange, 0.18)};
    }
    case JunkConfidence::orphaned: {
        const QColor purple = panel::tintColor("purple", palette);
        return {purple, withAlpha(purple, 0.15)};
    }
    case JunkConfidence::medium:
        break;
    }
    return {panel::secondaryText(palette), withAlpha(palette.color(QPalette::WindowText), 0.12)};
}

} // namespace

namespace panel {

int confidenceBadgeWidth(JunkConfidence confidence, const QFont& font) {
    return QFontMetrics(caption2Font(font))
               .horizontalAdvance(QString::fromUtf8(label(confidence))) +
           12;
}

void paintConfidenceBadge(QPainter* p, const QRect& cell, JunkConfidence confidence,
                          const QPalette& palette, const QFont& font) {
    const QFont small = caption2Font(font);
    const QFontMetrics metrics(small);
    const QRectF badge(cell.left(), cell.center().y() - metrics.height() / 2.0 - 1,
                       confidenceBadgeWidth(confidence, font), metrics.height() + 2);
    const BadgeColours colours = badgeColours(confidence, palette);
    p->save();
    p->setRenderHint(QPainter::Antialiasing);
    QPainterPath path;
    path.addRoundedRect(badge, 4, 4);
    p->fillPath(path, colours.fill);
    p->setFont(small);
    p->setPen(colours.text);
    p->drawText(badge, Qt::AlignCenter, QString::fromUtf8(label(confidence)));
    p->restore();
}

} // namespace panel

QSize JunkRowDelegate::sizeHint(const QStyleOptionViewItem& option,
                                const QModelIndex& index) const {
    const int line = option.fontMetrics.height();
    return {40, index.data(Model::GroupRowRole).toBool() ? line + 12 : qMax(line, 16) + 6};
}

void JunkRowDelegate::paint(QPainter* p, const QStyleOptionViewItem& option,
                            const QModelIndex& index) const {
    const QPalette& pal = option.palette;
    const QRect& r = option.rect;
    const bool section = index.data(Model::GroupRowRole).toBool();
    p->save();
    if (section) {
        p->fillRect(r, withAlpha(pal.color(QPalette::WindowText), 0.05));
    } else if (option.state & (QStyle::State_Selected | QStyle::State_MouseOver)) {
        p->fillRect(r, withAlpha(pal.color(QPalette::Highlight),
                                 option.state & QStyle::State_Selected ? 0.22 : 0.08));
    }
    const QRect cell = r.adjusted(6, 0, -6, 0);
    const QString text = index.data().toString();
    switch (index.column()) {
    case Model::checkColumn:
        panel::paintCheckBox(p, panel::checkBoxRect(r, r.left() + (r.width() - 16) / 2),
                             panel::Check(index.data(Model::CheckRole).toInt()), option.widget);
        break;
    case Model::nameColumn: {
        int x = cell.left();
        if (section) {
            QFont bold = option.font;
            bold.setWeight(QFont::DemiBold);
            const QFontMetrics metrics(bold);
            p->setFont(bold);
            p->setPen(pal.color(QPalette::WindowText));
            const QString name = metrics.elidedText(text, Qt::ElideRight, cell.width());
            p->drawText(cell, Qt::AlignLeft | Qt::AlignVCenter, name);
            x += metrics.horizontalAdvance(name) + 8;
            const QFont caption = panel::captionFont(option.font);
            p->setFont(caption);
            p->setPen(panel::secondaryText(pal));
            p->drawText(QRect(x, r.top(), qMax(0, cell.right() - x), r.height()),
                        Qt::AlignLeft | Qt::AlignVCenter, index.data(Model::CountRole).toString());
            break;
        }
        const QIcon icon = index.data(Qt::DecorationRole).value<QIcon>();
        icon.paint(p, QRect(x, r.top() + (r.height() - 16) / 2, 16, 16), Qt::AlignCenter,
                   QIcon::Normal);
        x += 22;
        p->setFont(option.font);
        p->setPen(pal.color(QPalette::WindowText));
        const QRect textRect(x, r.top(), qMax(0, cell.right() - x), r.height());
        p->drawText(textRect, Qt::AlignLeft | Qt::AlignVCenter,
                    option.fontMetrics.elidedText(text, Qt::ElideMiddle, textRect.width()));
        break;
    }
    case Model::sizeColumn:
    case Model::modifiedColumn:
        p->setFont(section ? option.font : panel::captionFont(option.font));
        p->setPen(section ? pal.color(QPalette::WindowText) : panel::secondaryText(pal));
        p->drawText(cell, Qt::AlignLeft | Qt::AlignVCenter, text);
        break;
    case Model::confidenceColumn:
        if (!section)
            panel::paintConfidenceBadge(p, cell,
                                        JunkConfidence(index.data(Model::ConfidenceRole).toInt()),
                                        pal, option.font);
        break;
    default:
        break;
    }
    p->restore();
}

} // namespace ringfold
