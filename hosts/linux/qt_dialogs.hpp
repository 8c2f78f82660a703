#pragma once
// The desktop's file panels through Qt (a QApplication must exist): the
// platform's own dialog where the desktop offers one, Qt's otherwise.

#include "app/ports/dialogs.hpp"

namespace pivra {

class QtDialogs final : public Dialogs {
public:
    // Window-modal to nothing: the panel stays up while links go on being
    // routed, and the completion runs when it closes, after this returns.
    void chooseSaveLocation(const SavePanelRequest& request, Completion completion) override;
    void chooseFileToOpen(const OpenPanelRequest& request, Completion completion) override;
};

}  // namespace pivra
