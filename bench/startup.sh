#!/usr/bin/env bash
# Start-up time of the host (process start until the tray is installed and the queue's first pass is done)
# against a bare Qt application that only shows a window, for a start that finds its settings and for the
# first start in a new home; then the host's memory and CPU time over 60 idle
# seconds with the queue polling, against the bare application idling beside it. Run after scripts/build.
set -euo pipefail
cd "$(dirname "$0")/.."
kestro="$PWD/build/kestro"
bare="$PWD/build/bench/bench_bare_window"
[ -x "$kestro" ] && [ -x "$bare" ] || { echo "build first: scripts/build" >&2; exit 1; }
idle_seconds="${KESTRO_BENCH_IDLE_SECONDS:-60}"

python3 - "$kestro" "$bare" "$idle_seconds" <<'PY'
import os, statistics, subprocess, sys, tempfile, time

kestro, bare, idle = sys.argv[1], sys.argv[2], float(sys.argv[3])
ticks = os.sysconf("SC_CLK_TCK")

def environment(root):
    env = dict(os.environ)
    for name in ("home", "runtime", "tmp"):
        os.makedirs(os.path.join(root, name), exist_ok=True)
    os.chmod(os.path.join(root, "runtime"), 0o700)
    env.update(HOME=os.path.join(root, "home"), XDG_RUNTIME_DIR=os.path.join(root, "runtime"),
               KESTRO_TMPDIR=os.path.join(root, "tmp"), TMPDIR=os.path.join(root, "tmp"),
               QT_QPA_PLATFORM="offscreen", KESTRO_REPORT_READY="1")
    for name in ("XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME", "DISPLAY", "WAYLAND_DISPLAY"):
        env.pop(name, None)
    return env

def start(command, env, marker):
    began = time.perf_counter()
    process = subprocess.Popen(command, env=env, stderr=subprocess.PIPE, stdout=subprocess.DEVNULL)
    for line in process.stderr:
        if marker in line:
            return process, time.perf_counter() - began
    raise SystemExit(f"{command[0]} ended without {marker!r}")

def stop(process):
    process.terminate()
    try:
        process.wait(10)
    except subprocess.TimeoutExpired:
        process.kill()
        process.wait()

def rss_kib(pid):
    with open(f"/proc/{pid}/status") as status:
        for line in status:
            if line.startswith("VmRSS:"):
                return int(line.split()[1])
    return 0

def cpu_seconds(pid):
    with open(f"/proc/{pid}/stat") as stat:
        fields = stat.read().rsplit(")", 1)[1].split()
    return (int(fields[11]) + int(fields[12])) / ticks  # utime + stime

runs = 7
first_times, kestro_times, written_times, bare_times = [], [], [], []
for _ in range(runs):
    with tempfile.TemporaryDirectory() as root:
        # The first start in a home writes the settings' defaults (each file synced to disk, which a busy
        # disk makes slow); every later start finds them. Both are measured; the later one is the usual.
        process, seconds = start([kestro], environment(root), b"kestro: ready")
        first_times.append(seconds)
        stop(process)
        process, seconds = start([kestro], environment(root), b"kestro: ready")
        kestro_times.append(seconds)
        # The file managers' menus are written after ready (with no file manager installed, at once).
        began = time.perf_counter() - seconds
        for line in process.stderr:
            if b"kestro: file managers written" in line:
                written_times.append(time.perf_counter() - began)
                break
        stop(process)
    with tempfile.TemporaryDirectory() as root:
        process, seconds = start([bare], environment(root), b"bare: ready")
        bare_times.append(seconds)
        stop(process)
k, b = statistics.median(kestro_times), statistics.median(bare_times)
f = statistics.median(first_times)
print(f"{'start-up to ready, median of %d' % runs:44} kestro {k * 1000:8.1f} ms   bare window {b * 1000:8.1f} ms   ratio {k / b:6.2f}")
print(f"{'first start in a new home to ready':44} kestro {f * 1000:8.1f} ms   bare window {b * 1000:8.1f} ms   ratio {f / b:6.2f}")
w = statistics.median(written_times)
print(f"{'start-up to file-manager menus written':44} kestro {w * 1000:8.1f} ms   bare window {b * 1000:8.1f} ms   ratio {w / b:6.2f}")

with tempfile.TemporaryDirectory() as root_k, tempfile.TemporaryDirectory() as root_b:
    host, _ = start([kestro], environment(root_k), b"kestro: ready")
    reference, _ = start([bare], environment(root_b), b"bare: ready")
    time.sleep(2)
    cpu_k0, cpu_b0 = cpu_seconds(host.pid), cpu_seconds(reference.pid)
    time.sleep(idle)
    cpu_k, cpu_b = cpu_seconds(host.pid) - cpu_k0, cpu_seconds(reference.pid) - cpu_b0
    rss_k, rss_b = rss_kib(host.pid), rss_kib(reference.pid)
    stop(host)
    stop(reference)
print(f"{'resident memory after %.0f s idle' % idle:44} kestro {rss_k / 1024:8.1f} MiB  bare window {rss_b / 1024:8.1f} MiB  ratio {rss_k / max(rss_b, 1):6.2f}")
print(f"{'CPU time over %.0f idle seconds (polling 1/s)' % idle:44} kestro {cpu_k * 1000:8.1f} ms   bare window {cpu_b * 1000:8.1f} ms   "
      f"({cpu_k / idle * 100:.3f}% of one core)")
PY
