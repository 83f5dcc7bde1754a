#!/usr/bin/env bash
# Merging many one-page PDFs through kestro --perform against the qpdf command line
# (`qpdf --empty --pages ... -- out.pdf`), which uses the same library. Prints best wall time, peak memory and
# ratios. BENCH_PDF_COUNT (default 200) sets the number of inputs, BENCH_RUNS (default 3) the runs per tool.
set -euo pipefail
cd "$(dirname "$0")/.."
source bench/common.sh
command -v qpdf >/dev/null || { echo "qpdf is missing: run scripts/install-dependencies" >&2; exit 1; }

count=${BENCH_PDF_COUNT:-200}
inputs=$work/inputs
mkdir -p "$inputs"
# Small but real one-page PDFs, each with its own text, written with correct cross-reference tables.
python3 - "$inputs" "$count" <<'PY'
import sys
folder, count = sys.argv[1], int(sys.argv[2])
for n in range(1, count + 1):
    content = b"BT /F1 24 Tf 72 720 Td (Page %d of the benchmark) Tj ET" % n
    objects = [
        b"<< /Type /Catalog /Pages 2 0 R >>",
        b"<< /Type /Pages /Kids [3 0 R] /Count 1 >>",
        b"<< /Type /Page /Parent 2 0 R /MediaBox [0 0 612 792] /Contents 4 0 R "
        b"/Resources << /Font << /F1 5 0 R >> >> >>",
        b"<< /Length %d >>\nstream\n" % len(content) + content + b"\nendstream",
        b"<< /Type /Font /Subtype /Type1 /BaseFont /Helvetica >>",
    ]
    out = bytearray(b"%PDF-1.4\n")
    offsets = []
    for i, body in enumerate(objects, 1):
        offsets.append(len(out))
        out += b"%d 0 obj\n" % i + body + b"\nendobj\n"
    xref = len(out)
    out += b"xref\n0 %d\n0000000000 65535 f \n" % (len(objects) + 1)
    for offset in offsets:
        out += b"%010d 00000 n \n" % offset
    out += b"trailer\n<< /Size %d /Root 1 0 R >>\nstartxref\n%d\n%%%%EOF\n" % (len(objects) + 1, xref)
    with open("%s/in %03d.pdf" % (folder, n), "wb") as f:
        f.write(out)
PY
files=()
for ((n = 1; n <= count; n++)); do files+=("$(printf '%s/in %03d.pdf' "$inputs" "$n")"); done
url=$(kestro_url mergePDFs "${files[@]}")

# Each kestro run leaves its own "Merged N.pdf"; the page count is read from the first.
for ((run = 0; run < runs; run++)); do
    measure qpdf qpdf --empty --pages "${files[@]}" -- "$work/qpdf-merged.pdf"
    measure kestro "$kestro" --perform "$url"
    [ "${last_status[kestro]}" -eq 0 ] || { echo "kestro failed: $(cat "$work/kestro.err")" >&2; exit 1; }
done
qpdf_s=${best_seconds[qpdf]} qpdf_kib=${peak_kib[qpdf]}
kestro_s=${best_seconds[kestro]} kestro_kib=${peak_kib[kestro]}
qpdf_pages=$(qpdf --show-npages "$work/qpdf-merged.pdf")
kestro_pages=$(qpdf --show-npages "$inputs/Merged.pdf")

echo
echo "== merging $count one-page PDFs, best of $runs =="
printf '%-22s %8s s %10s KiB %6s pages\n' "qpdf --empty --pages" "$qpdf_s" "$qpdf_kib" "$qpdf_pages" \
    "kestro --perform" "$kestro_s" "$kestro_kib" "$kestro_pages"
echo "time   kestro/qpdf: $(ratio "$kestro_s" "$qpdf_s")"
echo "memory kestro/qpdf: $(ratio "$kestro_kib" "$qpdf_kib")"
[ "$kestro_pages" -eq "$count" ] || { echo "kestro's merged document has $kestro_pages pages, not $count" >&2; exit 1; }
