#pragma once

// What the file actions' tests share: an action run as a request names it, the case of a refusal, and
// the set-up every one of them includes.
#include "actions/FinderActionExecutor.h"
#include "catalogue/AppPreferencesPersistence.h"
#include "platform/FinderActionExecutionError.h"
#include "support/Failures.h"
#include "support/FakePlatform.h"
#include "support/FolderListing.h"
#include "support/RecordingProgress.h"
#include "support/TestEnvironment.h"

#include <QDirIterator>
#include <QtTest>

#include <sys/stat.h>

using Case = FinderActionExecutionError::Case;

inline QStringList perform(const QString& actionID, const QStringList& selection,
                           const std::optional<QString>& target = {},
                           const std::optional<QString>& destination = {},
                           const std::optional<QString>& presetID = {}) {
    return FinderActionExecutor::perform(actionID, selection, target, destination, presetID);
}

// Whether the actions that follow select their results in the file manager.
inline void revealResults(bool on) {
    AppPreferences preferences;
    preferences.revealActionResults = on;
    QVERIFY(AppPreferencesPersistence::save(preferences));
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

// Every item below a folder as "relative path=contents" (folders as "relative path/"), sorted.
inline QStringList tree(const QString& folder) {
    QStringList lines;
    QDirIterator it(folder, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                    QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString path = it.next();
        const QString relative = QDir(folder).relativeFilePath(path);
        lines.append(it.fileInfo().isDir() ? relative + '/'
                                           : relative + '=' + QString::fromUtf8(readAll(path)));
    }
    lines.sort();
    return lines;
}

// lstat's answer (zeros when the path is missing): the item itself, never what a link leads to.
inline struct stat statusOf(const QString& path) {
    struct stat status {};
    ::lstat(QFile::encodeName(path).constData(), &status);
    return status;
}

// Runs call reporting to recorder; the last state it reported.
template <typename Call> ActionProgressState reported(RecordingProgress& recorder, Call&& call) {
    {
        const ActionProgressScope scope(recorder);
        call();
    }
    return recorder.states.value(recorder.states.size() - 1);
}

// Whether call ended by the stop recorder asked for after stopAfterItems items (-1: bytes, as set), having
// closed its report once.
template <typename Call>
bool stopsWhenAsked(RecordingProgress& recorder, qint64 stopAfterItems, Call&& call) {
    if (stopAfterItems >= 0)
        recorder.stopAfterItems = stopAfterItems;
    const ActionProgressScope scope(recorder);
    return failureOf<ActionCancelled>(call).has_value() && recorder.finishedCount == 1;
}

// What a whole run reports: its own title alone, closed once, items counted up to the total, never down.
inline void checkWholeRun(const RecordingProgress& recorder, const QString& title, qint64 items) {
    QCOMPARE(recorder.titles, QStringList{title});
    QCOMPARE(recorder.finishedCount, 1);
    QVERIFY(recorder.isMonotonic() && recorder.itemsTotalIs(items));
    QCOMPARE(recorder.states.constLast().itemsDone, items);
}
