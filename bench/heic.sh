#!/usr/bin/env bash
# Converting a 12-megapixel HEIC photo (4032 x 3024, as phones take them) that carries EXIF and XMP to JPEG
# through kestro --perform (convertImageToJPEG, quality 90, metadata carried) against libheif's own
# `heif-convert -q 90`, in the same run. Prints best wall time, peak memory and the ratios kestro/heif-convert.
# BENCH_RUNS (default 3).
set -euo pipefail
cd "$(dirname "$0")/.."
source bench/common.sh
for tool in heif-enc heif-convert exiv2; do
    command -v $tool >/dev/null || { echo "$tool is missing: run scripts/install-dependencies" >&2; exit 1; }
done

source=$work/source.jpg
build/bench/bench_image_resize make "$source" 4032 3024
exiv2 -M"set Exif.Image.Make KestroCam" -M"set Exif.Photo.DateTimeOriginal 2024:05:06 07:08:09" \
    -M"set Xmp.dc.title lang=x-default Benchmark" "$source"
photo=$work/photos/IMG_0001.heic
mkdir -p "$work/photos"
heif-enc -q 80 "$source" -o "$photo" >/dev/null
url=$(kestro_url convertImageToJPEG "$photo")

for ((run = 0; run < runs; run++)); do
    rm -f "$work/photos/"*.jpg
    measure heif-convert heif-convert -q 90 "$photo" "$work/reference.jpg"
    measure kestro "$kestro" --perform "$url"
    [ "${last_status[kestro]}" -eq 0 ] || { echo "kestro failed: $(cat "$work/kestro.err")" >&2; exit 1; }
done
[ "$(exiv2 -q -K Exif.Image.Make -Pv "$work/photos/IMG_0001.jpg")" = KestroCam ] ||
    { echo "kestro lost the EXIF" >&2; exit 1; }

echo "== HEIC (12 MP, EXIF and XMP) to JPEG at quality 90, best of $runs =="
printf '%-34s %8s s %10s KiB %10s bytes\n' \
    "heif-convert -q 90" "${best_seconds[heif-convert]}" "${peak_kib[heif-convert]}" "$(stat -c %s "$work/reference.jpg")" \
    "kestro --perform convertImageToJPEG" "${best_seconds[kestro]}" "${peak_kib[kestro]}" "$(stat -c %s "$work/photos/IMG_0001.jpg")"
echo "time   kestro/heif-convert: $(ratio "${best_seconds[kestro]}" "${best_seconds[heif-convert]}")"
echo "memory kestro/heif-convert: $(ratio "${peak_kib[kestro]}" "${peak_kib[heif-convert]}")"
