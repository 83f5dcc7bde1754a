#include "catalogue/KestroSettingsChangeNotifier.h"

#include "platform/Platform.h"

namespace {
std::function<void(const QString&)>& observer() {
    static std::function<void(const QString&)> instance;
    return instance;
}
} // namespace

void KestroSettingsChangeNotifier::post(const QString& reason) {
    Platform::notifications().postSettingsChanged(reason);
    if (observer())
        observer()(reason);
}

void KestroSettingsChangeNotifier::setObserver(std::function<void(const QString& reason)> newObserver) {
    observer() = std::move(newObserver);
}
