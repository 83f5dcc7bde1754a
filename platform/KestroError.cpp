#include "platform/KestroError.h"

const char* KestroError::what() const noexcept {
    m_what = errorDescription().toUtf8();
    return m_what.constData();
}

PlatformError::PlatformError(QString message)
    : m_message(std::move(message)) {}

QString describeError(const std::exception& error) {
    if (const auto* kestroError = dynamic_cast<const KestroError*>(&error))
        return kestroError->errorDescription();
    return QString::fromUtf8(error.what());
}
