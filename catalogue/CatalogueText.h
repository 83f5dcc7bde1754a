#pragma once

#include "platform/PlatformWords.h"

#include <QCoreApplication>

#include <optional>

// A title or summary of the compiled-in catalogue: a Chinese source text of its own, or one of the texts
// that name the system's things and so come from the platform's table.
class CatalogueText {
public:
    constexpr CatalogueText(const char* source)
        : m_source(source) {}
    constexpr CatalogueText(PlatformText text)
        : m_platformText(text) {}

    QString text(const char* context) const {
        return m_platformText ? platformText(*m_platformText)
                              : QCoreApplication::translate(context, m_source);
    }

private:
    const char* m_source = nullptr;
    std::optional<PlatformText> m_platformText;
};
