#pragma once
// Small pieces the settings pages share: text conversion, switches, choice
// lists bound to one setting, and the model observer that a page holds.

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include <QButtonGroup>
#include <QCheckBox>
#include <QComboBox>
#include <QString>

#include "app/model/app_model.hpp"

class QRadioButton;

namespace pivra {

class PVGroup;

inline QString qstr(std::string_view text) { return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size())); }
inline std::string stdstr(const QString& text) { return text.toStdString(); }

// A check box drawn as a switch, with an accessible name (it has no text of its own).
QCheckBox* makeSwitch(const QString& accessibleName);

// One radio row per choice, in a group: the label, and the description
// under it when there is one.
struct Choice {
    QString label;
    QString description;
};

// Radio buttons for `choices` added to `group` as rows; `chosen` receives the
// index the user picks. The returned group's buttons have ids 0..n-1.
QButtonGroup* addChoiceRows(PVGroup& group, const std::vector<Choice>& choices, std::function<void(int)> chosen);

// Checks the button with `id` without telling anyone.
void checkQuietly(QButtonGroup& buttons, int id);
void setCheckedQuietly(QCheckBox& box, bool on);
void setCurrentQuietly(QComboBox& combo, int index);

// Holds a model observer for as long as the page lives.
class ModelObserver {
public:
    ModelObserver(AppModel& model, std::function<void()> observer) : model_(model), id_(model.addObserver(std::move(observer))) {}
    ~ModelObserver() { model_.removeObserver(id_); }
    ModelObserver(const ModelObserver&) = delete;
    ModelObserver& operator=(const ModelObserver&) = delete;

private:
    AppModel& model_;
    ObserverId id_;
};

}  // namespace pivra
