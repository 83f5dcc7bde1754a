// The cost of one request inside the process: perform() of createTextFile against a bare file write, and
// createWordDocument against createTextFile in the same folder state (both start empty).
#include "actions/FinderActionExecutor.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <vector>

namespace {

double median(std::vector<double> samples) {
    std::nth_element(samples.begin(), samples.begin() + qsizetype(samples.size() / 2), samples.end());
    return samples[samples.size() / 2];
}

double medianMicroseconds(int runs, const std::function<void(int)>& work) {
    std::vector<double> samples;
    samples.reserve(size_t(runs));
    QElapsedTimer timer;
    for (int run = 0; run < runs; ++run) {
        timer.start();
        work(run);
        samples.push_back(double(timer.nsecsElapsed()) / 1000.0);
    }
    return median(std::move(samples));
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

    // An Office package is built in memory and written once: it should cost little more than a text file.
    const QString wordFolder = root.path() + QStringLiteral("/word");
    const QString textFolder = root.path() + QStringLiteral("/text");
    QDir().mkpath(wordFolder);
    QDir().mkpath(textFolder);
    // Alternated request by request, so that load from elsewhere on the machine falls on both alike.
    const int documents = 300;
    std::vector<double> word, text;
    QElapsedTimer timer;
    for (int run = 0; run < documents; ++run) {
        timer.start();
        FinderActionExecutor::perform(QStringLiteral("createWordDocument"), {}, wordFolder, std::nullopt,
                                      std::nullopt);
        word.push_back(double(timer.nsecsElapsed()) / 1000.0);
        timer.start();
        FinderActionExecutor::perform(QStringLiteral("createTextFile"), {}, textFolder, std::nullopt,
                                      std::nullopt);
        text.push_back(double(timer.nsecsElapsed()) / 1000.0);
    }
    report("perform(createWordDocument), median of 300", median(word), "perform(createTextFile)",
           median(text));
    return 0;
}
