#pragma once
// The system's general pasteboard (clipboard), for copying links as text.

#include <string_view>

namespace pivra {

class Pasteboard {
public:
    virtual ~Pasteboard() = default;

    // Clears the general pasteboard and puts `text` (UTF-8) on it as plain
    // text. Does nothing where there is no pasteboard (no window system).
    virtual void putText(std::string_view text) = 0;
};

}  // namespace pivra
