#include "gui/style/pv_row.hpp"

#include <QHBoxLayout>
#include <QLabel>
#include <QVBoxLayout>

#include "gui/style/theme.hpp"

namespace pivra {

PVRow::PVRow(const QString& title, const QString& description, QWidget* control, QWidget* parent)
    : QWidget(parent), layout_(new QHBoxLayout(this)), title_(new QLabel(title)), description_(new QLabel(description)) {
    layout_->setContentsMargins(12, 8, 12, 8);
    layout_->setSpacing(16);
    auto* texts = new QVBoxLayout;
    texts->setSpacing(2);
    texts->setContentsMargins(0, 0, 0, 0);
    title_->setWordWrap(true);
    setTextRole(*title_, TextRole::body);
    description_->setWordWrap(true);
    setTextRole(*description_, TextRole::secondary);
    description_->setVisible(!description.isEmpty());
    texts->addWidget(title_);
    texts->addWidget(description_);
    layout_->addLayout(texts, 1);
    setControl(control);
}

QString PVRow::title() const { return title_->text(); }

void PVRow::setTitle(const QString& title) { title_->setText(title); }

QString PVRow::description() const { return description_->text(); }

void PVRow::setDescription(const QString& description) {
    description_->setText(description);
    description_->setVisible(!description.isEmpty());
}

void PVRow::setControl(QWidget* control) {
    if (control_ == control) return;
    delete control_;
    control_ = control;
    if (control_) layout_->addWidget(control_, 0, Qt::AlignRight | Qt::AlignVCenter);
}

}  // namespace pivra
