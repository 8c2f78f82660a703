#include "gui/picker/picker_panel.hpp"

#include <QGuiApplication>
#include <QScreen>

#include "app/model/app_model.hpp"
#include "app/model/picker_controller.hpp"
#include "gui/picker/picker_view.hpp"
#include "gui/screen_coordinates.hpp"

namespace pivra {

namespace {

QRect qtRect(const ScreenRect& frame) {
    const QScreen* primary = QGuiApplication::primaryScreen();
    return toQtRect(frame, primary ? primary->geometry() : QRect(0, 0, 1440, 900));
}

class QtPanelPresenter final : public PanelPresenter {
public:
    void adopt(QWidget& view) override { view.winId(); }
    void present(QWidget& view, ScreenRect frame, std::function<void()>) override {
        // The view hears its own loss of the keyboard (PickerView::changeEvent).
        view.setGeometry(qtRect(frame));
        view.show();
        view.raise();
        // Unlike the Mac's panel, a window here takes the keyboard only by becoming active.
        view.activateWindow();
        view.setFocus(Qt::ActiveWindowFocusReason);
    }
    void reframe(QWidget& view, ScreenRect frame) override { view.setGeometry(qtRect(frame)); }
    void dismiss(QWidget& view) override { view.hide(); }
};

}  // namespace

std::unique_ptr<PanelPresenter> qtPanelPresenter() { return std::make_unique<QtPanelPresenter>(); }

PickerPanel::PickerPanel(AppModel& model, std::unique_ptr<PanelPresenter> presenter)
    : model_(model), view_(std::make_unique<PickerView>()), presenter_(std::move(presenter)) {
    // Everything a first show would otherwise pay for (the style's polish, the
    // fonts, the native window) is done now, so the first link's panel
    // appears as fast as any later one.
    fill();
    view_->fittingHeight();
    presenter_->adopt(*view_);
}

PickerPanel::~PickerPanel() = default;

void PickerPanel::setController(PickerController* controller) { controller_ = controller; }

void PickerPanel::pinTheme(const Theme& theme) {
    pinned_ = theme;
    applyTheme(*view_, theme);
    themed_ = true;
}

void PickerPanel::setHooks(KeyHook onKey, FocusLostHook onFocusLost) {
    onFocusLost_ = onFocusLost;
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
            if (!view_->isVisible()) return;
            const double height = view_->fittingHeight();
            frame_ = ScreenRect{frame_.x, frame_.maxY() - height, frame_.width, height};
            presenter_->reframe(*view_, frame_);
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
    frame_ = frame;
    presenter_->present(*view_, frame, [this] {
        // The hook of this moment: closing clears it, so a panel ordered out by
        // a close is no cancel. A copy runs, as the close it causes clears the hook.
        const FocusLostHook hook = onFocusLost_;
        if (hook && view_->isVisible()) hook();
    });
}

void PickerPanel::close() {
    presenter_->dismiss(*view_);
    view_->showState(nullptr, false);
}

bool PickerPanel::isVisible() const { return view_->isVisible(); }

}  // namespace pivra
