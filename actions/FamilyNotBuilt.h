#pragma once

#include <exception>

// Thrown by an action family that is not built on this system yet; the dispatcher reports it as the
// unsupported action the user asked for.
struct FamilyNotBuilt : std::exception {
    const char* what() const noexcept override { return "action family not built"; }
};
