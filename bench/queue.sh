#!/usr/bin/env bash
# Queue road figures: drain throughput against bare claims, and announcement latency against polling.
# Builds the benchmark, then runs it in a private temporary folder on a private session bus.
set -euo pipefail
cd "$(dirname "$0")/.."
if [ ! -f build/build.ninja ] && [ ! -f build/Makefile ]; then
    cmake -S . -B build -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
fi
cmake --build build --target queue_bench --parallel 2 >/dev/null
# The private bus daemon's complaint about its file limit is noise here.
exec dbus-run-session -- build/bench/queue_bench 2> >(grep -v 'fd limit' >&2)
