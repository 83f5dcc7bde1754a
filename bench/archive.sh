#!/usr/bin/env bash
# Packing and unpacking through kestro --perform against zip and unzip at the same deflate level (6, zip's
# default), in the same run: 10,000 small files, then one large file (BENCH_ARCHIVE_MIB, default 1024 MiB,
# of log-like text that deflates about 2:1). Prints best wall times, peak memory and the ratios
# kestro/zip and kestro/unzip. BENCH_RUNS (default 3) sets the runs per tool.
set -euo pipefail
cd "$(dirname "$0")/.."
source bench/common.sh
command -v zip >/dev/null && command -v unzip >/dev/null || { echo "zip/unzip missing: run scripts/install-dependencies" >&2; exit 1; }

count=${BENCH_ARCHIVE_FILES:-10000}
mib=${BENCH_ARCHIVE_MIB:-1024}

small="$work/small/Small Files"
mkdir -p "$small"
python3 - "$small" "$count" <<'PY'
import os, sys
root, count = sys.argv[1], int(sys.argv[2])
for folder in range(10):
    os.makedirs(os.path.join(root, f"part {folder}"), exist_ok=True)
for i in range(count):
    with open(os.path.join(root, f"part {i % 10}", f"file {i}.txt"), "w") as f:
        f.write(f"small file number {i}\n" * (1 + i % 20))
PY
large="$work/large/Large File.log"
mkdir -p "$(dirname "$large")"
python3 - "$large" "$mib" <<'PY'
import random, sys
path, mib = sys.argv[1], int(sys.argv[2])
rng = random.Random(7)
words = [("".join(rng.choice("abcdefghijklmnopqrstuvwxyz") for _ in range(rng.randint(2, 9)))) for _ in range(5000)]
# A block of log-like lines with random numbers, written again with fresh numbers: deflates about 2:1.
with open(path, "wb") as f:
    written = 0
    while written < mib << 20:
        lines = [f"{rng.randint(0, 10**9):010d} {' '.join(rng.choice(words) for _ in range(8))} {rng.random():.6f}\n"
                 for _ in range(20000)]
        block = "".join(lines).encode()
        f.write(block)
        written += len(block)
    f.truncate(mib << 20)
PY

# bench NAME SOURCE: packs SOURCE with both, then unpacks zip's archive with both. Each run writes into
# fresh folders and nothing is deleted until the end: on this machine, creating files where many were just
# deleted got slower with every round, whichever tool did it. Which tool goes first alternates by run.
bench() {
    local name=$1 source=$2 folder base
    folder=$(dirname "$source") base=$(basename "$source")
    local pack_url unpack_url
    pack_url=$(kestro_url compressToZIP "$source")
    for ((run = 0; run < runs; run++)); do
        local zipped="$work/$name-zip-$run.zip" unzipped="$work/unzipped-$name-$run" own="$work/unpack-$name-$run"
        mkdir -p "$own"
        cp "$work/$name-zip-0.zip" "$own/archive.zip" 2>/dev/null || true
        pack_zip() {
            sync
            pushd "$folder" >/dev/null
            measure "$name-zip" zip -qr "$zipped" "$base"
            popd >/dev/null
        }
        pack_kestro() {
            sync
            measure "$name-kestro" "$kestro" --perform "$pack_url"
            [ "${last_status[$name-kestro]}" -eq 0 ] || { echo "kestro failed: $(cat "$work/$name-kestro.err")" >&2; exit 1; }
        }
        if ((run % 2)); then pack_kestro; pack_zip; else pack_zip; pack_kestro; fi
        [ -e "$own/archive.zip" ] || cp "$zipped" "$own/archive.zip"
        unpack_url=$(kestro_url extractZIPToFolder "$own/archive.zip")
        unpack_unzip() { sync; measure "$name-unzip" unzip -q "$own/archive.zip" -d "$unzipped"; }
        unpack_kestro() {
            sync
            measure "$name-unkestro" "$kestro" --perform "$unpack_url"
            [ "${last_status[$name-unkestro]}" -eq 0 ] || { echo "kestro failed: $(cat "$work/$name-unkestro.err")" >&2; exit 1; }
        }
        if ((run % 2)); then unpack_kestro; unpack_unzip; else unpack_unzip; unpack_kestro; fi
        diff -r "$unzipped/$base" "$own/archive/$base" >/dev/null || { echo "unpacked trees differ" >&2; exit 1; }
    done
    local kestro_size zip_size
    kestro_size=$(stat -c %s "$folder/$(ls "$folder" | grep '\.zip$' | head -n 1)")
    zip_size=$(stat -c %s "$work/$name-zip-0.zip")
    echo
    echo "== $name, best of $runs =="
    printf '%-24s %8s s %10s KiB %12s bytes\n' \
        "zip -qr (level 6)" "${best_seconds[$name-zip]}" "${peak_kib[$name-zip]}" "$zip_size" \
        "kestro compressToZIP" "${best_seconds[$name-kestro]}" "${peak_kib[$name-kestro]}" "$kestro_size"
    printf '%-24s %8s s %10s KiB\n' \
        "unzip -q" "${best_seconds[$name-unzip]}" "${peak_kib[$name-unzip]}" \
        "kestro extractZIPToFolder" "${best_seconds[$name-unkestro]}" "${peak_kib[$name-unkestro]}"
    echo "pack   time kestro/zip:   $(ratio "${best_seconds[$name-kestro]}" "${best_seconds[$name-zip]}")"
    echo "unpack time kestro/unzip: $(ratio "${best_seconds[$name-unkestro]}" "${best_seconds[$name-unzip]}")"
}

bench "$count small files" "$small"
bench "one $mib MiB file" "$large"
rm -rf "$work"/unzipped-* "$work"/unpack-*
