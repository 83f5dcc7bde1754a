# Shared by the bench scripts: a private home and temporary folders for kestro, and a timer.
# Sourced, not run.

kestro=${KESTRO_BINARY:-$PWD/build/kestro}
[ -x "$kestro" ] || { echo "build kestro first (scripts/build): $kestro" >&2; exit 1; }
[ -x /usr/bin/time ] || { echo "GNU time is missing: run scripts/install-dependencies" >&2; exit 1; }

work=$(mktemp -d "${TMPDIR:-/tmp}/kestro-bench.XXXXXX")
trap 'rm -rf "$work"' EXIT
# kestro sees only this private home and temporary root: nothing reaches the user's own settings, log or
# a running Kestro.
export HOME=$work/home XDG_CONFIG_HOME=$work/home/.config XDG_DATA_HOME=$work/home/.local/share
export XDG_CACHE_HOME=$work/home/.cache KESTRO_TMPDIR=$work/kestro-tmp
mkdir -p "$HOME" "$XDG_CONFIG_HOME/kestro" "$KESTRO_TMPDIR" "$work/tmp"
export TMPDIR=$work/tmp
# Results are not opened in a file manager during the runs.
cat >"$XDG_CONFIG_HOME/kestro/AppPreferences.plist" <<'PLIST'
<?xml version="1.0" encoding="UTF-8"?>
<!DOCTYPE plist PUBLIC "-//Apple//DTD PLIST 1.0//EN" "http://www.apple.com/DTDs/PropertyList-1.0.dtd">
<plist version="1.0"><dict><key>revealActionResults</key><false/><key>revealCreatedItems</key><false/></dict></plist>
PLIST

runs=${BENCH_RUNS:-3}

# measure NAME COMMAND...: runs the command once under GNU time and keeps, per NAME, the best wall time (s)
# in best_seconds[NAME] and the largest peak resident memory (KiB) in peak_kib[NAME]. The run's output is in
# $work/NAME.out and .err, its status in last_status[NAME]. Callers alternate the tools run by run, so that
# load from elsewhere on the machine falls on all of them alike.
declare -A best_seconds=() peak_kib=() last_status=()
measure() {
    local name=$1 status=0 seconds kib
    shift
    /usr/bin/time -f '%e %M' -o "$work/$name.time" "$@" >"$work/$name.out" 2>"$work/$name.err" || status=$?
    # GNU time puts a "Command exited with non-zero status" line before the figures.
    read -r seconds kib < <(tail -n 1 "$work/$name.time")
    last_status[$name]=$status
    if [ -z "${best_seconds[$name]:-}" ] || awk -v a="$seconds" -v b="${best_seconds[$name]}" 'BEGIN { exit !(a < b) }'; then
        best_seconds[$name]=$seconds
    fi
    [ "$kib" -gt "${peak_kib[$name]:-0}" ] && peak_kib[$name]=$kib
    return 0
}

ratio() { awk -v a="$1" -v b="$2" 'BEGIN { if (b <= 0) b = 0.01; printf "%.2f", a / b }'; }

# kestro_url ACTION PATH...: a --perform URL carrying the paths, percent-encoded.
kestro_url() {
    python3 - "$@" <<'PY'
import sys, urllib.parse, os
action, paths = sys.argv[1], sys.argv[2:]
query = [("actionID", action)] + [("path", p) for p in paths] + [("target", os.path.dirname(paths[0]))]
print("kestro://finder-action?" + urllib.parse.urlencode(query, quote_via=urllib.parse.quote))
PY
}
