#pragma once

#include <functional>

// Runs work on the application's main thread and waits for it: directly when already there, else through a
// blocking queued call. Without an application object the work runs on the calling thread.
void runOnMainThread(const std::function<void()>& work);
// Whether the calling thread is the application's main thread; without an application object there is no
// other, so the calling thread counts as it.
bool onMainThread();
