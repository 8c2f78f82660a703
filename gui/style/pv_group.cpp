#include "gui/style/pv_group.hpp"

#include <QLabel>
#include <QPainter>
#include <QVBoxLayout>

#include "gui/style/pv_row.hpp"
#include "gui/style/theme.hpp"

namespace pivra {

namespace {
constexpr double kRadius = 8;
constexpr int kSeparatorInset = 12;
}  // namespace

// The rounded box: Base fill, a Mid outline, and a hairline under every row
// but the last, inset from the left like the row's text.
class PVGroup::Box : public QWidget {
public:
    explicit Box(QWidget* parent) : QWidget(parent) {}
    QVBoxLayout* rows = nullptr;

protected:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        const QRectF outline = QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5);
        painter.setPen(QPen(palette().color(QPalette::Mid), 1));
        painter.setBrush(palette().color(QPalette::Base));
        painter.drawRoundedRect(outline, kRadius, kRadius);
        painter.setRenderHint(QPainter::Antialiasing, false);
        QWidget* previous = nullptr;
        for (int i = 0; i < rows->count(); ++i) {
            QWidget* row = rows->itemAt(i)->widget();
            if (!row || row->isHidden()) continue;
            if (previous) {
                const int y = (previous->geometry().bottom() + row->geometry().top() + 1) / 2;
                painter.drawLine(kSeparatorInset, y, width() - 1, y);
            }
            previous = row;
        }
    }
};

PVGroup::PVGroup(const QString& header, QWidget* parent)
    : QWidget(parent), header_(new QLabel(header)), box_(new Box(this)), rows_(new QVBoxLayout(box_)),
      footnote_(new QLabel) {
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(6);
    setTextRole(*header_, TextRole::header);
    header_->setContentsMargins(kSeparatorInset, 0, 0, 0);
    header_->setVisible(!header.isEmpty());
    box_->rows = rows_;
    rows_->setContentsMargins(0, 2, 0, 2);
    rows_->setSpacing(1);
    footnote_->setWordWrap(true);
    setTextRole(*footnote_, TextRole::secondary);
    footnote_->setContentsMargins(kSeparatorInset, 0, kSeparatorInset, 0);
    footnote_->hide();
    layout->addWidget(header_);
    layout->addWidget(box_);
    layout->addWidget(footnote_);
}

PVRow* PVGroup::addRow(PVRow* row) {
    addWidget(row);
    return row;
}

QWidget* PVGroup::addWidget(QWidget* widget) {
    rows_->addWidget(widget);
    box_->update();
    return widget;
}

QWidget* PVGroup::box() const { return box_; }

int PVGroup::count() const { return rows_->count(); }

QWidget* PVGroup::widgetAt(int index) const {
    QLayoutItem* item = index >= 0 && index < rows_->count() ? rows_->itemAt(index) : nullptr;
    return item ? item->widget() : nullptr;
}

void PVGroup::clear() {
    while (QLayoutItem* item = rows_->takeAt(0)) {
        delete item->widget();
        delete item;
    }
}

void PVGroup::setHeader(const QString& header) {
    header_->setText(header);
    header_->setVisible(!header.isEmpty());
}

void PVGroup::setFootnote(const QString& footnote) {
    footnote_->setText(footnote);
    footnote_->setVisible(!footnote.isEmpty());
}

}  // namespace pivra
