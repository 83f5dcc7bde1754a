#!/usr/bin/env bash
# Copying a folder of 10,000 small files through `kestro --perform` (copyFilesToFolder with a destination)
# against `cp -r` on the same tree, measured in the same run. Prints the times and kestro's ratio to cp.
# Usage: bench/copy.sh [build/kestro] [file count]
set -euo pipefail
cd "$(dirname "$0")/.."
kestro="$(realpath "${1:-build/kestro}")"
count="${2:-10000}"
rounds=${ROUNDS:-4}

work="$(mktemp -d "${TMPDIR:-/tmp}/kestro-bench-copy.XXXXXX")"
trap 'rm -rf "$work"' EXIT
# A private home and temporary root: the bench never touches the user's settings or a running host's log.
export HOME="$work/home" XDG_CONFIG_HOME="$work/home/.config" XDG_DATA_HOME="$work/home/.local/share"
export XDG_CACHE_HOME="$work/home/.cache" KESTRO_TMPDIR="$work/kestro-tmp"
mkdir -p "$XDG_CONFIG_HOME/kestro" "$KESTRO_TMPDIR"
cat > "$XDG_CONFIG_HOME/kestro/AppPreferences.plist" <<'PLIST'
<?xml version="1.0" encoding="UTF-8"?>
<!DOCTYPE plist PUBLIC "-//Apple//DTD PLIST 1.0//EN" "http://www.apple.com/DTDs/PropertyList-1.0.dtd">
<plist version="1.0"><dict><key>revealActionResults</key><false/></dict></plist>
PLIST

source="$work/source/Small Files"
mkdir -p "$source"
for ((folder = 0; folder < 10; folder++)); do
    mkdir -p "$source/part $folder"
done
python3 - "$source" "$count" <<'PY'
import os, sys
root, count = sys.argv[1], int(sys.argv[2])
for i in range(count):
    with open(os.path.join(root, f"part {i % 10}", f"file {i}.txt"), "w") as f:
        f.write(f"small file number {i}\n" * (1 + i % 20))
PY

now() { date +%s.%N; }
best_cp=""
best_kestro=""
for ((round = 1; round <= rounds; round++)); do
    rm -rf "$work/cp" "$work/kestro" && mkdir -p "$work/cp" "$work/kestro"
    url="kestro://finder-action?actionID=copyFilesToFolder&path=$(python3 -c 'import sys,urllib.parse;print(urllib.parse.quote(sys.argv[1]))' "$source")&destination=$work/kestro"
    run_cp() { sync; local start end; start=$(now); cp -r "$source" "$work/cp/"; end=$(now); t_cp=$(echo "$end - $start" | bc); }
    run_kestro() { sync; local start end; start=$(now); "$kestro" --perform "$url"; end=$(now); t_kestro=$(echo "$end - $start" | bc); }
    # Alternate which goes first, so neither always meets the other's freshly freed inodes.
    if ((round % 2)); then run_cp; run_kestro; else run_kestro; run_cp; fi
    copied=$(find "$work/kestro/Small Files" -type f | wc -l)
    [[ "$copied" -eq "$count" ]] || { echo "kestro copied $copied of $count files" >&2; exit 1; }
    diff -r "$source" "$work/kestro/Small Files" >/dev/null || { echo "the copies differ" >&2; exit 1; }
    printf 'round %d: cp -r %.3f s, kestro %.3f s\n' "$round" "$t_cp" "$t_kestro"
    if [[ -z "$best_cp" ]] || (($(echo "$t_cp < $best_cp" | bc))); then best_cp=$t_cp; fi
    if [[ -z "$best_kestro" ]] || (($(echo "$t_kestro < $best_kestro" | bc))); then best_kestro=$t_kestro; fi
done
printf 'best of %d: cp -r %.3f s, kestro --perform %.3f s, ratio kestro/cp %.2f (%d files)\n' \
    "$rounds" "$best_cp" "$best_kestro" "$(echo "$best_kestro / $best_cp" | bc -l)" "$count"
