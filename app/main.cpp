#include "app/KestroCommandLine.h"

int main(int argc, char* argv[]) {
    return KestroCommandLine::run(argc, argv);
}
