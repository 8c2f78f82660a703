#pragma once
// PVRow: one settings row: a title, an optional description under it, and a trailing control on the right.

#include <QString>
#include <QWidget>

class QHBoxLayout;
class QLabel;

namespace pivra {

class PVRow : public QWidget {
    Q_OBJECT
public:
    // `control` (optional) is taken over and sits at the right, centred
    // vertically; the title and description take the rest of the width and wrap.
    explicit PVRow(const QString& title, const QString& description = {}, QWidget* control = nullptr,
                   QWidget* parent = nullptr);

    QString title() const;
    void setTitle(const QString& title);
    QString description() const;
    // An empty description hides the second line.
    void setDescription(const QString& description);
    QWidget* control() const { return control_; }
    // Replaces the trailing control (deleting the old one); nullptr removes it.
    void setControl(QWidget* control);

    QLabel* titleLabel() const { return title_; }
    QLabel* descriptionLabel() const { return description_; }

private:
    QHBoxLayout* layout_;
    QLabel* title_;
    QLabel* description_;
    QWidget* control_ = nullptr;
};

}  // namespace pivra
