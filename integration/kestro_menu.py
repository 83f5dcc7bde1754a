# Kestro's menu in GNOME Files (nautilus-python) and Nemo (nemo-python): one module for both, written by
# Kestro into each file manager's extension folder, or installed once for every user by the package. It
# shows the menu Kestro describes in FileManagerMenu.json, re-reads that file whenever it changes, and
# hands each click to kestro-handoff with the paths as separate arguments (no shell). It decides nothing
# itself: every item says where it applies. A missing, malformed or foreign description shows the last
# good menu, or nothing, and is logged; nothing here may take the file manager down.
import json
import os
import stat
import subprocess
import sys
import threading

import gi


def _users_menu_description():
    # Installed for every user, the module reads the menu of whoever runs the file manager.
    data = os.environ.get("XDG_DATA_HOME", "")
    if not os.path.isabs(data):
        data = os.path.join(os.path.expanduser("~"), ".local", "share")
    return os.path.join(data, "kestro", "extension", "FileManagerMenu.json")


HANDOFF = @HANDOFF@
MENU = @MENU@ or _users_menu_description()

if "nemo-python" in os.path.realpath(__file__):
    PROGRAM = "nemo"
    gi.require_version("Nemo", "3.0")
    from gi.repository import Gio, GLib, GObject, Nemo as FileManager
else:
    PROGRAM = "nautilus"
    gi.require_version("Nautilus", "4.0")
    from gi.repository import Gio, GLib, GObject, Nautilus as FileManager


def _log(message):
    try:
        sys.stderr.write("kestro: %s\n" % message)
        sys.stderr.flush()
    except Exception:
        pass


class _Description:
    """The last good menu description, re-read when the file's identity or time changes."""

    def __init__(self):
        self.items = []
        self.seen = None
        # Part of every item's name: the file managers keep actions by name, so a reloaded menu needs new ones.
        self.generation = 0

    def current(self):
        try:
            folder = os.lstat(os.path.dirname(MENU))
            status = os.stat(MENU, follow_symlinks=False)
        except OSError as error:
            if self.seen != "missing":
                _log("menu description unreadable: %s" % error)
                self.seen = "missing"
                self.items = []
            return self.items
        key = (status.st_ino, status.st_mtime_ns, status.st_size)
        if key == self.seen:
            return self.items
        self.seen = key
        private = all(
            s.st_uid == os.getuid() and not s.st_mode & (stat.S_IWGRP | stat.S_IWOTH) for s in (folder, status)
        )
        if not private or not stat.S_ISREG(status.st_mode) or status.st_size > 4 << 20:
            _log("menu description ignored: not a private file of this user")
            return self.items
        try:
            with open(MENU, "rb") as file:
                root = json.loads(file.read().decode("utf-8"))
            items = root["items"]
            if root.get("version") != 1 or not isinstance(items, list):
                raise ValueError("unknown version or no item list")
            self.items = items
            self.generation += 1
        except Exception as error:
            _log("menu description malformed, keeping the last good menu: %r" % (error,))
        return self.items


def _applies(item, background, names):
    if item.get("onlyIn", PROGRAM) != PROGRAM:
        return False
    if background:
        return item.get("background") is True
    if item.get("selection") is not True:
        return False
    suffixes = [s for s in item.get("suffixes", []) if isinstance(s, str)]
    if not suffixes:
        return True
    return all(any(n.lower().endswith(s) and len(n) > len(s) for s in suffixes) for n in names)


def _menu_item(name, item):
    icon = item.get("icon")
    if isinstance(icon, str) and icon:
        return FileManager.MenuItem(name=name, label=item["title"], icon=icon)
    return FileManager.MenuItem(name=name, label=item["title"])


def _hand_off(arguments):
    try:
        process = subprocess.Popen(
            [HANDOFF] + arguments,
            stdin=subprocess.DEVNULL,
            close_fds=True,
            start_new_session=True,
        )
        # Reaped off the file manager's main loop.
        threading.Thread(target=process.wait, daemon=True).start()
    except Exception as error:
        _log("hand-off failed: %r" % (error,))


class KestroMenuProvider(GObject.GObject, FileManager.MenuProvider):
    def __init__(self):
        super().__init__()
        self._description = _Description()
        self._reload_pending = False
        # File managers ask for background items ahead of time (when a folder opens or changes): tell them to
        # ask again when Kestro rewrites its menu, so a settings change shows at the next right-click.
        self._monitor = None
        try:
            folder = Gio.File.new_for_path(os.path.dirname(MENU))
            self._monitor = folder.monitor_directory(Gio.FileMonitorFlags.WATCH_MOVES, None)
            self._monitor.connect("changed", self._folder_changed)
        except Exception as error:
            _log("cannot watch the menu description: %r" % (error,))

    def _folder_changed(self, _monitor, changed, other, _event):
        try:
            names = {f.get_basename() for f in (changed, other) if f is not None}
            if os.path.basename(MENU) in names:
                self.emit_items_updated_signal()
                if PROGRAM == "nemo" and not self._reload_pending:
                    # One write brings several events: reload once, after them.
                    self._reload_pending = True
                    GLib.timeout_add(300, self._reload_nemo_views)
        except Exception as error:
            _log("menu update failed: %r" % (error,))

    def _reload_nemo_views(self):
        # Nemo 5.6 asks for background items only when a folder view (re)loads and does not act on "items
        # updated": reload each of its windows as its own Reload key (F5) would.
        self._reload_pending = False
        try:
            from gi.repository import Gdk, Gtk

            for window in Gtk.Window.list_toplevels():
                if not type(window).__gtype__.name.startswith("Nemo") or window.get_window() is None:
                    continue
                event = Gdk.Event.new(Gdk.EventType.KEY_PRESS)
                event.key.window = window.get_window()
                event.key.keyval = Gdk.KEY_F5
                found, keys = Gdk.Keymap.get_for_display(Gdk.Display.get_default()).get_entries_for_keyval(
                    Gdk.KEY_F5)
                if found and keys:
                    event.key.hardware_keycode = keys[0].keycode
                event.key.send_event = True
                seat = Gdk.Display.get_default().get_default_seat()
                if seat is not None:
                    event.set_device(seat.get_keyboard())
                window.event(event)
        except Exception as error:
            _log("cannot reload Nemo's folder views: %r" % (error,))
        return False

    def _render(self, items, background, names, arguments, prefix):
        rendered = []
        for index, item in enumerate(items):
            if not isinstance(item, dict) or not isinstance(item.get("title"), str):
                continue
            name = "%s-%d" % (prefix, index)
            children = item.get("children")
            if isinstance(children, list):
                inner = self._render(children, background, names, arguments, name)
                if not inner:
                    continue
                entry = _menu_item(name, item)
                submenu = FileManager.Menu()
                for child in inner:
                    submenu.append_item(child)
                entry.set_submenu(submenu)
                rendered.append(entry)
            elif isinstance(item.get("id"), str) and _applies(item, background, names):
                entry = _menu_item(name, item)
                item_arguments = (["--folder"] if background else []) + [item["id"], "--"] + arguments
                entry.connect("activate", lambda _entry, a=item_arguments: _hand_off(a))
                rendered.append(entry)
        return rendered

    def get_file_items(self, *arguments):
        try:
            files = arguments[-1]
            paths = [f.get_location().get_path() for f in files]
            if not paths or any(p is None for p in paths):
                return []
            names = [os.path.basename(p) for p in paths]
            items = self._description.current()
            prefix = "Kestro::%d::selection" % self._description.generation
            return self._render(items, False, names, paths, prefix)
        except Exception as error:
            _log("menu failed: %r" % (error,))
            return []

    def get_background_items(self, *arguments):
        try:
            folder = arguments[-1].get_location().get_path()
            if folder is None:
                return []
            items = self._description.current()
            prefix = "Kestro::%d::background" % self._description.generation
            return self._render(items, True, [], [folder], prefix)
        except Exception as error:
            _log("menu failed: %r" % (error,))
            return []
