#!/usr/bin/env bash
# Renaming N files (default 10,000) to upper case: Kestro's batch rename in process against a Python
# os.rename loop that makes the same checks (each source exists; a case-only change goes through a hidden
# temporary name; a taken name is never replaced). Prints both times and their ratio, measured in this run.
# The two alternate for a few rounds (default 3) on fresh files, so a busy machine hits both alike; the
# ratio of the medians is printed. Everything happens in a private temporary folder with its own HOME.
set -euo pipefail
cd "$(dirname "$0")/.."
count=${1:-10000}
rounds=${2:-3}
cmake --build build --target kestro_rename_bench >/dev/null

root=$(mktemp -d)
trap 'rm -rf "$root"' EXIT

one_round() {
rm -rf "$root"/*
mkdir -p "$root/home" "$root/tmp" "$root/kestro-tmp" "$root/kestro" "$root/python"
python3 - "$root" "$count" <<'PY'
import os, sys
root, count = sys.argv[1], int(sys.argv[2])
for folder in ("kestro", "python"):
    for i in range(count):
        with open(os.path.join(root, folder, "file %05d.txt" % i), "w") as f:
            f.write(str(i))
PY
sync

kestro=$(HOME="$root/home" XDG_CONFIG_HOME= XDG_DATA_HOME= TMPDIR="$root/tmp" KESTRO_TMPDIR="$root/kestro-tmp" \
    build/bench/kestro_rename_bench "$root/kestro")
kestro_seconds=${kestro% *}

python_seconds=$(python3 - "$root/python" <<'PY'
import os, sys, time, uuid
folder = sys.argv[1]
paths = [os.path.join(folder, name) for name in os.listdir(folder)]
start = time.perf_counter()
for path in paths:
    if not os.path.lexists(path):
        raise SystemExit("missing " + path)
paths.sort(key=lambda p: os.path.basename(p).lower())

def free(folder, stem, ext):
    suffix = "." + ext if ext else ""
    candidate, n = os.path.join(folder, stem + suffix), 2
    while os.path.lexists(candidate):
        candidate, n = os.path.join(folder, "%s %d%s" % (stem, n, suffix)), n + 1
    return candidate

for path in paths:
    name = os.path.basename(path)
    stem, dot, ext = name.rpartition(".")
    if not dot:
        stem, ext = name, ""
    new = stem.upper() + ("." + ext if ext else "")
    if new == name:
        continue
    if new.casefold() != name.casefold():
        os.rename(path, free(folder, *new.rsplit(".", 1)))
        continue
    temporary = free(folder, ".kestro-renaming-" + str(uuid.uuid4()).upper(), ext)
    os.rename(path, temporary)
    destination = os.path.join(folder, new)
    if os.path.lexists(destination):
        raise SystemExit("taken " + destination)
    os.rename(temporary, destination)
print("%.4f" % (time.perf_counter() - start))
PY
)

renamed=$(find "$root/kestro" -name 'FILE *.txt' | wc -l)
[ "$renamed" -eq "$count" ] || { echo "kestro renamed $renamed of $count files" >&2; exit 1; }
echo "round $1: kestro ${kestro_seconds} s, python ${python_seconds} s"
kestro_times+=("$kestro_seconds")
python_times+=("$python_seconds")
}

kestro_times=()
python_times=()
for ((round = 1; round <= rounds; round++)); do
    one_round "$round"
done
median() { printf '%s\n' "$@" | sort -g | awk '{a[NR] = $1} END {print a[int((NR + 1) / 2)]}'; }
kestro_median=$(median "${kestro_times[@]}")
python_median=$(median "${python_times[@]}")
echo "files:   $count, rounds: $rounds"
echo "kestro:  median ${kestro_median} s"
echo "python:  median ${python_median} s"
python3 -c "import sys; print('ratio kestro/python: %.2f' % (float(sys.argv[1]) / float(sys.argv[2])))" \
    "$kestro_median" "$python_median"
