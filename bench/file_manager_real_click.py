#!/usr/bin/python3
# A real click in a real file manager under Xvfb: the folder background's Kestro › 新建 › 新建文本文件 against
# that file manager's own custom action on the same background running a two-line sh script that execs
# `touch` (a uca.xml action in Thunar, a Nemo action, a Dolphin service menu, a PCManFM-Qt action, an item of
# a nautilus-python extension in GNOME Files), in the same run and alternated. Each is timed from the last
# step that picks the item until the file is on disk, so the file manager's own dispatch is in both figures:
# a click at the item's centre in Thunar and Nemo, the Return key in Dolphin's and PCManFM-Qt's menus (walked
# with keys, Qt's menus are not in the accessibility tree), the item's accessibility action in GNOME Files
# (whose menu positions are not usable).
#
#     file_manager_real_click.py [thunar|nemo|dolphin|pcmanfm-qt|nautilus]...      (default: all five)
import os
import shutil
import signal
import statistics
import subprocess
import sys
import time

sys.path.insert(0, os.path.join(os.path.dirname(os.path.dirname(os.path.abspath(__file__))), "tests"))
import file_manager_end_to_end as e2e  # noqa: E402

RUNS = 10
REFERENCE = "参考：touch"
KESTRO_PATH = ["Kestro", "新建", "新建文本文件"]
# Qt menus by keys from the background menu's top: both file managers put their custom actions in the
# menu's second-last section sorted by title, Kestro before the reference; Kestro's last entry is
# 新建文本文件 (see the end-to-end test).
KEYS = {
    "dolphin": (["Up", "Up", "Up", "Right", "Up", "Return"], ["Up", "Up", "Return"]),
    "pcmanfm-qt": (["Up", "Up", "Up", "Right", "Up", "Right", "Up", "Return"], ["Up", "Up", "Return"]),
}


def write_file(path, text, mode=0o644):
    os.makedirs(os.path.dirname(path), exist_ok=True)
    with open(path, "w") as file:
        file.write(text)
    os.chmod(path, mode)


def write_reference(session, name):
    """The file manager's own custom action on the background, running the script on the folder in view."""
    script = os.path.join(session.root, "touch-here")
    write_file(script, '#!/bin/sh\nexec touch "$1/reference.txt"\n', 0o755)
    config, data = session.env["XDG_CONFIG_HOME"], session.env["XDG_DATA_HOME"]
    if name == "thunar":
        write_file(os.path.join(config, "Thunar", "uca.xml"),
                   '<?xml version="1.0" encoding="UTF-8"?>\n<actions>\n<action><icon></icon><name>%s</name>'
                   "<submenu></submenu><unique-id>reference-1</unique-id><command>%s %%f</command>"
                   "<description></description><range>*</range><patterns>*</patterns><directories/>"
                   "</action>\n</actions>\n" % (REFERENCE, script))
    elif name == "nemo":
        write_file(os.path.join(data, "nemo", "actions", "reference.nemo_action"),
                   "[Nemo Action]\nName=%s\nExec=%s %%P\nSelection=none\nExtensions=any;\n" % (REFERENCE, script))
    elif name == "dolphin":
        write_file(os.path.join(data, "kio", "servicemenus", "reference.desktop"),
                   "[Desktop Entry]\nType=Service\nMimeType=inode/directory;\nActions=reference\n"
                   "X-KDE-Priority=TopLevel\n\n[Desktop Action reference]\nName=%s\nExec=%s %%F\n" %
                   (REFERENCE, script), 0o755)
    elif name == "pcmanfm-qt":
        write_file(os.path.join(data, "file-manager", "actions", "reference.desktop"),
                   "[Desktop Entry]\nType=Action\nName=%s\nProfiles=main;\n\n[X-Action-Profile main]\n"
                   "Exec=%s %%F\nMimeTypes=inode/directory;\nSelectionCount==1\n" % (REFERENCE, script))
    else:
        # Spawned the way Kestro's own extension spawns its hand-off.
        write_file(os.path.join(data, "nautilus-python", "extensions", "reference_touch.py"),
                   "import subprocess\nimport threading\nimport gi\ngi.require_version('Nautilus', '4.0')\n"
                   "from gi.repository import GObject, Nautilus\n\n\n"
                   "def run(item, folder):\n"
                   "    process = subprocess.Popen([%r, folder], stdin=subprocess.DEVNULL, close_fds=True,\n"
                   "                               start_new_session=True)\n"
                   "    threading.Thread(target=process.wait, daemon=True).start()\n\n\n"
                   "class Reference(GObject.GObject, Nautilus.MenuProvider):\n"
                   "    def get_background_items(self, folder):\n"
                   "        item = Nautilus.MenuItem(name='Reference::touch', label=%r)\n"
                   "        item.connect('activate', run, folder.get_location().get_path())\n"
                   "        return [item]\n" % (script, REFERENCE))


def ready_click(session, driver, path):
    """Opens the background menu down to the item of path and returns the step that picks it."""
    driver.open_background_menu()
    if isinstance(driver, e2e.KeyDriver):
        time.sleep(0.8)
        for key in path[:-1]:
            session.xdotool("key", key)
            time.sleep(0.25)
        time.sleep(0.3)
        return lambda: session.xdotool("key", path[-1])
    if isinstance(driver, e2e.Gtk4Driver):
        time.sleep(0.8)
        try:
            driver.find_item(path[0], timeout=2)
        except e2e.Failure:
            # After an item's action GNOME Files takes the next right-click to close its popover.
            driver.open_background_menu()
            time.sleep(0.8)
        for label in path[:-1]:
            driver.find_item(label).queryAction().doAction(0)
            time.sleep(0.8)
        item = driver.find_item(path[-1]).queryAction()
        return lambda: item.doAction(0)
    driver.open_submenus(path[:-1])
    x, y = e2e.centre(driver.find(path[-1], ("menu item",)))
    session.xdotool("mousemove", str(x), str(y))
    time.sleep(0.3)
    return lambda: session.xdotool("click", "1")


def timed_pick(session, driver, path, made):
    """Milliseconds from the step that picks the last item of path until made exists."""
    pick = ready_click(session, driver, path)
    start = time.perf_counter()
    pick()
    while not os.path.exists(made):
        if time.perf_counter() - start > 10:
            raise e2e.Failure("no %s after the click" % os.path.basename(made))
        time.sleep(0.0002)
    elapsed = (time.perf_counter() - start) * 1000
    time.sleep(0.5)
    os.remove(made)
    return elapsed


def measure(name):
    setup = e2e.FILE_MANAGERS[name]
    session = e2e.Session(name)
    try:
        write_reference(session, name)
        session.start_display()
        session.start_bus()
        session.start_host()
        session.start(setup["command"] + [session.folder],
                      stdout=open(os.devnull, "w"), stderr=open(os.devnull, "w"))
        window = e2e.wait_for("the %s window" % name,
                              lambda: session.xdotool("search", "--onlyvisible", "--class", setup["class"]).split(),
                              40)[0]
        time.sleep(2.0)
        if name in KEYS:
            driver = e2e.KeyDriver(session)
            kestro_path, reference_path = KEYS[name]
        else:
            if name == "nautilus":
                driver = e2e.Gtk4Driver(session, ("nautilus", "files", "org.gnome.nautilus"), "", ())
            else:
                driver = e2e.GtkDriver(session, (name,), "ctrl+2",
                                       ("Details view",) if name == "thunar" else ("Content View",))
            kestro_path, reference_path = KESTRO_PATH, [REFERENCE]
        driver.prepare(window)
        kestro, reference = [], []
        for _ in range(RUNS):
            kestro.append(timed_pick(session, driver, kestro_path, os.path.join(session.folder, "Untitled.txt")))
            reference.append(timed_pick(session, driver, reference_path,
                                        os.path.join(session.folder, "reference.txt")))
        click, touch = statistics.median(kestro), statistics.median(reference)
        print("%-44s %10.1f ms   %-28s %10.1f ms   ratio %6.2f" % (
            "%s: click Kestro 新建文本文件, median" % name, click, "own action running touch", touch,
            click / touch), flush=True)
    except e2e.Failure as failure:
        print("%s: FAILED: %s (screen: %s)" % (name, failure, session.screenshot("failure")), flush=True)
        os.environ["KESTRO_E2E_KEEP"] = "1"
        sys.exit(1)
    finally:
        session.close()


if __name__ == "__main__":
    signal.signal(signal.SIGTERM, e2e.end_on_signal)
    names = sys.argv[1:] or ["thunar", "nemo", "dolphin", "pcmanfm-qt", "nautilus"]
    if len(names) == 1:
        if not shutil.which(names[0]):
            print("%s: not installed, skipped" % names[0])
            sys.exit(0)
        measure(names[0])
    else:
        for name in names:
            # One process each: the accessibility library keeps the first session bus it was given.
            subprocess.run([sys.executable, os.path.abspath(__file__), name])
