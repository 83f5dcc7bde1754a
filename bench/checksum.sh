#!/usr/bin/env bash
# SHA-256 and MD5 of a large file through kestro --perform, against `openssl dgst` (the floor: the same
# library with nothing around it) and coreutils' sha256sum / md5sum. Prints best wall time, peak memory and
# ratios. BENCH_SIZE_MB (default 1024) sets the file size, BENCH_RUNS (default 3) the runs per tool.
set -euo pipefail
cd "$(dirname "$0")/.."
source bench/common.sh

size_mb=${BENCH_SIZE_MB:-1024}
file=$work/data.bin
echo "making a ${size_mb} MiB file of random bytes..."
head -c $((size_mb * 1024 * 1024)) /dev/urandom >"$file"
cat "$file" >/dev/null # every tool then reads from the page cache

for algorithm in sha256 md5; do
    case $algorithm in
    sha256) action=copySHA256 coreutils=sha256sum ;;
    md5) action=copyMD5 coreutils=md5sum ;;
    esac
    url=$(kestro_url "$action" "$file")
    for ((run = 0; run < runs; run++)); do
        measure "openssl-$algorithm" openssl dgst "-$algorithm" "$file"
        measure "$coreutils" "$coreutils" "$file"
        measure "kestro-$algorithm" "$kestro" --perform "$url"
    done
    floor_s=${best_seconds[openssl-$algorithm]} floor_kib=${peak_kib[openssl-$algorithm]}
    core_s=${best_seconds[$coreutils]} core_kib=${peak_kib[$coreutils]}
    kestro_s=${best_seconds[kestro-$algorithm]} kestro_kib=${peak_kib[kestro-$algorithm]}

    # The digest goes to the clipboard; where --perform prints the clipboard text, it is checked too.
    expected=$(awk '{ print $NF }' "$work/openssl-$algorithm.out")
    if grep -q "$expected" "$work/kestro-$algorithm.out"; then
        check="printed digest matches openssl"
    elif [ "${last_status[kestro-$algorithm]}" -ne 0 ]; then
        check="exited ${last_status[kestro-$algorithm]} after hashing: $(tr '\n' ' ' <"$work/kestro-$algorithm.err")"
    else
        check="digest not printed (clipboard only), not checked here"
    fi

    echo
    echo "== $algorithm of ${size_mb} MiB, best of $runs =="
    printf '%-22s %8s s %10s KiB\n' "openssl dgst" "$floor_s" "$floor_kib" "$coreutils" "$core_s" "$core_kib" \
        "kestro --perform" "$kestro_s" "$kestro_kib"
    echo "time   kestro/openssl: $(ratio "$kestro_s" "$floor_s")   kestro/$coreutils: $(ratio "$kestro_s" "$core_s")"
    echo "memory kestro/openssl: $(ratio "$kestro_kib" "$floor_kib")   kestro/$coreutils: $(ratio "$kestro_kib" "$core_kib")"
    echo "kestro: $check"
done
