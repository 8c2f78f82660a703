#include "gui/style/pv_page.hpp"

#include <QLabel>
#include <QVBoxLayout>

#include "gui/style/pv_group.hpp"
#include "gui/style/theme.hpp"

namespace pivra {

namespace {
constexpr int kMaxContentWidth = 640;
}  // namespace

PVPage::PVPage(const QString& title, QWidget* parent)
    : QScrollArea(parent), content_(new QWidget), column_(new QVBoxLayout(content_)), title_(new QLabel(title)) {
    setFrameShape(QFrame::NoFrame);
    setWidgetResizable(true);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    // The page shows the window's colour through the viewport.
    viewport()->setBackgroundRole(QPalette::Window);
    content_->setBackgroundRole(QPalette::Window);
    content_->setMaximumWidth(kMaxContentWidth);
    column_->setContentsMargins(20, 16, 20, 20);
    column_->setSpacing(18);
    setTextRole(*title_, TextRole::title);
    title_->setVisible(!title.isEmpty());
    column_->addWidget(title_);
    column_->addStretch(1);
    setWidget(content_);
    setAlignment(Qt::AlignHCenter | Qt::AlignTop);
}

PVGroup* PVPage::addGroup(PVGroup* group) {
    addWidget(group);
    return group;
}

QWidget* PVPage::addWidget(QWidget* widget) {
    // Before the stretch that keeps everything at the top.
    column_->insertWidget(column_->count() - 1, widget);
    return widget;
}

}  // namespace pivra
