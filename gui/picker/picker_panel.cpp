#include "gui/picker/picker_panel.hpp"

#include <QGuiApplication>
#include <QScreen>

#include "app/model/app_model.hpp"
#include "app/model/picker_controller.hpp"
#include "gui/picker/picker_view.hpp"
#include "gui/screen_coordinates.hpp"

namespace pivra {

PickerPanel::PickerPanel(AppModel& model) : model_(model), view_(std::make_unique<PickerView>()) {}

PickerPanel::~PickerPanel() = default;

void PickerPanel::setController(PickerController* controller) { controller_ = controller; }

void PickerPanel::pinTheme(const Theme& theme) {
    pinned_ = theme;
    applyTheme(*view_, theme);
    themed_ = true;
}

void PickerPanel::setHooks(KeyHook onKey, FocusLostHook onFocusLost) {
    view_->setHooks(std::move(onKey), std::move(onFocusLost));
}

void PickerPanel::fill() {
    if (!pinned_) {
        // The look follows the accent setting and the system's appearance;
        // the palette is only rebuilt when either changed.
        const QString accent = QString::fromStdString(model_.settings().accent());
        const Theme theme = Theme::system(accent);
        if (!themed_ || accent != themedAccent_ || theme.isDark != themedDark_) {
            applyTheme(*view_, theme);
            themedAccent_ = accent;
            themedDark_ = theme.isDark;
            themed_ = true;
        }
    }
    PickerState* state = controller_ ? controller_->state() : nullptr;
    if (state) {
        state->setObserver([this] {
            PickerState* now = controller_ ? controller_->state() : nullptr;
            if (!now) return;
            view_->showState(now, model_.settings().pickerCopies());
            // Links that join make the header taller: the panel grows downwards.
            if (view_->isVisible()) view_->resize(PickerView::kWidth, view_->fittingHeight());
        });
    }
    view_->showState(state, model_.settings().pickerCopies());
}

ScreenSize PickerPanel::fittingSize() {
    fill();
    return ScreenSize{static_cast<double>(PickerView::kWidth), static_cast<double>(view_->fittingHeight())};
}

void PickerPanel::show(ScreenRect frame) {
    // The controller asks for the fitting size first, which filled the rows.
    const QScreen* primary = QGuiApplication::primaryScreen();
    const QRect main = primary ? primary->geometry() : QRect(0, 0, 1440, 900);
    view_->setGeometry(toQtRect(frame, main));
    view_->show();
    view_->raise();
    // Unlike the Mac's panel, a window here takes the keyboard only by becoming active.
    view_->activateWindow();
    view_->setFocus(Qt::ActiveWindowFocusReason);
}

void PickerPanel::close() {
    view_->hide();
    view_->showState(nullptr, false);
}

bool PickerPanel::isVisible() const { return view_->isVisible(); }

}  // namespace pivra
