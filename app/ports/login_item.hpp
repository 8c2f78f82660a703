#pragma once
// Whether the app opens by itself when the user logs in.

namespace pivra {

class LoginItem {
public:
    virtual ~LoginItem() = default;

    // Whether the app is set to open at login; false where it cannot be read.
    virtual bool isEnabled() const = 0;

    // Sets it; returns whether the system took the change (false, nothing
    // changed, when it refused or the platform has no login items).
    virtual bool setEnabled(bool enabled) = 0;
};

}  // namespace pivra
