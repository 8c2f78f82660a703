#pragma once
// The picker window's widgets: a header (the link or the count of links, and
// where they came from), one row per entry with its number key, the remember
// switch with its caption, and a footer with the keys to open and copy.

#include <functional>
#include <vector>

#include <QWidget>

#include "app/ports/picker_window.hpp"

class QCheckBox;
class QLabel;
class QPushButton;
class QVBoxLayout;

namespace pivra {

class PickerState;
class PVKeyCap;
struct PickerRow;

// One entry: a round badge with the app's initial, its name over the
// profile's, the rules' label when the rules picked it, and its number key.
class PickerRowView : public QWidget {
    Q_OBJECT
public:
    PickerRowView();

    void show(const PickerRow& row);
    bool isSelected() const { return selected_; }
    QString name() const;
    QString sub() const;
    // "Rule 2", or empty.
    QString ruleLabel() const;
    // "1" to "9", or empty.
    QString numberKey() const;
    void setOnClick(std::function<void()> onClick) { onClick_ = std::move(onClick); }

protected:
    void paintEvent(QPaintEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;

private:
    bool selected_ = false;
    QString initial_;
    QColor badge_;
    QLabel* name_;
    QLabel* sub_;
    QLabel* rule_;
    PVKeyCap* key_;
    std::function<void()> onClick_;
};

class PickerView : public QWidget {
    Q_OBJECT
public:
    static constexpr int kWidth = 360;

    PickerView();

    // Shows what `state` holds now (none: empties the window). `copies`:
    // the Copy button and its key are offered.
    void showState(PickerState* state, bool copies);
    void setHooks(PickerWindow::KeyHook onKey, PickerWindow::FocusLostHook onFocusLost);
    // The height the content needs at kWidth.
    int fittingHeight();

    QCheckBox* rememberSwitch() const { return remember_; }
    QPushButton* copyButton() const { return copy_; }
    // The rows in use, in order.
    std::vector<PickerRowView*> rows() const;

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void changeEvent(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    PickerRowView* rowAt(int index);

    PickerState* state_ = nullptr;
    PickerWindow::KeyHook onKey_;
    PickerWindow::FocusLostHook onFocusLost_;
    bool wasActive_ = false;
    QLabel* title_;
    QLabel* explanation_;
    QLabel* source_;
    QWidget* rowsBox_;
    QVBoxLayout* rowsLayout_;
    std::vector<PickerRowView*> rowPool_;
    int rowsInUse_ = 0;
    QWidget* rememberBox_;
    QCheckBox* remember_;
    QLabel* rememberCaption_;
    PVKeyCap* openKey_;
    QLabel* openLabel_;
    QPushButton* copy_;
    PVKeyCap* copyKey_;
};

}  // namespace pivra
