// One queue pass in a process of its own, for the test that runs several passes against one queue at once.
#include "intake/KestroQueuedActionRunner.h"

#include <QCoreApplication>

int main(int argc, char* argv[]) {
    QCoreApplication application(argc, argv);
    return KestroQueuedActionRunner::drainOnce();
}
