#pragma once

#include <memory>

class TestEnvironment;

enum class QuietReveal { actionResults, actionResultsAndCreatedItems };

// Writes AppPreferences.plist with revealing turned off (the rest at the defaults), so that the actions a
// test runs open no file-manager windows. False when the file could not be written.
bool saveQuietPreferences(QuietReveal quiet = QuietReveal::actionResults);
// Replaces environment with a fresh private one (the old one goes first) whose preferences open nothing.
bool resetQuietEnvironment(std::unique_ptr<TestEnvironment>& environment,
                           QuietReveal quiet = QuietReveal::actionResults);
