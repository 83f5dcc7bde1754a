#pragma once

#include <chrono>
#include <QString>

// Tells the user on the desktop that an action failed (either road), unless they turned that off in the
// preferences. Failures close together make one notice that counts them: the first waits a moment for
// company, and later ones replace the notice on screen instead of stacking up.
class FailureNotifier {
public:
    // How long a notice waits to gather the failures that follow it.
    static constexpr std::chrono::milliseconds gatherTime{750};
    // Failures less than this apart count as one burst.
    static constexpr std::chrono::seconds burstTime{10};

    // Any thread; returns at once. Does nothing without an application object (a one-shot command line
    // says what failed on standard error instead).
    static void report(const QString& errorDescription);
    // From now on a settings file that cannot be saved is reported like a failed action (the host's
    // settings window saves every change at once, so this is where the user learns of it).
    static void reportSettingsSaveFailures();
    // Main thread. The next failure starts a burst of its own, as after a quiet spell (tests use it).
    static void startNewBurst();
};
