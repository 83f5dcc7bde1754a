#pragma once

// What the file actions' tests share: an action run as a request names it, the case of a refusal, and
// the set-up every one of them includes.
#include "actions/FinderActionExecutor.h"
#include "platform/FinderActionExecutionError.h"
#include "support/Failures.h"
#include "support/FakePlatform.h"
#include "support/FolderListing.h"
#include "support/TestEnvironment.h"

#include <QtTest>

#include <sys/stat.h>

using Case = FinderActionExecutionError::Case;

inline QStringList perform(const QString& actionID, const QStringList& selection,
                           const std::optional<QString>& target = {},
                           const std::optional<QString>& destination = {},
                           const std::optional<QString>& presetID = {}) {
    return FinderActionExecutor::perform(actionID, selection, target, destination, presetID);
}

// The case of the action error a call threw; Case(-1) when it returned.
template <typename Call> Case caseOf(Call&& call) {
    const auto error = failureOf<FinderActionExecutionError>(call);
    return error ? error->errorCase() : Case(-1);
}

// A table of one column, "row", holding a struct per case: the fields are named where they are used.
//     struct Row { QString actionID; bool refused; };
//     rows<Row>({{"copy", {"copyFilesToFolder", false}}, ...});   and in the test:   QFETCH(Row, row);
template <typename Row> void rows(std::initializer_list<std::pair<const char*, Row>> cases) {
    QTest::addColumn<Row>("row");
    for (const auto& [name, row] : cases)
        QTest::newRow(name) << row;
}

// An empty text as no value, for table columns that may leave an argument out.
inline std::optional<QString> given(const QString& text) {
    return text.isEmpty() ? std::nullopt : std::optional(text);
}

// lstat's answer (zeros when the path is missing): the item itself, never what a link leads to.
inline struct stat statusOf(const QString& path) {
    struct stat status {};
    ::lstat(QFile::encodeName(path).constData(), &status);
    return status;
}
