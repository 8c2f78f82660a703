#include "gui/settings/page_support.hpp"

#include <QBoxLayout>
#include <QEvent>
#include <QLabel>
#include <QRadioButton>
#include <QSignalBlocker>

#include "gui/style/pv_check_style.hpp"
#include "gui/style/pv_group.hpp"
#include "gui/style/pv_row.hpp"
#include "gui/style/pv_switch_style.hpp"

namespace pivra {
namespace {

// Turns a click on a row into a click on its button.
class ClickForwarder : public QObject {
public:
    ClickForwarder(QAbstractButton* button, QObject* parent) : QObject(parent), button_(button) {}

protected:
    bool eventFilter(QObject* watched, QEvent* event) override {
        if (event->type() == QEvent::MouseButtonRelease && button_->isEnabled()) button_->click();
        return QObject::eventFilter(watched, event);
    }

private:
    QAbstractButton* button_;
};

}  // namespace

QCheckBox* makeSwitch(const QString& accessibleName) {
    auto* box = new QCheckBox;
    PVSwitchStyle::apply(*box);
    box->setAccessibleName(accessibleName);
    box->setFocusPolicy(Qt::StrongFocus);
    return box;
}

QButtonGroup* addChoiceRows(PVGroup& group, const std::vector<Choice>& choices, std::function<void(int)> chosen) {
    auto* buttons = new QButtonGroup(&group);
    for (int i = 0; i < static_cast<int>(choices.size()); ++i) {
        const Choice& choice = choices[static_cast<std::size_t>(i)];
        auto* radio = new QRadioButton;
        PVCheckStyle::apply(*radio);
        radio->setAccessibleName(choice.label);
        buttons->addButton(radio, i);
        // The radio leads the row, as a list of choices reads on a Mac.
        auto* row = new PVRow(choice.label, choice.description);
        auto* layout = row->layout();
        layout->removeWidget(radio);
        static_cast<QBoxLayout*>(layout)->insertWidget(0, radio, 0, Qt::AlignTop);
        row->titleLabel()->setBuddy(radio);
        group.addRow(row);
        // A click anywhere on the row picks it.
        row->installEventFilter(new ClickForwarder(radio, row));
        row->setCursor(Qt::PointingHandCursor);
    }
    QObject::connect(buttons, &QButtonGroup::idClicked, &group, [chosen = std::move(chosen)](int id) { chosen(id); });
    return buttons;
}

void checkQuietly(QButtonGroup& buttons, int id) {
    if (QAbstractButton* button = buttons.button(id)) {
        const QSignalBlocker blocker(button);
        button->setChecked(true);
    }
}

void setCheckedQuietly(QCheckBox& box, bool on) {
    const QSignalBlocker blocker(&box);
    box.setChecked(on);
}

void setCurrentQuietly(QComboBox& combo, int index) {
    const QSignalBlocker blocker(&combo);
    combo.setCurrentIndex(index);
}

}  // namespace pivra
