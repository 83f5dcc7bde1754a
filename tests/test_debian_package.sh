#!/usr/bin/env bash
# The Debian package for real: built by scripts/package (or the .deb named by KESTRO_DEB), installed with
# apt; as an unprivileged account (nobody, in a private home, headless) a first click through
# /usr/bin/kestro-handoff starts /usr/bin/kestro, and a kestro: request goes through it; then the package is
# removed and purged: none of its files may stay, and the user's settings must. Needs root for apt; skips (77) otherwise. The package is
# removed whatever happens, since a system-wide menu module would reach the real file-manager tests.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
skip() { echo "SKIP: $*"; exit 77; }
[ "$(id -u)" -eq 0 ] || skip "installing a package needs root (apt-get); run as root to test the package"
command -v apt-get >/dev/null && command -v setpriv >/dev/null || skip "apt-get or setpriv is missing"
if dpkg-query -W -f='${Status}' kestro 2>/dev/null | grep -q "install ok installed"; then
    skip "a kestro package is installed on this machine already; the test would replace and remove it"
fi
deb=${KESTRO_DEB:-}
if [ -z "$deb" ]; then
    "$root/scripts/package"
    deb=$(ls -t "$root"/build/kestro_*.deb | head -n 1)
fi

work=$(mktemp -d)
chmod 755 "$work"
installed=
cleanup() {
    end_host
    [ -z "$installed" ] || apt-get purge -y -qq kestro >/dev/null 2>&1 || dpkg --purge kestro >/dev/null 2>&1 ||
        true
    rm -rf "$work"
}
trap cleanup EXIT
# The host this test's hand-off started, and no other process: the one its lock in the test's own folder
# names, if that runs /usr/bin/kestro as nobody.
host_pid() {
    local pid
    pid=$(head -n 1 "$work/tmp/kestro-$(id -u nobody)/kestro.lock" 2>/dev/null) || return 1
    [ -n "$pid" ] && [ "$(stat -c %U "/proc/$pid" 2>/dev/null)" = nobody ] &&
        [ "$(readlink "/proc/$pid/exe")" = /usr/bin/kestro ] && echo "$pid"
}
end_host() {
    local pid
    pid=$(host_pid) || return 0
    kill -TERM "$pid"
    for _ in $(seq 100); do kill -0 "$pid" 2>/dev/null || return 0; sleep 0.1; done
    kill -KILL "$pid" 2>/dev/null || true
}
fail() {
    echo "FAIL: $*" >&2
    cat "$work/tmp/kestro-app-action.log" >&2 2>/dev/null || true
    exit 1
}
wait_for() { for _ in $(seq 100); do [ -e "$1" ] && return 0; sleep 0.1; done; fail "$2"; }

installed=yes
apt-get install -y -qq --no-install-recommends -o DPkg::Lock::Timeout=600 "$(realpath "$deb")" >/dev/null
mapfile -t files < <(dpkg -L kestro)

mkdir -p "$work/home" "$work/runtime" "$work/tmp" "$work/by url" "$work/by hand-off"
chown nobody "$work/home" "$work/runtime" "$work/tmp" "$work/by url" "$work/by hand-off"
chmod 700 "$work/runtime"
nobody=(setpriv --reuid=nobody --regid=nogroup --clear-groups env -i PATH=/usr/bin:/bin HOME="$work/home"
        XDG_RUNTIME_DIR="$work/runtime" KESTRO_TMPDIR="$work/tmp" QT_QPA_PLATFORM=offscreen LANG=C.UTF-8)
# The first click of someone who never started Kestro, as Dolphin runs the system-wide menu's item: the
# hand-off starts the host beside it, which writes the user's menu and then runs the click.
exec_line='Exec="/usr/bin/kestro-handoff" "--folder" "createTextFile" "--" %F'
grep -qF "$exec_line" /usr/share/kio/servicemenus/*.desktop ||
    fail "no system-wide service menu makes a new text file through /usr/bin/kestro-handoff"
timeout 20 "${nobody[@]}" /usr/bin/kestro-handoff --folder createTextFile -- "$work/by hand-off"
wait_for "$work/by hand-off/Untitled.txt" "the hand-off's first click did not run"
host_pid >/dev/null || fail "no host of the package runs for the user"
# A kestro: request, handed to that host.
target=$(python3 -c 'import sys, urllib.parse; print(urllib.parse.quote(sys.argv[1]))' "$work/by url")
timeout 20 "${nobody[@]}" /usr/bin/kestro "kestro://finder-action?actionID=createTextFile&target=$target"
wait_for "$work/by url/Untitled.txt" "the host did not run the kestro: request"

# The user's menus stand in for the system's: no module of their own beside the system one, and a file of
# the same name over every system service menu.
extensions="$work/home/.local/share/nautilus-python/extensions/kestro_menu.py"
[ ! -e "$extensions" ] || fail "the host wrote a module beside the system-wide one: $extensions"
if command -v dolphin >/dev/null; then
    for menu_file in /usr/share/kio/servicemenus/kestro-*.desktop; do
        [ -f "$work/home/.local/share/kio/servicemenus/$(basename "$menu_file")" ] ||
            fail "nothing of the user's hides $menu_file"
    done
fi

end_host
settings=$(ls -A "$work/home/.config/kestro")
[ -n "$settings" ] || fail "the host saved no settings"
apt-get remove -y -qq kestro >/dev/null
for file in "${files[@]}"; do
    [ -d "$file" ] || [ ! -e "$file" ] || fail "left after removal: $file"
done
# With no configuration files, removing it may have purged it already.
! dpkg-query -W kestro >/dev/null 2>&1 || apt-get purge -y -qq kestro >/dev/null
installed=
[ "$(ls -A "$work/home/.config/kestro")" = "$settings" ] || fail "purging touched the user's settings"
echo "package installed, ran a request and a click as nobody, and left nothing when removed"
