#pragma once
// The picker panel in Qt: a small frameless window that stays on top and
// takes the keyboard, showing the picker controller's state. The window is
// built once and reused: a show only fills the rows in.

#include <memory>
#include <optional>

#include "app/ports/picker_window.hpp"
#include "gui/style/theme.hpp"

class QWidget;

namespace pivra {

class AppModel;
class PickerController;
class PickerView;

class PickerPanel final : public PickerWindow {
public:
    // The model gives the settings the panel reads (copying, the accent).
    explicit PickerPanel(AppModel& model);
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
    std::optional<Theme> pinned_;
    QString themedAccent_;
    bool themedDark_ = false;
    bool themed_ = false;
};

}  // namespace pivra
