#pragma once
// The picker panel in Qt: a small frameless window that stays on top and
// takes the keyboard, showing the picker controller's state. The window is
// built once and reused: a show only fills the rows in. Where it appears is
// its presenter's: Qt's own top-level window here, a non-activating panel of
// the system's on the Mac.

#include <functional>
#include <memory>
#include <optional>

#include "app/ports/picker_window.hpp"
#include "gui/style/theme.hpp"

class QWidget;

namespace pivra {

class AppModel;
class PickerController;
class PickerView;

// Puts the panel's view on screen. Frames are in the app's screen
// coordinates (points, origin at the main screen's bottom-left corner).
class PanelPresenter {
public:
    virtual ~PanelPresenter() = default;
    // Once, when the panel is made: whatever the presenter needs of the view's
    // native window, made now so that the first show costs no more than any other.
    virtual void adopt(QWidget& view) = 0;
    // Shows the view with its content in `frame`, as the key window and in
    // front. `resigned` runs when it stops being the key window while shown.
    virtual void present(QWidget& view, ScreenRect frame, std::function<void()> resigned) = 0;
    // Moves or resizes the view while it is shown.
    virtual void reframe(QWidget& view, ScreenRect frame) = 0;
    // Orders the view out; `resigned` is not called for it.
    virtual void dismiss(QWidget& view) = 0;
};

// The view as a top-level Qt window, which takes the keyboard by becoming the active window.
std::unique_ptr<PanelPresenter> qtPanelPresenter();

class PickerPanel final : public PickerWindow {
public:
    // The model gives the settings the panel reads (copying, the accent).
    explicit PickerPanel(AppModel& model, std::unique_ptr<PanelPresenter> presenter = qtPanelPresenter());
    ~PickerPanel() override;
    PickerPanel(const PickerPanel&) = delete;
    PickerPanel& operator=(const PickerPanel&) = delete;

    // The controller whose state the panel shows; set before its first pick.
    void setController(PickerController* controller);
    // Draws with `theme` from now on instead of following the system's look.
    void pinTheme(const Theme& theme);

    void setHooks(KeyHook onKey, FocusLostHook onFocusLost) override;
    ScreenSize fittingSize() override;
    void show(ScreenRect frame) override;
    void close() override;
    bool isVisible() const override;

    // The window itself, for tests and pictures.
    PickerView& view() { return *view_; }

private:
    void fill();

    AppModel& model_;
    PickerController* controller_ = nullptr;
    std::unique_ptr<PickerView> view_;
    std::unique_ptr<PanelPresenter> presenter_;
    FocusLostHook onFocusLost_;
    ScreenRect frame_;  // where the panel was last put
    std::optional<Theme> pinned_;
    QString themedAccent_;
    bool themedDark_ = false;
    bool themed_ = false;
};

}  // namespace pivra
