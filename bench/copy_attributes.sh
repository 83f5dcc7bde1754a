#!/usr/bin/env bash
# Copying a folder of 10,000 small files that each carry user extended attributes (desktop tags and the
# download origin), some hard-linked, through kestro --perform (copyFilesToFolder) against `cp -a`, in the
# same run; both copies are checked to keep the attributes and links. Prints best wall time and the ratio
# kestro/cp -a. BENCH_COPY_COUNT (default 10000), BENCH_RUNS (default 3).
set -euo pipefail
cd "$(dirname "$0")/.."
source bench/common.sh

count=${BENCH_COPY_COUNT:-10000}
source=$work/source/Tagged
python3 - "$source" "$count" <<'PY'
import os, sys
root, count = sys.argv[1], int(sys.argv[2])
for folder in range(10):
    os.makedirs(os.path.join(root, f"part {folder}"))
for i in range(count):
    path = os.path.join(root, f"part {i % 10}", f"file {i}.txt")
    with open(path, "w") as f:
        f.write(f"small file number {i}\n" * (1 + i % 20))
    os.setxattr(path, "user.xdg.tags", b"work,bench")
    os.setxattr(path, "user.xdg.origin.url", f"https://example.org/download/{i}".encode())
    # Every hundredth file has a second name in the tree.
    if i % 100 == 0:
        os.link(path, os.path.join(root, f"part {i % 10}", f"link {i}.txt"))
PY

# Both copies hold every file, its attributes and its links.
check() {
    python3 - "$source" "$1" <<'PY'
import os, sys
source, copy = sys.argv[1], sys.argv[2]
inodes = {}
for folder, _, files in os.walk(source):
    for name in files:
        original = os.path.join(folder, name)
        copied = os.path.join(copy, os.path.relpath(original, source))
        for attribute in ("user.xdg.tags", "user.xdg.origin.url"):
            if os.getxattr(original, attribute) != os.getxattr(copied, attribute):
                sys.exit(f"{copied}: {attribute} differs")
        inodes.setdefault(os.stat(original).st_ino, set()).add(os.stat(copied).st_ino)
if any(len(copies) != 1 for copies in inodes.values()):
    sys.exit("hard links were not kept")
PY
}

for ((run = 0; run < runs; run++)); do
    rm -rf "$work/cp" "$work/kestro" && mkdir -p "$work/cp" "$work/kestro"
    url="$(kestro_url copyFilesToFolder "$source")&destination=$(python3 -c 'import sys,urllib.parse;print(urllib.parse.quote(sys.argv[1]))' "$work/kestro")"
    # Alternate which goes first, so neither always meets the other's freshly freed inodes.
    if ((run % 2)); then
        measure "cp -a" cp -a "$source" "$work/cp/"
        measure kestro "$kestro" --perform "$url"
    else
        measure kestro "$kestro" --perform "$url"
        measure "cp -a" cp -a "$source" "$work/cp/"
    fi
    [ "${last_status[kestro]}" -eq 0 ] || { echo "kestro failed: $(cat "$work/kestro.err")" >&2; exit 1; }
    echo "run $((run + 1)): cp -a $(tail -n 1 "$work/cp -a.time" | cut -d' ' -f1) s, kestro $(tail -n 1 "$work/kestro.time" | cut -d' ' -f1) s"
done
check "$work/cp/Tagged"
check "$work/kestro/Tagged"

echo "== copying $count files with user attributes and hard links, best of $runs =="
printf '%-34s %8s s\n' "cp -a" "${best_seconds[cp -a]}" "kestro --perform copyFilesToFolder" "${best_seconds[kestro]}"
echo "time kestro/cp -a: $(ratio "${best_seconds[kestro]}" "${best_seconds[cp -a]}")"
