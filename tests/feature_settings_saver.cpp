// Saves the feature settings over and over with changing values until it is killed. Started by
// test_feature_settings_kill, which kills it mid-save; never installed.
#include "catalogue/FeatureSettingsStore.h"
#include "support/FakePlatform.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QRandomGenerator>

#include <cstdio>
#include <limits>
#include <pwd.h>
#include <unistd.h>

using namespace Qt::Literals::StringLiterals;

int main(int argc, char** argv) {
    QCoreApplication application(argc, argv);
    // Only ever inside a test's private home: refuse the real one.
    const QByteArray home = qgetenv("HOME");
    const passwd* user = getpwuid(getuid());
    if (home.isEmpty() || (user && home == user->pw_dir) || qEnvironmentVariableIsEmpty("KESTRO_TMPDIR")) {
        std::fprintf(stderr, "feature_settings_saver: refusing to run outside a test environment\n");
        return 2;
    }
    FakePlatform::install();
    FeatureSettingsStore store;
    std::printf("ready\n");
    std::fflush(stdout);

    // "--rounds N" saves N times and reports how long that took, instead of saving until killed.
    const QStringList arguments = application.arguments();
    const qint64 rounds = arguments.size() == 3 && arguments.at(1) == u"--rounds"_qs
                              ? arguments.at(2).toLongLong()
                              : std::numeric_limits<qint64>::max();
    const QList<KestroFeature> features = KestroFeature::allCases();
    // Each process starts somewhere else in the cycle, so consecutive processes write different states.
    const quint64 first = QRandomGenerator::global()->bounded(1'000'000);
    QElapsedTimer clock;
    clock.start();
    // The time limit is a safety net for a test that died before killing us.
    for (quint64 round = first; qint64(round - first) < rounds && clock.elapsed() < 60'000; ++round) {
        const KestroFeature feature = features.at(round % features.size());
        switch (round % 5) {
        case 0:
            store.setMenuLayout(round % 2 ? FinderMenuLayout::expanded : FinderMenuLayout::collapsed);
            break;
        case 1:
            store.setGroupsFeaturesUnderKestro(round % 3 == 0);
            break;
        case 2:
            store.moveFeatures({0}, 14);
            break;
        case 3:
            store.setAllChildrenEnabled(round % 2 == 0, feature);
            break;
        case 4:
            store.moveChildren(feature, {0}, 99);
            break;
        }
    }
    if (rounds != std::numeric_limits<qint64>::max())
        std::printf("%lld saves in %lld ms\n", static_cast<long long>(rounds),
                    static_cast<long long>(clock.elapsed()));
    return 0;
}
