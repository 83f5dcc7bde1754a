// The cost of one request inside the process: perform() of createTextFile against a bare file write, and
// createWordDocument against running zip on the same staged parts.
#include "actions/FinderActionExecutor.h"
#include "actions/KestroOfficeDocumentWriter.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <vector>

namespace {

double medianMicroseconds(int runs, const std::function<void(int)>& work) {
    std::vector<double> samples;
    samples.reserve(size_t(runs));
    QElapsedTimer timer;
    for (int run = 0; run < runs; ++run) {
        timer.start();
        work(run);
        samples.push_back(double(timer.nsecsElapsed()) / 1000.0);
    }
    std::nth_element(samples.begin(), samples.begin() + runs / 2, samples.end());
    return samples[size_t(runs / 2)];
}

void report(const char* what, double measured, const char* reference, double baseline) {
    std::printf("%-44s %10.1f us   %-28s %10.1f us   ratio %6.2f\n", what, measured, reference, baseline,
                measured / baseline);
}

} // namespace

int main(int argc, char* argv[]) {
    QCoreApplication application(argc, argv);
    QTemporaryDir root;
    // The reveal preference is read from the home folder on every action: keep it inside the scratch folder.
    qputenv("HOME", root.path().toUtf8());
    qputenv("XDG_CONFIG_HOME", (root.path() + QStringLiteral("/config")).toUtf8());
    qputenv("KESTRO_TMPDIR", root.path().toUtf8());

    const QString performFolder = root.path() + QStringLiteral("/perform");
    const QString writeFolder = root.path() + QStringLiteral("/write");
    QDir().mkpath(performFolder);
    QDir().mkpath(writeFolder);

    const int runs = 1000;
    const double perform = medianMicroseconds(runs, [&](int) {
        FinderActionExecutor::perform(QStringLiteral("createTextFile"), {}, performFolder, std::nullopt,
                                      std::nullopt);
    });
    const double write = medianMicroseconds(runs, [&](int run) {
        QFile file(writeFolder + QStringLiteral("/Untitled %1.txt").arg(run));
        file.open(QIODevice::WriteOnly);
    });
    report("perform(createTextFile), median of 1000", perform, "bare file write", write);

    const QString wordFolder = root.path() + QStringLiteral("/word");
    const QString zipFolder = root.path() + QStringLiteral("/zip");
    const QString staged = root.path() + QStringLiteral("/staged");
    QDir().mkpath(wordFolder);
    QDir().mkpath(zipFolder);
    for (const auto& [path, text] :
         KestroOfficeDocumentWriter::entries(KestroOfficeDocumentWriter::Kind::docx)) {
        QDir().mkpath(QFileInfo(staged + QLatin1Char('/') + path).absolutePath());
        QFile part(staged + QLatin1Char('/') + path);
        part.open(QIODevice::WriteOnly);
        part.write(text.toUtf8());
    }
    const int documents = 100;
    const double word = medianMicroseconds(documents, [&](int) {
        FinderActionExecutor::perform(QStringLiteral("createWordDocument"), {}, wordFolder, std::nullopt,
                                      std::nullopt);
    });
    const double zip = medianMicroseconds(documents, [&](int run) {
        QProcess process;
        process.setWorkingDirectory(staged);
        process.start(
            QStringLiteral("/usr/bin/zip"),
            {QStringLiteral("-qry"), zipFolder + QStringLiteral("/%1.docx").arg(run), QStringLiteral(".")});
        process.waitForFinished(-1);
    });
    report("perform(createWordDocument), median of 100", word, "zip of the staged parts", zip);
    return 0;
}
