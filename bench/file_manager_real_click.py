#!/usr/bin/python3
# A real click in a real file manager under Xvfb: the folder background's Kestro › 新建 › 新建文本文件 against
# that file manager's own custom action on the same background (a uca.xml action in Thunar, a Nemo action)
# running a two-line sh script that execs `touch`, in the same run and alternated. Each is timed from the
# click on the menu item (the xdotool call included, alike for both) until the file is on disk, so the file
# manager's own dispatch is in both figures.
#
#     file_manager_real_click.py [thunar|nemo]...      (default: both)
import os
import shutil
import statistics
import sys
import time

sys.path.insert(0, os.path.join(os.path.dirname(os.path.dirname(os.path.abspath(__file__))), "tests"))
import file_manager_end_to_end as e2e  # noqa: E402

RUNS = 10
REFERENCE = "参考：touch"


def write_reference(session, name):
    script = os.path.join(session.root, "touch-here")
    with open(script, "w") as file:
        file.write('#!/bin/sh\nexec touch "$1/reference.txt"\n')
    os.chmod(script, 0o755)
    if name == "thunar":
        folder = os.path.join(session.env["XDG_CONFIG_HOME"], "Thunar")
        os.makedirs(folder, exist_ok=True)
        with open(os.path.join(folder, "uca.xml"), "w") as file:
            file.write('<?xml version="1.0" encoding="UTF-8"?>\n<actions>\n<action><icon></icon><name>%s</name>'
                       "<submenu></submenu><unique-id>reference-1</unique-id><command>%s %%f</command>"
                       "<description></description><range>*</range><patterns>*</patterns><directories/>"
                       "</action>\n</actions>\n" % (REFERENCE, script))
    else:
        folder = os.path.join(session.env["XDG_DATA_HOME"], "nemo", "actions")
        os.makedirs(folder, exist_ok=True)
        with open(os.path.join(folder, "reference.nemo_action"), "w") as file:
            file.write("[Nemo Action]\nName=%s\nExec=%s %%P\nSelection=none\nExtensions=any;\n" % (REFERENCE, script))


def timed_pick(session, driver, path, made):
    """Milliseconds from the click on the last item of path until made exists."""
    driver.open_background_menu()
    for label in path[:-1]:
        driver.click(driver.find(label, ("menu",)))
        time.sleep(0.4)
    item = driver.find(path[-1], ("menu item",))
    x, y = e2e.centre(item)
    session.xdotool("mousemove", str(x), str(y))
    time.sleep(0.3)
    start = time.perf_counter()
    session.xdotool("click", "1")
    while not os.path.exists(made):
        if time.perf_counter() - start > 10:
            raise e2e.Failure("no %s after the click" % os.path.basename(made))
        time.sleep(0.0002)
    elapsed = (time.perf_counter() - start) * 1000
    time.sleep(0.5)
    os.remove(made)
    return elapsed


def measure(name):
    session = e2e.Session(name)
    try:
        write_reference(session, name)
        session.start_display()
        session.start_bus()
        session.start_host()
        session.start(e2e.FILE_MANAGERS[name]["command"] + [session.folder],
                      stdout=open(os.devnull, "w"), stderr=open(os.devnull, "w"))
        window = e2e.wait_for("the %s window" % name,
                              lambda: session.xdotool("search", "--onlyvisible", "--class", name).split(), 40)[0]
        time.sleep(2.0)
        driver = e2e.GtkDriver(session, (name,), "ctrl+2",
                               ("Details view",) if name == "thunar" else ("Content View",))
        driver.prepare(window)
        kestro, reference = [], []
        for _ in range(RUNS):
            kestro.append(timed_pick(session, driver, ["Kestro", "新建", "新建文本文件"],
                                     os.path.join(session.folder, "Untitled.txt")))
            reference.append(timed_pick(session, driver, [REFERENCE],
                                        os.path.join(session.folder, "reference.txt")))
        click, touch = statistics.median(kestro), statistics.median(reference)
        print("%-44s %10.1f ms   %-28s %10.1f ms   ratio %6.2f" % (
            "%s: click Kestro 新建文本文件, median" % name, click, "own action running touch", touch,
            click / touch), flush=True)
    finally:
        session.close()


if __name__ == "__main__":
    for name in sys.argv[1:] or ["thunar", "nemo"]:
        if not shutil.which(name):
            print("%s: not installed, skipped" % name)
            continue
        measure(name)
