#!/usr/bin/python3
"""The real calculation window under an X server of its own, driven with
xdotool as a person drives it, for the two ways work used to get lost:

  rename  renames transformer "1#TR" to "3#TR", clicks circuit 1's owner cell
          and confirms the owner list without changing it (Enter), saves and
          leaves; every circuit must still belong to "3#TR" in the archive.
  delete  selects one cell (circuit 2's power factor), presses Delete, saves
          and leaves; all four circuits must still be there, circuit 2 with
          its power factor cleared.
  outputs 绘制到Acad from the 功能 menu: the file dialog (Enter takes the
          proposed name), the base-point dialog (X 100, Tab, Y 200, Enter);
          no program shows the drawing (the desktop's launcher finds none),
          so a box names the file; the window stays. 输出到Excell: the file
          dialog cancelled (Esc) writes nothing and keeps the window; again
          with the proposed name it writes the workbook. Esc then leaves
          without a question. The drawing and the workbook are read back with
          ezdxf and openpyxl.

The archive is read back with `loadcal convert`. A screenshot of the window
before leaving is kept as SCREENSHOT when given.

usage: xdotool_one_truth.py LOADCAL SEED_RECENT_FILE rename|delete|outputs [SCREENSHOT]
"""
import json
import os
import subprocess
import sys
import tempfile
import time

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import xdotool_typing as x  # noqa: E402  (the shared Xvfb and screen helpers)


def bands_with_right_edge(shot):
    """yellow_rows, with the rightmost yellow x of each band added."""
    width, height, rgb = shot
    target = bytes(x.YELLOW)
    out = []
    for top, bottom, left in x.yellow_rows(shot):
        y = (top + bottom) // 2
        line = rgb[y * width * 3:(y + 1) * width * 3]
        right = max(i for i in range(width) if line[i * 3:i * 3 + 3] == target)
        out.append((top, bottom, left, right))
    return out


def focus(env, title):
    """Waits for a visible window whose whole title is `title` and gives it
    the keyboard (there is no window manager to do that); its id."""
    deadline = time.monotonic() + x.TIMEOUT
    while True:
        found = subprocess.run(["xdotool", "search", "--onlyvisible", "--name",
                                "^%s$" % title], env=env, capture_output=True, text=True)
        ids = found.stdout.split()
        if ids:
            x.xdo(env, "windowfocus", "--sync", ids[0])
            return ids[0]
        if time.monotonic() > deadline:
            names = subprocess.run(["xdotool", "search", "--onlyvisible", "--name", ".",
                                    "getwindowname", "%@"], env=env, capture_output=True,
                                   text=True).stdout
            x.fail("no window \"%s\"; windows: %s" % (title, names.split("\n")))
        time.sleep(0.2)


def visible(env, pattern):
    return subprocess.run(["xdotool", "search", "--onlyvisible", "--name", pattern], env=env,
                          capture_output=True, text=True).stdout.split()


def outputs(env, scratch):
    """The two outputs of the 功能 menu in the window that stays open."""
    main_title = "需要系数法负荷计算『%s』" % os.path.join(scratch, "two.LDC")
    focus(env, main_title)
    x.xdo(env, "key", "alt+c", "Return")          # 绘制到Acad
    focus(env, "另存为")
    x.xdo(env, "key", "Return")                   # the proposed two.dxf
    focus(env, "插入基点")
    x.xdo(env, "type", "--delay", "20", "100")
    x.xdo(env, "key", "Tab")
    x.xdo(env, "type", "--delay", "20", "200")
    x.xdo(env, "key", "Return")
    focus(env, "loadcal")                         # no program shows the drawing
    time.sleep(0.3)
    x.xdo(env, "key", "Return")
    focus(env, main_title)
    x.xdo(env, "key", "alt+c", "Down", "Return")  # 输出到Excell
    focus(env, "另存为")
    x.xdo(env, "key", "Escape")                   # cancelled: that output only
    focus(env, main_title)
    if os.path.exists(os.path.join(scratch, "two.xlsx")):
        x.fail("a cancelled workbook was written")
    x.xdo(env, "key", "alt+c", "Down", "Return")
    focus(env, "另存为")
    x.xdo(env, "key", "Return")
    focus(env, "loadcal")
    time.sleep(0.3)
    x.xdo(env, "key", "Return")
    focus(env, main_title)
    if visible(env, "^(另存为|插入基点|loadcal)$"):
        x.fail("a box is still open")


def main():
    if len(sys.argv) not in (4, 5) or sys.argv[3] not in ("rename", "delete", "outputs"):
        x.fail("usage: xdotool_one_truth.py LOADCAL SEED_RECENT_FILE rename|delete|outputs "
               "[SHOT]")
    loadcal, seed, scenario = sys.argv[1:4]
    shot_file = sys.argv[4] if len(sys.argv) == 5 else None
    with tempfile.TemporaryDirectory(prefix="loadcal-one-truth-") as scratch:
        program = x.private_program(loadcal, scratch)
        archive = x.two_transformer_archive(program, scratch)
        x.run([seed, os.path.join(scratch, "DQCal", "需要系数法负荷计算.idp"), archive])

        server, display = x.start_xvfb()
        # The desktop's launcher finds no program for a file, as xdg-open
        # does on a machine without one ("no method available": status 3).
        launcher = os.path.join(scratch, "launcher")
        os.mkdir(launcher)
        with open(os.path.join(launcher, "xdg-open"), "w") as f:
            f.write("#!/bin/sh\nexit 3\n")
        os.chmod(os.path.join(launcher, "xdg-open"), 0o755)
        env = x.desktop_env(scratch, display,
                            PATH=launcher + os.pathsep + os.environ.get("PATH", ""))
        window_proc = subprocess.Popen([program], env=env, stdout=subprocess.PIPE,
                                       stderr=subprocess.PIPE, text=True)
        try:
            x.run(["xdotool", "search", "--sync", "--onlyvisible", "--name",
                   "需要系数法负荷计算"], env=env)
            deadline = time.monotonic() + x.TIMEOUT
            while True:
                bands = bands_with_right_edge(x.screenshot(env))
                if len(bands) >= 8:
                    break
                if time.monotonic() > deadline:
                    x.fail("the grids did not appear (%d yellow bands)" % len(bands))
                time.sleep(0.2)
            load, transformers = bands[:4], bands[-3:]

            def mid(band):
                return (band[0] + band[1]) // 2

            if scenario == "outputs":
                outputs(env, scratch)
            elif scenario == "rename":
                name = (transformers[0][2] - 20, mid(transformers[0]))
                x.click_and_type(env, name, "3#TR", "Return")
                owner = (load[0][3] + 30, mid(load[0]))
                x.xdo(env, "mousemove", *owner, "click", "1")
                time.sleep(1.0)  # the choice list opens
                x.xdo(env, "key", "Return")
            else:
                factor = (load[1][2] - 20, mid(load[1]))
                x.xdo(env, "mousemove", *factor, "click", "1")
                x.xdo(env, "key", "Delete")
            time.sleep(0.5)
            if shot_file:
                x.run(["import", "-window", "root", shot_file], env=env)
            x.xdo(env, "key", "ctrl+s")
            time.sleep(0.5)
            x.xdo(env, "key", "Escape")
            out, _ = x.wait_closed(window_proc)
        finally:
            x.stop(window_proc, server)

        if scenario == "outputs":
            if "基点" in out:
                x.fail("the base point was asked on the terminal: %r" % out)
            check = subprocess.run(
                ["/usr/bin/python3", "-c",
                 "import sys, ezdxf.recover, openpyxl\n"
                 "doc, _ = ezdxf.recover.readfile(sys.argv[1])\n"
                 "t = [e for e in doc.modelspace() if e.dxftype() == 'TEXT'"
                 " and e.dxf.text == '回路编号'][0]\n"
                 "ws = openpyxl.load_workbook(sys.argv[2]).active\n"
                 "print(t.dxf.align_point.x, t.dxf.align_point.y, ws['A2'].value,"
                 " ws['E2'].value)\n",
                 os.path.join(scratch, "two.dxf"), os.path.join(scratch, "two.xlsx")],
                capture_output=True, text=True, timeout=x.TIMEOUT)
            # Base 100,200: the first title at the first 30 x 10 cell's centre.
            if check.returncode != 0 or check.stdout.split() != ["115.0", "195.0", "WP1", "10"]:
                x.fail("drawing and workbook read back as %r %r" % (check.stdout, check.stderr))
            print("ok")
            return
        saved = os.path.join(scratch, "saved.json")
        x.run([program, "convert", archive, saved])
        with open(saved, encoding="utf-8") as f:
            result = json.load(f)
        loads = result["loads"]
        if [c["circuitNo"] for c in loads] != ["WP1", "WP2", "WP3", "WP4"]:
            x.fail("circuits %s, expected all four" % [c["circuitNo"] for c in loads])
        if scenario == "rename":
            names = [t["name"] for t in result["transformers"]]
            if names != ["3#TR", "2#TR"]:
                x.fail("transformer names %s, expected ['3#TR', '2#TR']" % names)
            owners = [c["transformer"] for c in loads]
            if owners != ["3#TR"] * 4:
                x.fail("owner lists %s, expected 3#TR for all four" % owners)
            if result["transformers"][0]["calcP"] in ("", "0"):
                x.fail("3#TR lost its circuits: Pc %s" % result["transformers"][0]["calcP"])
        else:
            factors = [c["powerFactor"] for c in loads]
            if factors != ["0.85", "", "0.85", "0.85"]:
                x.fail("power factors %s, expected circuit 2's cleared" % factors)
    print("ok")


if __name__ == "__main__":
    main()
