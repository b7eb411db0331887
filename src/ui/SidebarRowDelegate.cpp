#include "ui/SidebarRowDelegate.h"

#include "ui/Symbols.h"

#include <QApplication>
#include <QPainter>
#include <QPainterPath>

namespace ringfold {

namespace {

QFont smaller(const QFont& base, double factor) {
    QFont f = base;
    if (f.pointSizeF() > 0)
        f.setPointSizeF(f.pointSizeF() * factor);
    else
        f.setPixelSize(int(f.pixelSize() * factor));
    return f;
}

QColor secondary(const QPalette& pal) {
    QColor c = pal.color(QPalette::WindowText);
    c.setAlphaF(0.6);
    return c;
}

} // namespace

QSize SidebarRowDelegate::sizeHint(const QStyleOptionViewItem& option,
                                   const QModelIndex& index) const {
    const int line = option.fontMetrics.height();
    switch (index.data(KindRole).toInt()) {
    case SectionRow:
        return {100, line + 16};
    case SourceRow:
        return {100, index.data(SubtitleRole).toString().isEmpty() ? line + 14 : 2 * line + 12};
    default:
        return {100, line + 12};
    }
}

void SidebarRowDelegate::paint(QPainter* p, const QStyleOptionViewItem& option,
                               const QModelIndex& index) const {
    const QPalette& pal = option.palette;
    const int kind = index.data(KindRole).toInt();
    const QRect r = option.rect.adjusted(8, 1, -8, -1);
    const QString text = index.data(Qt::DisplayRole).toString();
    p->save();
    p->setRenderHint(QPainter::Antialiasing);

    if (kind == SectionRow) {
        QFont f = smaller(option.font, 0.85);
        f.setWeight(QFont::DemiBold);
        f.setCapitalization(QFont::AllUppercase);
        f.setLetterSpacing(QFont::PercentageSpacing, 104);
        p->setFont(f);
        p->setPen(secondary(pal));
        p->drawText(r.adjusted(6, 0, 0, -3), Qt::AlignLeft | Qt::AlignBottom, text);
        p->restore();
        return;
    }

    const bool selected = option.state & QStyle::State_Selected;
    const bool hovered = option.state & QStyle::State_MouseOver;
    if (selected || (hovered && kind != NoteRow)) {
        QColor fill = pal.color(QPalette::Highlight);
        if (!selected)
            fill.setAlphaF(0.12);
        QPainterPath path;
        path.addRoundedRect(QRectF(r), 6, 6);
        p->fillPath(path, fill);
    }
    const QColor primary = selected            ? pal.color(QPalette::HighlightedText)
                           : kind == ActionRow ? pal.color(QPalette::Highlight)
                                               : pal.color(QPalette::WindowText);
    QColor muted = selected ? primary : secondary(pal);
    if (selected)
        muted.setAlphaF(0.8);

    int x = r.left() + 8;
    const QIcon icon = index.data(Qt::DecorationRole).value<QIcon>();
    if (!icon.isNull()) {
        const int size = kind == SourceRow ? 20 : 16;
        const QRect iconRect(x, r.top() + (r.height() - size) / 2, size, size);
        icon.paint(p, iconRect, Qt::AlignCenter, selected ? QIcon::Selected : QIcon::Normal);
        x += size + 8;
    }
    const QRect textRect(x, r.top(), r.right() - x - 4, r.height());

    if (kind == NoteRow) {
        QFont f = option.font;
        f.setItalic(true);
        p->setFont(f);
        p->setPen(muted);
        p->drawText(textRect, Qt::AlignLeft | Qt::AlignVCenter, text);
        p->restore();
        return;
    }

    const QString subtitle = index.data(SubtitleRole).toString();
    QFont nameFont = option.font;
    if (kind == SourceRow)
        nameFont.setWeight(QFont::Medium);
    p->setFont(nameFont);
    p->setPen(primary);
    const QFontMetrics nameMetrics(nameFont);
    if (subtitle.isEmpty()) {
        p->drawText(textRect, Qt::AlignLeft | Qt::AlignVCenter,
                    nameMetrics.elidedText(text, Qt::ElideMiddle, textRect.width()));
        p->restore();
        return;
    }
    const QFont subFont = smaller(option.font, 0.86);
    const QFontMetrics subMetrics(subFont);
    const int block = nameMetrics.height() + 1 + subMetrics.height();
    const int top = textRect.top() + (textRect.height() - block) / 2;
    p->drawText(QRect(textRect.left(), top, textRect.width(), nameMetrics.height()),
                Qt::AlignLeft | Qt::AlignVCenter,
                nameMetrics.elidedText(text, Qt::ElideMiddle, textRect.width()));
    QRect subRect(textRect.left(), top + nameMetrics.height() + 1, textRect.width(),
                  subMetrics.height());
    if (index.data(RestrictedRole).toBool()) {
        symbolIcon("exclamationmark.triangle.fill")
            .paint(p, QRect(subRect.left(), subRect.top() + (subRect.height() - 12) / 2, 12, 12));
        subRect.setLeft(subRect.left() + 16);
    }
    p->setFont(subFont);
    p->setPen(muted);
    p->drawText(subRect, Qt::AlignLeft | Qt::AlignVCenter,
                subMetrics.elidedText(subtitle, Qt::ElideRight, subRect.width()));
    p->restore();
}

} // namespace ringfold
