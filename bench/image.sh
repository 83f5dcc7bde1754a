#!/usr/bin/env bash
# Resizing a 48-megapixel JPEG (8000 x 6000) that carries EXIF, IPTC and XMP in place, the way the resize
# action does, to half and to three quarters of its size, against ImageMagick's `convert -resize WxH!` at the
# same JPEG quality (90), plain and with its JPEG size hint, in the same run. Prints best wall time, peak memory and the ratios kestro/ImageMagick.
# ImageMagick is needed for this benchmark only: apt-get install imagemagick. BENCH_RUNS (default 3).
set -euo pipefail
cd "$(dirname "$0")/.."
source bench/common.sh
magick=/usr/bin/convert
[ -x "$magick" ] || { echo "skipped: ImageMagick, the reference, is missing (apt-get install imagemagick)"; exit 0; }
command -v exiv2 >/dev/null || { echo "exiv2 is missing: run scripts/install-dependencies" >&2; exit 1; }
resizer=build/bench/bench_image_resize

photo=$work/photo.jpg
"$resizer" make "$photo" 8000 6000
exiv2 -M"set Exif.Image.Make KestroCam" -M"set Exif.Image.Model Bench 48" \
    -M"set Exif.Photo.DateTimeOriginal 2024:05:06 07:08:09" -M"set Exif.Photo.PixelXDimension 8000" \
    -M"set Exif.Photo.PixelYDimension 6000" -M"set Exif.GPSInfo.GPSLatitude 48/1 51/1 2468/100" \
    -M"set Iptc.Application2.Caption Benchmark" -M"set Xmp.dc.title lang=x-default Benchmark" "$photo"

# Halving lets both sides decode the JPEG at half size in the DCT (ImageMagick only when told with
# -define jpeg:size; Qt's reader does it whenever it is given the target size); three quarters needs every pixel.
for target in 4000x3000 6000x4500; do
    width=${target%x*} height=${target#*x}
    for ((run = 0; run < runs; run++)); do
        cp "$photo" "$work/kestro.jpg"
        measure "magick $target" "$magick" "$photo" -resize "$target!" -quality 90 "$work/magick.jpg"
        measure "magick-hint $target" "$magick" -define "jpeg:size=$target" "$photo" -resize "$target!" -quality 90 "$work/magick-hint.jpg"
        measure "kestro $target" "$resizer" resize "$work/kestro.jpg" "$width" "$height"
        [ "${last_status[kestro $target]}" -eq 0 ] || { echo "kestro failed: $(cat "$work/kestro $target.err")" >&2; exit 1; }
    done
    [ "$(exiv2 -q -K Exif.Image.Make -Pv "$work/kestro.jpg")" = KestroCam ] || { echo "kestro lost the EXIF" >&2; exit 1; }
    [ "$(exiv2 -q -K Exif.Photo.PixelXDimension -Pv "$work/kestro.jpg")" = "$width" ] || { echo "pixel size not updated" >&2; exit 1; }

    echo
    echo "== resizing a 48 MP JPEG with metadata to $target, best of $runs =="
    printf '%-40s %8s s %10s KiB %10s bytes\n' \
        "ImageMagick convert -resize" "${best_seconds[magick $target]}" "${peak_kib[magick $target]}" "$(stat -c %s "$work/magick.jpg")" \
        "ImageMagick -define jpeg:size -resize" "${best_seconds[magick-hint $target]}" "${peak_kib[magick-hint $target]}" "$(stat -c %s "$work/magick-hint.jpg")" \
        "kestro resize (in process)" "${best_seconds[kestro $target]}" "${peak_kib[kestro $target]}" "$(stat -c %s "$work/kestro.jpg")"
    echo "time   kestro/ImageMagick: $(ratio "${best_seconds[kestro $target]}" "${best_seconds[magick $target]}")   kestro/ImageMagick with jpeg:size: $(ratio "${best_seconds[kestro $target]}" "${best_seconds[magick-hint $target]}")"
    echo "memory kestro/ImageMagick: $(ratio "${peak_kib[kestro $target]}" "${peak_kib[magick $target]}")   kestro/ImageMagick with jpeg:size: $(ratio "${peak_kib[kestro $target]}" "${peak_kib[magick-hint $target]}")"
done
