#!/usr/bin/python3
# End to end against a real file manager: Kestro's host runs in a private home on a private X display and
# session bus; the file manager opens a folder of awkward names; the test right-clicks the selected files
# and then the folder background, picks Kestro items the way a user would, and checks the files on disk.
#
#     file_manager_end_to_end.py thunar|nemo|nautilus|dolphin|pcmanfm-qt
#
# Exit status 77 (a skip for ctest) only when the file manager cannot be installed here.
import os
import plistlib
import shutil
import signal
import subprocess
import sys
import tempfile
import time
import uuid

SOURCE = os.environ.get("KESTRO_SOURCE_DIR", os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
KESTRO = os.environ.get("KESTRO_BINARY", os.path.join(SOURCE, "build", "kestro"))
SKIP = 77

NAMES = ["with blank.txt", "quote'single\"double.txt", "ünïcødé — 日本.txt"]
# The destination's name and path have every character a command line could trip on.
DESTINATION_NAME = "备份 $HOME;&'\""
DESTINATION_FOLDER = "dest $HOME;&'\" -x 日本"

CREATE_FILE_CHILDREN = [
    "createTextFile", "createFolder", "createRTFDocument", "createMarkdownFile", "createWordDocument",
    "createExcelSpreadsheet", "createPowerPointPresentation", "createPDFDocument", "createCSVFile",
    "createJSONFile", "createXMLFile", "createYAMLFile", "createPNGImage", "createJPEGImage", "createSwiftFile",
    "createReadmeFile", "createHTMLFile", "createCSSFile", "createJavaScriptFile", "createPythonFile",
    "createShellFile", "createGitignoreFile"]
SHORTCUT_ACTION = "快捷指令动作"
# Labels that may never show in any file manager here: view presets, a Shortcuts action, the Desktop offered
# by 复制到 beside a list entry for it.
NEVER_SHOWN = ["调整显示方式", "应用显示方案", "自定义动作", SHORTCUT_ACTION, "复制到桌面"]
COPY_FILE_CHILDREN = ["copyBesideOriginal", "copyFilesToDesktop", "copyFilesToDownloads", "copyFilesToDocuments"]

FILE_MANAGERS = {
    # "extension": the menu comes from Kestro's Python module, which tells the background from a selection;
    # the others hand over the folder itself as the one path.
    "thunar": {"packages": ["thunar"], "command": ["thunar"], "class": "thunar", "extension": False},
    "nemo": {"packages": ["nemo", "nemo-python"], "command": ["nemo"], "class": "nemo", "extension": True},
    "nautilus": {"packages": ["nautilus", "python3-nautilus"], "command": ["nautilus", "--new-window"],
                 "class": "nautilus", "extension": True},
    # Qt menus are walked with keys along the layout this test gives Kestro's menu: on files Kestro is the
    # second-last entry in Dolphin and the third-last in PCManFM-Qt, on the background the second-last in both.
    # Dolphin nests one level (Kestro › twelve "新建 › …" ending with 新建文本文件, then "复制到 › 备份 …",
    # "复制到 › 桌面", "复制到 › 在旁边创建副本"); PCManFM-Qt nests fully. "Up" on a submenu's first entry wraps
    # to its last. The features that must stay out of these two file managers (the hidden-files switch, view
    # presets, a Shortcuts action) come last in the settings, and so does a second Desktop entry in 复制到 if
    # it came back: any of them shifts what the walk reaches. On the selection the walk takes the third-last
    # entry of 复制到 (备份 … when nothing leaked); on the background Kestro's last entry: 新建文本文件 when only
    # what needs no selection and can work is offered and the settings' order holds (twelve entries sorted as
    # text would end elsewhere).
    "dolphin": {"packages": ["dolphin"], "command": ["dolphin", "--new-window"], "class": "dolphin",
                "extension": False,
                "selection keys": ["Up", "Up", "Right", "Up", "Up", "Up", "Return"],
                "background keys": ["Up", "Up", "Right", "Up", "Return"]},
    "pcmanfm-qt": {"packages": ["pcmanfm-qt"], "command": ["pcmanfm-qt"], "class": "pcmanfm-qt",
                   "extension": False,
                   "selection keys": ["Up", "Up", "Up", "Right", "Up", "Right", "Up", "Up", "Up", "Return"],
                   "background keys": ["Up", "Up", "Right", "Up", "Right", "Up", "Return"]},
}
# What a session's own folder holds besides the destination; anything else is an action's stray result.
KEPT_IN_ROOT = ["home", "runtime", "kestro-tmp", "tmp", "work folder", "file-manager.log"]
TOOLS = ["xvfb", "xdotool", "python3-pyatspi", "imagemagick", "x11-utils", "dbus", "at-spi2-core"]


class Failure(Exception):
    pass


def log(message):
    print(message, flush=True)


def wait_for(what, predicate, timeout=15.0, interval=0.2):
    deadline = time.monotonic() + timeout
    while time.monotonic() < deadline:
        value = predicate()
        if value:
            return value
        time.sleep(interval)
    raise Failure("timed out waiting for " + what)


class Session:
    """A private home, display, session bus and Kestro host; everything started here is ended here."""

    def __init__(self, name):
        self.name = name
        self.root = tempfile.mkdtemp(prefix="kestro-fm-%s-" % name)
        self.marker = str(uuid.uuid4())
        self.processes = []
        home = os.path.join(self.root, "home")
        self.env = dict(os.environ)
        for key in ("DBUS_SESSION_BUS_ADDRESS", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM", "XDG_SESSION_TYPE",
                    "KESTRO_HANDOFF"):
            self.env.pop(key, None)
        self.env.update({
            "HOME": home,
            "XDG_CONFIG_HOME": os.path.join(home, ".config"),
            "XDG_DATA_HOME": os.path.join(home, ".local/share"),
            "XDG_CACHE_HOME": os.path.join(home, ".cache"),
            "XDG_RUNTIME_DIR": os.path.join(self.root, "runtime"),
            "KESTRO_TMPDIR": os.path.join(self.root, "kestro-tmp"),
            "TMPDIR": os.path.join(self.root, "tmp"),
            # Every process of this run carries it, so the clean-up finds the ones started on our behalf.
            "KESTRO_E2E_RUN": self.marker,
            "GSK_RENDERER": "cairo",
            "NO_AT_BRIDGE": "0",
            "GTK_A11Y": "atspi",
            "LANG": "C.UTF-8",
            "KESTRO_REPORT_READY": "1",  # the host says when it has written the menus
        })
        for key in ("HOME", "XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME", "KESTRO_TMPDIR", "TMPDIR"):
            os.makedirs(self.env[key], exist_ok=True)
        os.makedirs(self.env["XDG_RUNTIME_DIR"], mode=0o700, exist_ok=True)
        self.folder = os.path.join(self.root, "work folder")
        self.destination = os.path.join(self.root, DESTINATION_FOLDER)
        os.makedirs(self.folder)
        os.makedirs(self.destination)
        for index, name in enumerate(NAMES):
            with open(os.path.join(self.folder, name), "w", encoding="utf-8") as file:
                file.write("content %d of %s\n" % (index, name))
        self.write_settings()

    def write_settings(self):
        """A small, known menu: Kestro › 新建 › eleven new files then 新建文本文件, Kestro › 复制到 › the
        destination, the Desktop then 在旁边创建副本 (复制到桌面 would offer the Desktop twice), and last what
        can work only in some file managers or nowhere: 开发工具 › 显示/隐藏隐藏文件, 调整显示方式 › 应用显示方案
        and a Shortcuts custom action."""
        config = os.path.join(self.env["XDG_CONFIG_HOME"], "kestro")
        os.makedirs(config, exist_ok=True)
        order = ["createFile", "copyFile", "developerTools", "viewOptions", "customActions", "quickOpen",
                 "organizeFile", "batchRename", "archiveTools", "scheduledDeletion", "imageTools", "pdfTools",
                 "copyPath", "openWith"]
        settings = {
            "enabledFeatureIDs": ["copyFile", "createFile", "developerTools", "viewOptions", "customActions"],
            "groupsFeaturesUnderKestro": True,
            "menuLayout": "collapsed",
            "enabledChildIDs": ["copyBesideOriginal", "copyFilesToDesktop", "toggleHiddenFiles",
                                "finderViewPreset"] + CREATE_FILE_CHILDREN[1:12] + ["createTextFile"],
            "featureOrder": order,
            # The features' children listed in full, so that none counts as new and comes in by default;
            # 新建文本文件 last of the twelve.
            "childOrderByFeatureID": {"createFile": CREATE_FILE_CHILDREN[1:] + CREATE_FILE_CHILDREN[:1],
                                      "copyFile": COPY_FILE_CHILDREN,
                                      "developerTools": ["copySHA256", "copyMD5", "copyFileSize",
                                                         "toggleHiddenFiles"],
                                      "viewOptions": ["finderViewPreset"]},
        }
        desktop = os.path.join(self.env["HOME"], "Desktop")
        os.makedirs(desktop)
        destinations = {
            "copy": [{"id": "e2e-destination", "name": DESTINATION_NAME, "path": self.destination},
                     {"id": "e2e-desktop", "name": "桌面", "path": desktop}],
            "move": [], "quickOpen": [], "openApplication": [],
        }
        shortcuts = [{"id": "e2e-shortcut", "name": SHORTCUT_ACTION, "kind": "shortcut", "shortcutName": "x"}]
        quiet = {"revealActionResults": False, "revealCreatedItems": False}
        for file_name, value in (("FeatureSettings.plist", settings), ("CustomDestinations.plist", destinations),
                                 ("CustomShortcutActions.plist", shortcuts), ("AppPreferences.plist", quiet)):
            with open(os.path.join(config, file_name), "wb") as file:
                plistlib.dump(value, file)

    def start(self, command, **options):
        process = subprocess.Popen(command, env=self.env, stdin=subprocess.DEVNULL, **options)
        self.processes.append(process)
        return process

    def start_display(self):
        read, write = os.pipe()
        self.start(["Xvfb", "-displayfd", str(write), "-screen", "0", "1280x800x24", "-nolisten", "tcp"],
                   pass_fds=(write,), stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        os.close(write)
        with os.fdopen(read) as pipe:
            number = pipe.readline().strip()
        if not number:
            raise Failure("Xvfb did not start")
        self.env["DISPLAY"] = ":" + number

    def start_bus(self):
        bus = self.start(["dbus-daemon", "--session", "--nofork", "--print-address=1"],
                         stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True)
        self.env["DBUS_SESSION_BUS_ADDRESS"] = bus.stdout.readline().strip()
        os.environ["DBUS_SESSION_BUS_ADDRESS"] = self.env["DBUS_SESSION_BUS_ADDRESS"]
        os.environ["DISPLAY"] = self.env["DISPLAY"]

    def start_host(self):
        host = self.start([KESTRO, "--login-item"], stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True)
        # The menus are written just after ready; ctest's time limit ends a host that never gets there.
        for line in host.stderr:
            if line.strip() == "kestro: file managers written":
                return
        raise Failure("the Kestro host ended before it was ready and wrote the menus")

    def description(self):
        return os.path.join(self.env["XDG_DATA_HOME"], "kestro", "extension", "FileManagerMenu.json")

    def xdotool(self, *arguments):
        return subprocess.run(["xdotool"] + list(arguments), env=self.env, capture_output=True, text=True).stdout

    def window_spot(self, window, left, up):
        """A point left and up of the window's bottom right corner."""
        shell = self.xdotool("getwindowgeometry", "--shell", window)
        values = dict(line.split("=") for line in shell.split() if "=" in line)
        return int(values["X"]) + int(values["WIDTH"]) - left, int(values["Y"]) + int(values["HEIGHT"]) - up

    def right_click_at(self, x, y):
        """A left click there first, so that nothing stays selected, then the context menu."""
        self.xdotool("mousemove", str(x), str(y), "click", "1")
        time.sleep(0.3)
        self.xdotool("click", "3")

    def menu_on_everything(self):
        self.xdotool("key", "ctrl+a")
        time.sleep(0.5)
        self.xdotool("key", "Menu")

    def ours(self):
        """Processes of this run: started here, or by them, or by the private bus on their behalf."""
        found = []
        for entry in os.listdir("/proc"):
            if not entry.isdigit() or int(entry) == os.getpid():
                continue
            try:
                with open("/proc/%s/environ" % entry, "rb") as file:
                    if ("KESTRO_E2E_RUN=" + self.marker).encode() in file.read().split(b"\0"):
                        found.append(int(entry))
            except OSError:
                pass
        return found

    def close(self):
        for process in reversed(self.processes):
            if process.poll() is None:
                process.terminate()
        for process in self.processes:
            try:
                process.wait(timeout=5)
            except subprocess.TimeoutExpired:
                process.kill()
                process.wait()
        for attempt in range(20):
            left = self.ours()
            if not left:
                break
            for pid in left:
                try:
                    os.kill(pid, signal.SIGTERM if attempt < 10 else signal.SIGKILL)
                except OSError:
                    pass
            time.sleep(0.2)
        if os.environ.get("KESTRO_E2E_KEEP"):
            log("kept: " + self.root)
        else:
            shutil.rmtree(self.root, ignore_errors=True)


# --- Accessibility (GTK file managers) ---------------------------------------------------------------------

def accessible_application(names):
    import pyatspi
    desktop = pyatspi.Registry.getDesktop(0)
    for application in desktop:
        if application is not None and application.name and application.name.lower() in names:
            return application
    return None


def accessibles(root, depth=0):
    """Every accessible below root, depth first; parts of the tree that vanish meanwhile are passed over."""
    if root is None or depth > 40:
        return
    try:
        children = list(root)
    except Exception:
        return
    for child in children:
        if child is not None:
            yield child
            yield from accessibles(child, depth + 1)


def matching(root, roles, showing):
    """The accessibles of those roles below root, depth first (only those on screen if showing)."""
    import pyatspi
    for child in accessibles(root):
        try:
            if child.getRoleName() in roles and (
                    not showing or child.getState().contains(pyatspi.STATE_SHOWING)):
                yield child
        except Exception:
            continue


def find_accessible(root, label, roles, showing=True):
    return next((child for child in matching(root, roles, showing) if child.name == label), None)


def menu_labels(root, showing=True):
    return [child.name for child in matching(root, ("menu", "menu item"), showing)]


def centre(accessible):
    import pyatspi
    extents = accessible.queryComponent().getExtents(pyatspi.DESKTOP_COORDS)
    return extents.x + extents.width // 2, extents.y + extents.height // 2


class GtkDriver:
    """Thunar and Nemo (GTK 3): items found by label in the accessibility tree, clicked at their centre."""
    showing = True

    def __init__(self, session, application, list_view_keys="", pane_names=()):
        self.session = session
        self.application = application
        self.list_view_keys = list_view_keys
        self.pane_names = pane_names

    def app(self):
        return wait_for("the accessibility tree of " + self.application[0],
                        lambda: accessible_application(self.application))

    def find(self, label, roles, timeout=8.0):
        return wait_for("'%s' on screen" % label,
                        lambda: find_accessible(self.app(), label, roles, self.showing), timeout)

    def click(self, accessible, button=1):
        x, y = centre(accessible)
        self.session.xdotool("mousemove", str(x), str(y))
        time.sleep(0.2)
        self.session.xdotool("click", str(button))

    def prepare(self, window):
        self.session.xdotool("windowfocus", window)
        self.session.xdotool("key", self.list_view_keys)
        self.find(NAMES[0], ("table cell",))

    def open_selection_menu(self):
        self.click(self.find(NAMES[0], ("table cell",)))
        time.sleep(0.3)
        self.session.xdotool("key", "ctrl+a")
        time.sleep(0.3)
        self.click(self.find(NAMES[1], ("table cell",)), button=3)

    def open_background_menu(self):
        roles = ("directory pane", "scroll pane", "layered pane")
        panes = [find_accessible(self.app(), name, roles) for name in self.pane_names]
        pane = next((pane for pane in panes if pane is not None), None)
        if pane is None:
            raise Failure("no folder view on screen")
        import pyatspi
        extents = pane.queryComponent().getExtents(pyatspi.DESKTOP_COORDS)
        self.session.right_click_at(extents.x + extents.width - 60, extents.y + extents.height - 60)

    def expect_item(self, label):
        self.find(label, ("menu",))

    def pick(self, path):
        self.open_submenus(path[:-1])
        self.click(self.find(path[-1], ("menu item",)))

    def open_submenus(self, path):
        for label in path:
            self.click(self.find(label, ("menu",)))
            time.sleep(0.4)

    def shown_labels(self, path):
        """The labels of the menus with the submenus along path open."""
        self.open_submenus(path)
        labels = menu_labels(self.app(), self.showing)
        self.session.xdotool("key", *["Escape"] * (len(path) + 1))
        time.sleep(0.5)
        return labels


class Gtk4Driver(GtkDriver):
    """GNOME Files (GTK 4): screen positions and the showing state are not usable, so items are activated
    through their accessibility action (the tree holds the popover's items whether on screen or not)."""
    showing = False

    def prepare(self, window):
        # An empty spot of the folder view, away from the three icons.
        self.empty = self.session.window_spot(window, 140, 130)

    def open_selection_menu(self):
        self.session.xdotool("mousemove", str(self.empty[0]), str(self.empty[1]), "click", "1")
        time.sleep(0.3)
        self.session.menu_on_everything()

    def open_background_menu(self):
        self.session.right_click_at(*self.empty)

    def expect_item(self, label):
        time.sleep(0.8)
        self.find(label, ("menu item",))

    def open_submenus(self, path):
        time.sleep(0.8)
        for label in path:
            self.find(label, ("menu item",)).queryAction().doAction(0)
            time.sleep(0.8)

    pick = open_submenus


class KeyDriver:
    """Dolphin and PCManFM-Qt: Qt's popup menus are not in the accessibility tree, so the menu is walked with
    the keyboard along the layout this test gave it."""

    def __init__(self, session):
        self.session = session

    def prepare(self, window):
        self.window = window
        self.session.xdotool("windowfocus", "--sync", window)
        time.sleep(0.5)

    def open_selection_menu(self):
        self.session.xdotool("windowfocus", self.window)
        self.session.menu_on_everything()

    def open_background_menu(self):
        self.session.xdotool("windowfocus", self.window)
        self.session.right_click_at(*self.session.window_spot(self.window, 80, 80))

    def pick(self, keys):
        time.sleep(0.8)
        for key in keys:
            self.session.xdotool("key", key)
            time.sleep(0.25)



def write_private(path, text):
    temporary = path + ".new"
    with open(temporary, "w", encoding="utf-8") as file:
        file.write(text)
    os.chmod(temporary, 0o600)
    os.replace(temporary, path)


def check_extension_reloads(session, driver, file_manager):
    """The Python extension re-reads Kestro's menu description when it changes: a malformed one keeps the
    last good menu and leaves the file manager running; a changed one shows without a restart, on the
    selection and on the background."""
    description = session.description()
    with open(description, encoding="utf-8") as file:
        good = file.read()
    write_private(description, '{"version": 1, "items": [{"title": ')
    time.sleep(1.5)
    driver.open_selection_menu()
    driver.expect_item("Kestro")
    session.xdotool("key", "Escape")
    time.sleep(0.5)
    if file_manager.poll() is not None:
        raise Failure("the file manager ended on a malformed menu description")
    with open(os.path.join(session.root, "file-manager.log"), encoding="utf-8", errors="replace") as file:
        if "kestro: menu description malformed, keeping the last good menu" not in file.read():
            raise Failure("the extension did not log the malformed menu description")
    renamed = "新建文本文件 ✎"
    if '"新建文本文件"' not in good:
        raise Failure("the menu description has no 新建文本文件 item")
    write_private(description, good.replace('"新建文本文件"', '"%s"' % renamed))
    time.sleep(1.5)
    driver.open_selection_menu()
    driver.pick(["Kestro", "新建", renamed])
    wait_for("Untitled 2.txt from the renamed item",
             lambda: os.path.exists(os.path.join(session.folder, "Untitled 2.txt")))
    # The background menu follows too, with no key pressed (Nemo's views are reloaded for it).
    driver.open_background_menu()
    driver.pick(["Kestro", "新建", renamed])
    wait_for("Untitled 3.txt from the renamed background item",
             lambda: os.path.exists(os.path.join(session.folder, "Untitled 3.txt")))
    log("%s: a malformed description kept the last good menu; a changed one showed without a restart" %
        session.name)


def check_only_workable(session, driver, name):
    """On the selection 复制到 offers the Desktop once and nothing shows that cannot work here; on the
    background the hidden-files switch shows in GNOME Files and Nemo (switching their own setting) and
    nowhere else. (Dolphin and PCManFM-Qt check this through their key walks.)"""
    driver.open_selection_menu()
    labels = driver.shown_labels(["Kestro", "复制到"])
    wrong = [label for label in NEVER_SHOWN if label in labels]
    if labels.count("桌面") != 1 or wrong:
        raise Failure("the selection menu shows %r and 桌面 %d times: %r" % (wrong, labels.count("桌面"), labels))
    driver.open_background_menu()
    switch = name in ("nemo", "nautilus")
    labels = driver.shown_labels(["Kestro", "更多工具"] if switch else ["Kestro"])
    # Thunar hands over the folder in view like one selected folder: still no selection item shows.
    if (("显示/隐藏隐藏文件" in labels) != switch or "更多工具" in labels and not switch
            or "复制到" in labels):
        raise Failure("the background menu shows a selection item or %s the hidden-files switch: %r" %
                      ("lacks" if switch else "shows", labels))
    log("%s: only items that can work show; the Desktop once in 复制到" % name)


def run(name):
    setup = FILE_MANAGERS[name]
    install = subprocess.run([os.path.join(SOURCE, "scripts", "install-file-managers")] + setup["packages"] + TOOLS,
                             capture_output=True, text=True)
    if install.returncode != 0 or not shutil.which(setup["command"][0]):
        print("SKIP: %s cannot be installed here: %s" % (name, (install.stderr or install.stdout).strip()[-400:]))
        return SKIP

    session = Session(name)
    try:
        session.start_display()
        session.start_bus()
        session.start_host()
        driver = {"thunar": lambda: GtkDriver(session, ("thunar",), "ctrl+2", ("Details view",)),
                  "nemo": lambda: GtkDriver(session, ("nemo",), "ctrl+2", ("Content View",)),
                  "nautilus": lambda: Gtk4Driver(session, ("nautilus", "files", "org.gnome.nautilus"))
                  }.get(name, lambda: KeyDriver(session))()
        # What the file manager says (Kestro's extension logs there) is kept for a failure's report.
        file_manager_log = open(os.path.join(session.root, "file-manager.log"), "w")
        file_manager = session.start(setup["command"] + [session.folder], stdout=file_manager_log,
                                     stderr=subprocess.STDOUT)
        window = wait_for("the %s window" % name,
                          lambda: session.xdotool("search", "--onlyvisible", "--class", setup["class"]).split(),
                          timeout=40)[0]
        time.sleep(2.0)
        driver.prepare(window)

        # On the selected files: copy them into the destination.
        driver.open_selection_menu()
        driver.pick(setup.get("selection keys", ["Kestro", "复制到", DESTINATION_NAME]))
        for index, file_name in enumerate(NAMES):
            copied = os.path.join(session.destination, file_name)
            wait_for("the copy of %r in the destination" % file_name, lambda: os.path.exists(copied), timeout=15)
            with open(copied, encoding="utf-8") as file:
                if file.read() != "content %d of %s\n" % (index, file_name):
                    raise Failure("the copy of %r differs from the original" % file_name)
        log("%s: selection → Kestro › 复制到 › destination copied all three files" % name)

        # On the background: a new text file in the folder.
        time.sleep(0.5)
        driver.open_background_menu()
        driver.pick(setup.get("background keys", ["Kestro", "新建", "新建文本文件"]))
        untitled = os.path.join(session.folder, "Untitled.txt")
        wait_for("Untitled.txt in the folder", lambda: os.path.exists(untitled), timeout=15)
        log("%s: background → Kestro › 新建 › 新建文本文件 made Untitled.txt" % name)
        if not isinstance(driver, KeyDriver):
            check_only_workable(session, driver, name)
        # A selection item run on the background would have copied the folder in view beside itself.
        if sorted(os.listdir(session.root)) != sorted(KEPT_IN_ROOT + [os.path.basename(session.destination)]):
            raise Failure("the background click acted on the folder in view: %r" % sorted(os.listdir(session.root)))
        expected = NAMES + ["Untitled.txt"]
        if setup["extension"]:
            check_extension_reloads(session, driver, file_manager)
            expected += ["Untitled 2.txt", "Untitled 3.txt"]
        if sorted(os.listdir(session.folder)) != sorted(expected):
            raise Failure("unexpected files in the folder: %r" % sorted(os.listdir(session.folder)))
        return 0
    except Failure as failure:
        shot = os.path.join(session.root, "failure.png")
        subprocess.run(["import", "-window", "root", shot], env=session.env, capture_output=True)
        os.environ["KESTRO_E2E_KEEP"] = "1"
        print("FAIL: %s: %s (screen: %s)" % (name, failure, shot))
        for log_path in (os.path.join(session.env["KESTRO_TMPDIR"], "kestro-app-action.log"),
                         os.path.join(session.root, "file-manager.log")):
            if os.path.exists(log_path):
                print("--- " + log_path)
                print(open(log_path, encoding="utf-8", errors="replace").read()[-3000:])
        return 1
    finally:
        session.close()


def end_on_signal(number, frame):
    # ctest's time limit and Ctrl-C still end everything this run started.
    raise SystemExit(1)


if __name__ == "__main__":
    signal.signal(signal.SIGTERM, end_on_signal)
    if len(sys.argv) != 2 or sys.argv[1] not in FILE_MANAGERS:
        print("usage: file_manager_end_to_end.py " + "|".join(FILE_MANAGERS))
        sys.exit(2)
    sys.exit(run(sys.argv[1]))
