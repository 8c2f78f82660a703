#pragma once
// The desktop's clipboard through Qt (a QGuiApplication must exist).

#include "app/ports/pasteboard.hpp"

namespace pivra {

class QtPasteboard final : public Pasteboard {
public:
    // Sets the clipboard's text; on X11 also the selection that a middle click pastes.
    void putText(std::string_view text) override;
};

}  // namespace pivra
