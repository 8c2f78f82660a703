#pragma once
// Linux has no panels of its own here: every request ends as if cancelled.

#include "app/ports/dialogs.hpp"

namespace pivra {

class NoDialogs final : public Dialogs {
public:
    void chooseSaveLocation(const SavePanelRequest&, Completion completion) override { completion(std::nullopt); }
    void chooseFileToOpen(const OpenPanelRequest&, Completion completion) override { completion(std::nullopt); }
};

}  // namespace pivra
