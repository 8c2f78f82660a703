// The shared style components on one sample page: rows with switches,
// check boxes, radio buttons, buttons of each kind and key caps.

#include <QApplication>
#include <QCheckBox>
#include <QHBoxLayout>
#include <QPushButton>
#include <QRadioButton>

#include "gui/style/pv_button_style.hpp"
#include "gui/style/pv_check_style.hpp"
#include "gui/style/pv_group.hpp"
#include "gui/style/pv_key_cap.hpp"
#include "gui/style/pv_page.hpp"
#include "gui/style/pv_row.hpp"
#include "gui/style/pv_switch_style.hpp"
#include "tests/gui/screens.hpp"

namespace pivra::screens {

namespace {

QWidget* switchControl(bool on, bool enabled = true) {
    auto* control = new QCheckBox;
    PVSwitchStyle::apply(*control);
    control->setChecked(on);
    control->setEnabled(enabled);
    return control;
}

QImage renderComponents(const Theme& theme) {
    PVPage page(QStringLiteral("Components"));
    auto* picker = page.addGroup(new PVGroup(QStringLiteral("Switches")));
    picker->addRow(new PVRow(QStringLiteral("Offer to make a rule"),
                             QStringLiteral("Always open links from an app in the one you pick."), switchControl(true)));
    picker->addRow(new PVRow(QStringLiteral("Copy with a key"), {}, switchControl(false)));
    picker->addRow(new PVRow(QStringLiteral("Not available"), QStringLiteral("Off and disabled."), switchControl(false, false)));

    auto* choices = page.addGroup(new PVGroup(QStringLiteral("Checks and choices")));
    auto* radios = new QWidget;
    auto* radioLayout = new QHBoxLayout(radios);
    radioLayout->setContentsMargins(0, 0, 0, 0);
    for (const auto& [text, on] : {std::pair{"What the rules would pick", true}, std::pair{"The first", false}}) {
        auto* radio = new QRadioButton(QString::fromUtf8(text));
        PVCheckStyle::apply(*radio);
        radio->setChecked(on);
        radioLayout->addWidget(radio);
    }
    choices->addRow(new PVRow(QStringLiteral("Start on"), {}, radios));
    auto* check = new QCheckBox(QStringLiteral("Shown"));
    PVCheckStyle::apply(*check);
    check->setChecked(true);
    choices->addRow(new PVRow(QStringLiteral("Google Chrome · Work"), QStringLiteral("com.google.Chrome/Profile 1"), check));
    auto* unchecked = new QCheckBox(QStringLiteral("Shown"));
    PVCheckStyle::apply(*unchecked);
    choices->addRow(new PVRow(QStringLiteral("Firefox · Testing"), {}, unchecked));
    choices->setFootnote(QStringLiteral("Hidden entries stay in the list, unticked."));

    auto* buttons = page.addGroup(new PVGroup(QStringLiteral("Buttons and keys")));
    auto* row = new QWidget;
    auto* rowLayout = new QHBoxLayout(row);
    rowLayout->setContentsMargins(0, 0, 0, 0);
    for (const auto& [text, kind] : {std::pair{"Make Default", PVButtonStyle::Kind::prominent},
                                     std::pair{"Export…", PVButtonStyle::Kind::normal},
                                     std::pair{"Show in Folder", PVButtonStyle::Kind::plain}}) {
        auto* button = new QPushButton(QString::fromUtf8(text));
        PVButtonStyle::apply(*button, kind);
        rowLayout->addWidget(button);
    }
    buttons->addRow(new PVRow(QStringLiteral("Actions"), {}, row));
    auto* keys = new QWidget;
    auto* keyLayout = new QHBoxLayout(keys);
    keyLayout->setContentsMargins(0, 0, 0, 0);
    for (const char* key : {"1", "↩", "⌘C", "Esc"}) keyLayout->addWidget(new PVKeyCap(QString::fromUtf8(key)));
    buttons->addRow(new PVRow(QStringLiteral("Key caps"), {}, keys));

    applyTheme(page, theme);
    page.resize(560, 640);
    page.show();
    QApplication::processEvents();
    return page.grab().toImage();
}

}  // namespace

std::vector<Shot> styleShots() { return {{"components", renderComponents}}; }

}  // namespace pivra::screens
