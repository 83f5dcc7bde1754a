#pragma once

// Whether Kestro starts when the user logs in.
class LoginItems {
public:
    virtual ~LoginItems() = default;

    virtual bool isEnabled() = 0;
    // Throws PlatformError when the system refuses the change.
    virtual void setEnabled(bool enabled) = 0;
};
