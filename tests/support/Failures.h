#pragma once

#include "platform/KestroError.h"

#include <QDebug>
#include <QStringList>
#include <optional>
#include <type_traits>

// What a failing call threw, for the checks that follow it:
//     const auto error = failureOf<FinderActionExecutionError>([&] { PdfActions::mergePDFs({good, bad}); });
//     QVERIFY(error);
//     QCOMPARE(error->errorCase(), FinderActionExecutionError::Case::commandFailed);
//     QVERIFY(names(error->errorDescription(), {bad}));
// None when the call returns; an exception of another type passes through and fails the test.
template <typename Error, typename Call>
    requires(!std::is_abstract_v<Error>)
std::optional<Error> failureOf(Call&& call) {
    try {
        call();
    } catch (const Error& error) {
        return error;
    }
    return std::nullopt;
}

// The text of any Kestro error the call threw; empty when it returned.
template <typename Call>
QString failureText(Call&& call) {
    try {
        call();
    } catch (const KestroError& error) {
        return error.errorDescription();
    }
    return {};
}

// Whether a message names every part (a path, a cause). The message's wording is the code's own and is
// not repeated here; on a miss the whole message is printed, so the failure shows what was said instead.
inline bool names(const QString& message, const QStringList& parts) {
    for (const QString& part : parts)
        if (!message.contains(part)) {
            qWarning().noquote() << "the message" << message << "does not name" << part;
            return false;
        }
    return !message.isEmpty();
}
