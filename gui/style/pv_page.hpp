#pragma once
// PVPage: a scrolling settings page: a title, then groups stacked with even spacing, at a readable width.

#include <QScrollArea>
#include <QString>

class QLabel;
class QVBoxLayout;

namespace pivra {

class PVGroup;

class PVPage : public QScrollArea {
    Q_OBJECT
public:
    // An empty title shows none.
    explicit PVPage(const QString& title = {}, QWidget* parent = nullptr);

    // Appends below what the page holds, taking it over.
    PVGroup* addGroup(PVGroup* group);
    QWidget* addWidget(QWidget* widget);

    QLabel* titleLabel() const { return title_; }
    QWidget* content() const { return content_; }

private:
    QWidget* content_;
    QVBoxLayout* column_;
    QLabel* title_;
};

}  // namespace pivra
