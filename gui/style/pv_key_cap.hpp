#pragma once
// PVKeyCap: a small rounded key cap with a key's name on it ("1", "⏎", "⌘C"), for hints beside what a key does.

#include <QString>
#include <QWidget>

namespace pivra {

class PVKeyCap : public QWidget {
    Q_OBJECT
public:
    explicit PVKeyCap(const QString& text = {}, QWidget* parent = nullptr);

    QString text() const { return text_; }
    void setText(const QString& text);
    // On the accent (a selected row): the cap turns light on it.
    void setOnAccent(bool onAccent);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent*) override;
    void changeEvent(QEvent* event) override;

private:
    QString text_;
    bool onAccent_ = false;
};

}  // namespace pivra
