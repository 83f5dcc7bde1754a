#pragma once

// Whether anybody can see and answer a window: a display to show it on, and a platform that draws there.
class DisplayEnvironment {
public:
    static bool hasDisplay();
    // A display, and not the offscreen platform.
    static bool isInteractive();
    // Without a display the GUI runs on the offscreen platform instead of failing to start.
    static void useOffscreenWithoutDisplay();
};
