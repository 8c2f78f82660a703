#include "gui/settings/rule_list.hpp"

#include <QDropEvent>
#include <QKeyEvent>
#include <QPainter>
#include <QStyledItemDelegate>

#include "gui/style/theme.hpp"

namespace pivra {
namespace {

constexpr int kRowHeight = 48;

class RuleDelegate : public QStyledItemDelegate {
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex&) const override {
        return QSize(option.rect.width(), kRowHeight);
    }

    void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override {
        painter->save();
        painter->setRenderHint(QPainter::Antialiasing);
        const QPalette& pal = option.palette;
        const bool selected = option.state & QStyle::State_Selected;
        const QRectF row = QRectF(option.rect).adjusted(4, 2, -4, -2);
        if (selected) {
            painter->setPen(Qt::NoPen);
            painter->setBrush(pal.color(QPalette::Highlight));
            painter->drawRoundedRect(row, 6, 6);
        }
        const bool off = index.data(RuleList::offRole).toBool();
        const QString neverRuns = index.data(RuleList::neverRunsRole).toString();
        const QColor text = selected ? pal.color(QPalette::HighlightedText) : pal.color(QPalette::Text);
        QColor secondary = selected ? pal.color(QPalette::HighlightedText) : pal.color(QPalette::PlaceholderText);
        if (selected) secondary.setAlpha(200);

        QFont body = option.font;
        QFont small = option.font;
        small.setPointSizeF(std::max(6.0, body.pointSizeF() * 0.88));
        const QFontMetricsF smallMetrics(small);

        // The number, in a badge.
        const QString number = QString::number(index.row() + 1);
        const double badgeWidth = std::max(20.0, smallMetrics.horizontalAdvance(number) + 10);
        const QRectF badge(row.left() + 8, row.center().y() - 10, badgeWidth, 20);
        QColor badgeFill = selected ? pal.color(QPalette::HighlightedText) : pal.color(QPalette::Highlight);
        if (off && !selected) badgeFill = pal.color(QPalette::PlaceholderText);
        painter->setPen(Qt::NoPen);
        painter->setBrush(badgeFill);
        painter->drawRoundedRect(badge, 10, 10);
        painter->setFont(small);
        painter->setPen(selected ? pal.color(QPalette::Highlight) : pal.color(QPalette::HighlightedText));
        painter->drawText(badge, Qt::AlignCenter, number);

        // A tag at the right: "Off", or "Never runs".
        QString tag = off ? QStringLiteral("Off") : (neverRuns.isEmpty() ? QString() : QStringLiteral("Never runs"));
        double right = row.right() - 8;
        if (!tag.isEmpty()) {
            const double tagWidth = smallMetrics.horizontalAdvance(tag) + 12;
            const QRectF tagRect(right - tagWidth, row.center().y() - 9, tagWidth, 18);
            QColor tagColor = off ? secondary : QColor(0xe0, 0x8a, 0x00);
            if (selected) tagColor = pal.color(QPalette::HighlightedText);
            painter->setPen(QPen(tagColor, 1));
            painter->setBrush(Qt::NoBrush);
            painter->drawRoundedRect(tagRect.adjusted(0.5, 0.5, -0.5, -0.5), 9, 9);
            painter->setPen(tagColor);
            painter->drawText(tagRect, Qt::AlignCenter, tag);
            right = tagRect.left() - 8;
        }

        const double left = badge.right() + 10;
        const QRectF titleRect(left, row.top() + 5, right - left, row.height() / 2 - 3);
        const QRectF conditionRect(left, row.center().y() + 1, right - left, row.height() / 2 - 5);
        painter->setFont(body);
        painter->setPen(off ? secondary : text);
        painter->drawText(titleRect, Qt::AlignLeft | Qt::AlignVCenter,
                          QFontMetricsF(body).elidedText(index.data(RuleList::titleRole).toString(), Qt::ElideRight,
                                                         titleRect.width()));
        painter->setFont(small);
        painter->setPen(secondary);
        painter->drawText(conditionRect, Qt::AlignLeft | Qt::AlignVCenter,
                          smallMetrics.elidedText(index.data(RuleList::conditionRole).toString(), Qt::ElideRight,
                                                  conditionRect.width()));
        painter->restore();
    }
};

}  // namespace

RuleList::RuleList(QWidget* parent) : QListWidget(parent) {
    setItemDelegate(new RuleDelegate(this));
    setSelectionMode(QAbstractItemView::SingleSelection);
    setDragDropMode(QAbstractItemView::InternalMove);
    setDefaultDropAction(Qt::MoveAction);
    setDragEnabled(true);
    setAcceptDrops(true);
    setDropIndicatorShown(true);
    setUniformItemSizes(true);
    setFrameShape(QFrame::NoFrame);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setAccessibleName(QStringLiteral("Rules"));
}

void RuleList::keyPressEvent(QKeyEvent* event) {
    const int row = currentRow();
    if (row >= 0 && event->modifiers() & Qt::AltModifier) {
        if (event->key() == Qt::Key_Up && row > 0) {
            emit moveRequested(row, row - 1);
            return;
        }
        if (event->key() == Qt::Key_Down && row + 1 < count()) {
            emit moveRequested(row, row + 1);
            return;
        }
    }
    if (row >= 0 && event->modifiers() == Qt::NoModifier) {
        if (event->key() == Qt::Key_Delete || event->key() == Qt::Key_Backspace) {
            emit deleteRequested(row);
            return;
        }
        if (event->key() == Qt::Key_Space) {
            emit toggleRequested(row);
            return;
        }
    }
    QListWidget::keyPressEvent(event);
}

void RuleList::dropEvent(QDropEvent* event) {
    const int from = currentRow();
    const QModelIndex at = indexAt(event->position().toPoint());
    // Where the row is put in the list as it is, then its place once it has left its own.
    int insertAt = at.isValid() ? at.row() : count();
    if (at.isValid() && dropIndicatorPosition() == QAbstractItemView::BelowItem) ++insertAt;
    const int to = insertAt > from ? insertAt - 1 : insertAt;
    // The list is refilled from the model; Qt must not move the item itself.
    event->setDropAction(Qt::IgnoreAction);
    event->accept();
    if (from >= 0 && to != from && to >= 0 && to < count()) emit moveRequested(from, to);
}

}  // namespace pivra

namespace pivra {

void RuleList::setEmptyText(const QString& text) {
    emptyText_ = text;
    viewport()->update();
}

void RuleList::paintEvent(QPaintEvent* event) {
    QListWidget::paintEvent(event);
    if (count() > 0 || emptyText_.isEmpty()) return;
    QPainter painter(viewport());
    painter.setPen(palette().color(QPalette::PlaceholderText));
    painter.drawText(viewport()->rect().adjusted(24, 0, -24, 0), Qt::AlignCenter | Qt::TextWordWrap, emptyText_);
}

}  // namespace pivra
