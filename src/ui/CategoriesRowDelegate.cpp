#include "ui/CategoriesRowDelegate.h"

#include "app/stores/CleanupListStore.h"
#include "core/model/FileNode.h"
#include "ui/CategoriesItemModel.h"
#include "ui/PanelChrome.h"
#include "ui/Symbols.h"

#include <QAbstractItemView>
#include <QHelpEvent>
#include <QPainter>
#include <QPainterPath>
#include <QToolTip>

namespace ringfold {

namespace {

using Kind = CategoriesItemModel::Kind;

constexpr int kSymbolWidth = 20;
constexpr int kGaugeWidth = 80;
constexpr int kSizeWidth = 84;
constexpr int kFileIndent = 30; // file rows start under the category's name
constexpr int kPadding = 8;

Kind kindOf(const QModelIndex& index) {
    return Kind(index.data(CategoriesItemModel::KindRole).toInt());
}

FileNode* nodeOf(const QModelIndex& index) {
    return static_cast<FileNode*>(index.data(CategoriesItemModel::NodeRole).value<void*>());
}

QRect sizeRect(const QRect& row) {
    return QRect(row.right() - kPadding - kSizeWidth, row.top(), kSizeWidth, row.height());
}

void paintChevron(QPainter* p, QPointF centre, bool open, const QColor& colour) {
    QPainterPath path;
    if (open) {
        path.moveTo(centre + QPointF(-3.5, -1.8));
        path.lineTo(centre + QPointF(0, 1.8));
        path.lineTo(centre + QPointF(3.5, -1.8));
    } else {
        path.moveTo(centre + QPointF(-1.8, -3.5));
        path.lineTo(centre + QPointF(1.8, 0));
        path.lineTo(centre + QPointF(-1.8, 3.5));
    }
    p->setPen(QPen(colour, 1.4, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    p->setBrush(Qt::NoBrush);
    p->drawPath(path);
}

void paintRowBackground(QPainter* p, const QStyleOptionViewItem& option) {
    const bool selected = option.state & QStyle::State_Selected;
    const bool hovered = option.state & QStyle::State_MouseOver;
    if (!selected && !hovered)
        return;
    QColor fill = option.palette.color(QPalette::Highlight);
    fill.setAlphaF(selected ? 0.22 : 0.08);
    QPainterPath path;
    path.addRoundedRect(QRectF(option.rect.adjusted(2, 1, -2, -1)), 5, 5);
    p->fillPath(path, fill);
}

} // namespace

CategoriesRowDelegate::CategoriesRowDelegate(const CleanupListStore& cleanup, QObject* parent)
    : QStyledItemDelegate(parent), m_cleanup(cleanup) {}

QRect CategoriesRowDelegate::checkBoxRect(const QRect& row) {
    return panel::checkBoxRect(row, row.left() + kFileIndent);
}

QRect CategoriesRowDelegate::cloudBadgeRect(const QRect& row) {
    const QRect size = sizeRect(row);
    return QRect(size.left() - 20, row.top() + (row.height() - 14) / 2, 14, 14);
}

QSize CategoriesRowDelegate::sizeHint(const QStyleOptionViewItem& option,
                                      const QModelIndex& index) const {
    const int line = option.fontMetrics.height();
    switch (kindOf(index)) {
    case Kind::category:
        return {200, qMax(line, 20) + 12};
    case Kind::file:
        return {200, qMax(line, 16) + 6};
    case Kind::footer:
        break;
    }
    return {200, line + 4};
}

void CategoriesRowDelegate::paint(QPainter* p, const QStyleOptionViewItem& option,
                                  const QModelIndex& index) const {
    p->save();
    p->setRenderHint(QPainter::Antialiasing);
    switch (kindOf(index)) {
    case Kind::category:
        paintCategory(p, option, index);
        break;
    case Kind::file:
        paintFile(p, option, index);
        break;
    case Kind::footer: {
        p->setFont(panel::captionFont(option.font));
        p->setPen(panel::tertiaryText(option.palette));
        const QRect r = option.rect.adjusted(kFileIndent + 22, 0, -kPadding, 0);
        p->drawText(r, Qt::AlignLeft | Qt::AlignVCenter, index.data().toString());
        break;
    }
    }
    p->restore();
}

void CategoriesRowDelegate::paintCategory(QPainter* p, const QStyleOptionViewItem& option,
                                          const QModelIndex& index) const {
    const QRect& r = option.rect;
    const QPalette& pal = option.palette;
    const QColor tint =
        panel::tintColor(index.data(CategoriesItemModel::TintRole).toByteArray().constData(), pal);
    if (option.state & QStyle::State_MouseOver) {
        QColor fill = pal.color(QPalette::Highlight);
        fill.setAlphaF(0.08);
        QPainterPath path;
        path.addRoundedRect(QRectF(r.adjusted(2, 1, -2, -1)), 5, 5);
        p->fillPath(path, fill);
    }
    const bool open = option.state & QStyle::State_Open;
    paintChevron(p, QPointF(r.left() + 10, r.center().y() + 0.5), open, panel::secondaryText(pal));

    int x = r.left() + 18;
    const QByteArray symbol = index.data(CategoriesItemModel::SymbolRole).toByteArray();
    symbolIcon(symbol.constData(), tint)
        .paint(p, QRect(x + 1, r.top() + (r.height() - 18) / 2, 18, 18));
    x += kSymbolWidth + 6;

    const QRect size = sizeRect(r);
    const QRect gauge(size.left() - 12 - kGaugeWidth, r.center().y() - 2, kGaugeWidth, 5);
    QColor track = pal.color(QPalette::WindowText);
    track.setAlphaF(0.1);
    p->setPen(Qt::NoPen);
    p->setBrush(track);
    p->drawRoundedRect(QRectF(gauge), 2.5, 2.5);
    const double fraction =
        qBound(0.0, index.data(CategoriesItemModel::FractionRole).toDouble(), 1.0);
    if (fraction > 0) {
        p->setBrush(tint);
        p->drawRoundedRect(QRectF(gauge.left(), gauge.top(),
                                  qMax(gauge.height() * 1.0, fraction * gauge.width()),
                                  gauge.height()),
                           2.5, 2.5);
    }

    p->setFont(option.font);
    p->setPen(pal.color(QPalette::WindowText));
    p->drawText(size, Qt::AlignRight | Qt::AlignVCenter,
                index.data(CategoriesItemModel::SizeTextRole).toString());

    const int textRight = gauge.left() - 12;
    QFont nameFont = option.font;
    nameFont.setWeight(QFont::Medium);
    const QFontMetrics nameMetrics(nameFont);
    const QString name =
        nameMetrics.elidedText(index.data().toString(), Qt::ElideRight, qMax(0, textRight - x));
    p->setFont(nameFont);
    p->drawText(QRect(x, r.top(), textRight - x, r.height()), Qt::AlignLeft | Qt::AlignVCenter,
                name);
    x += nameMetrics.horizontalAdvance(name) + 8;
    if (x < textRight) {
        const QFont caption = panel::captionFont(option.font);
        p->setFont(caption);
        p->setPen(panel::secondaryText(pal));
        p->drawText(
            QRect(x, r.top(), textRight - x, r.height()), Qt::AlignLeft | Qt::AlignVCenter,
            QFontMetrics(caption).elidedText(index.data(CategoriesItemModel::CountRole).toString(),
                                             Qt::ElideRight, textRight - x));
    }
}

void CategoriesRowDelegate::paintFile(QPainter* p, const QStyleOptionViewItem& option,
                                      const QModelIndex& index) const {
    const FileNode* node = nodeOf(index);
    if (!node)
        return;
    const QRect& r = option.rect;
    const QPalette& pal = option.palette;
    paintRowBackground(p, option);

    const QRect box = checkBoxRect(r);
    panel::paintCheckBox(p, box,
                         !m_cleanup.canAdd(*node)    ? panel::Check::locked
                         : m_cleanup.contains(*node) ? panel::Check::on
                                                     : panel::Check::off,
                         option.widget);
    int x = box.right() + 8;
    panel::fileIcon(*node).paint(p, QRect(x, r.top() + (r.height() - 16) / 2, 16, 16));
    x += 22;

    const QRect size = sizeRect(r);
    p->setFont(option.font);
    p->setPen(panel::secondaryText(pal));
    p->drawText(size, Qt::AlignRight | Qt::AlignVCenter,
                index.data(CategoriesItemModel::SizeTextRole).toString());
    const QIcon cloud = panel::cloudIcon(node->cloudStatus());
    if (!cloud.isNull())
        cloud.paint(p, cloudBadgeRect(r));

    const int textRight = cloudBadgeRect(r).left() - 6;
    p->setPen(pal.color(QPalette::WindowText));
    p->drawText(QRect(x, r.top(), textRight - x, r.height()), Qt::AlignLeft | Qt::AlignVCenter,
                option.fontMetrics.elidedText(index.data().toString(), Qt::ElideMiddle,
                                              qMax(0, textRight - x)));
}

bool CategoriesRowDelegate::helpEvent(QHelpEvent* event, QAbstractItemView* view,
                                      const QStyleOptionViewItem& option,
                                      const QModelIndex& index) {
    if (kindOf(index) == Kind::file) {
        const FileNode* node = nodeOf(index);
        QString help;
        if (node && checkBoxRect(option.rect).contains(event->pos()) && !m_cleanup.canAdd(*node))
            help = panel::lockHelp(*node);
        else if (node && cloudBadgeRect(option.rect).contains(event->pos()))
            help = panel::cloudHelp(node->cloudStatus());
        else if (node && sizeRect(option.rect).contains(event->pos()))
            help = QString::fromStdString(node->sharedStorageNote().value_or(std::string()));
        if (!help.isEmpty()) {
            QToolTip::showText(event->globalPos(), help, view);
            return true;
        }
    }
    return QStyledItemDelegate::helpEvent(event, view, option, index);
}

} // namespace ringfold
