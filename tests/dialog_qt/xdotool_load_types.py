#!/usr/bin/python3
"""The load-type library in the real calculation window, under an X server of
its own, driven with xdotool as a person drives it:

  1. clicks circuit 1's 负荷类型 cell (its list drops down), types 电梯 and
     Enter: Kx 0.2 and cos φ 0.5 are filled, Pjs becomes 10 kW x 0.2 = 2;
  2. chooses 冷水机组 for circuit 2 the same way, then types its quantity 2
     (units) and Enter: Kx becomes the tier's 0.8;
  3. opens 功能 → 负荷类型库, types a new type into the entry row (实验室设备,
     Kx 0.5 / 0.6 / 0.7, cos φ 0.85, Tab between the cells) and clicks 确定;
  4. types 实验 into circuit 3's 负荷类型 cell without opening its list (the
     cell is reached with the arrow keys), which filters the list; Down picks
     实验室设备 and Enter takes it: Kx 0.6, cos φ 0.85;
  5. types Kx 0.5 for circuit 1, outside the lift's range 0.18–0.22: its cell
     turns orange;
  6. saves (Ctrl+S) and leaves (Esc).

Screenshots show the figures on screen; the saved archive is read back with
`loadcal convert` and the user library file with json. A screenshot of the
window before leaving is kept as SHOT when given.

Chinese text is typed with a pause between characters: xdotool types each one
by remapping a spare key, which the window must see before the next.

usage: xdotool_load_types.py LOADCAL SEED_RECENT_FILE [SHOT]
"""
import json
import os
import subprocess
import sys
import tempfile
import time

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import xdotool_typing as x  # noqa: E402  (the shared Xvfb and screen helpers)
from xdotool_one_truth import focus, visible  # noqa: E402

ORANGE = (255, 205, 120)  # background of a cell the document checks name
CHINESE_DELAY = "150"     # ms between typed characters that need a spare key


def runs(shot, y):
    """Runs of computed-cell yellow along screen row y: (left, right) each."""
    width, _, rgb = shot
    line = rgb[y * width * 3:(y + 1) * width * 3]
    target = bytes(x.YELLOW)
    out = []
    start = None
    for i in range(width + 1):
        yellow = i < width and line[i * 3:i * 3 + 3] == target
        if yellow and start is None:
            start = i
        elif not yellow and start is not None:
            if i - start >= 10:
                out.append((start, i - 1))
            start = None
    return out


def layout(env):
    """Screen positions of the load grid: the middle y of circuit rows 1 to
    4, and the middle x of every column (1 to 17), taken from the total row,
    whose cells are all yellow and parted by the grid lines."""
    deadline = time.monotonic() + x.TIMEOUT
    while True:
        shot = x.screenshot(env)
        bands = x.yellow_rows(shot)
        totals = [b for b in bands if len(runs(shot, b[0] + 2)) >= 17]
        if len(bands) >= 8 and totals:
            break
        if time.monotonic() > deadline:
            x.fail("the grids did not appear (%d yellow bands)" % len(bands))
        time.sleep(0.2)
    columns = [(left + right) // 2 for left, right in runs(shot, totals[0][0] + 2)]
    rows = [(top + bottom) // 2 for top, bottom, _ in bands[:4]]
    return rows, columns


def cell_colour(env, point):
    """The colour a little left of the middle of a cell (away from its text)."""
    width, _, rgb = x.screenshot(env)
    px, py = point[0] - 25, point[1] - 6
    i = (py * width + px) * 3
    return tuple(rgb[i:i + 3])


def choose_from_list(env, point, name):
    """Clicks a cell whose list drops down, types the name (the list steps to
    it) and Enter."""
    x.xdo(env, "mousemove", point[0], point[1], "click", "1")
    time.sleep(0.5)
    x.xdo(env, "type", "--delay", CHINESE_DELAY, name)
    x.xdo(env, "key", "Return")
    time.sleep(0.3)


def edit_library(env, main_title):
    """功能 → 负荷类型库: a new type typed into the entry row, then 确定."""
    x.xdo(env, "key", "alt+c", "l")
    window = focus(env, "负荷类型库")
    time.sleep(0.5)
    # The entry row's name cell is the current cell: typing starts there.
    x.xdo(env, "type", "--delay", CHINESE_DELAY, "实验室设备")
    for figure in ("0.5", "0.6", "0.7", "0.85"):
        x.xdo(env, "key", "Tab")
        time.sleep(0.2)
        x.xdo(env, "type", "--delay", "30", figure)
    x.xdo(env, "key", "Return")
    time.sleep(0.3)
    geometry = subprocess.run(["xdotool", "getwindowgeometry", "--shell", window], env=env,
                              capture_output=True, text=True).stdout
    g = dict(line.split("=") for line in geometry.split())
    # 确定 stands left of 取消 in the bottom right corner.
    ok = (int(g["X"]) + int(g["WIDTH"]) - 137, int(g["Y"]) + int(g["HEIGHT"]) - 24)
    x.xdo(env, "mousemove", ok[0], ok[1], "click", "1")
    focus(env, main_title)
    if visible(env, "^负荷类型库$"):
        x.fail("the 负荷类型库 window is still open after 确定")


def main():
    if len(sys.argv) not in (3, 4):
        x.fail("usage: xdotool_load_types.py LOADCAL SEED_RECENT_FILE [SHOT]")
    loadcal, seed = sys.argv[1:3]
    shot_file = sys.argv[3] if len(sys.argv) == 4 else None
    with tempfile.TemporaryDirectory(prefix="loadcal-load-types-") as scratch:
        program = x.private_program(loadcal, scratch)
        document = {
            "loads": [
                {"circuitNo": "WP%d" % i, "equipName": "设备%d" % i, "phase": "L1,L2,L3,N",
                 "ratedPower": "10", "voltage": "0.38", "demandFactor": "1",
                 "powerFactor": "0.9", "transformer": "1#TR"} for i in range(1, 5)],
            "transformers": [
                {"name": "1#TR", "loadRate": "0.7", "kp": "0.9", "kq": "0.97", "alpha": "0.7",
                 "beta": "0.76", "cosAfter": "0.9"}],
        }
        source = os.path.join(scratch, "types.json")
        with open(source, "w", encoding="utf-8") as f:
            json.dump(document, f, ensure_ascii=False)
        archive = os.path.join(scratch, "types.LDC")
        x.run([program, "calc", source, "-o", archive])
        settings = os.path.join(scratch, "DQCal", "需要系数法负荷计算.idp")
        x.run([seed, settings, archive])
        main_title = "需要系数法负荷计算『%s』" % archive

        server, display = x.start_xvfb()
        env = x.desktop_env(scratch, display)
        logs = open(os.path.join(scratch, "window.log"), "w+")
        window_proc = subprocess.Popen([program], env=env, stdout=logs, stderr=logs, text=True)
        try:
            focus(env, main_title + r"(\*)?")
            rows, columns = layout(env)

            def cell(row, col):
                return columns[col - 1], rows[row - 1]

            # 1. The lift from the list.
            choose_from_list(env, cell(1, 14), "电梯")
            # 2. Chillers, then their number.
            choose_from_list(env, cell(2, 14), "冷水机组")
            x.click_and_type(env, cell(2, 15), "2", "Return")
            time.sleep(0.3)
            shot_after_choosing = os.path.join(scratch, "chosen.png")
            x.run(["import", "-window", "root", shot_after_choosing], env=env)
            # 3. A type of the user's own.
            edit_library(env, main_title + r"\*")
            # 4. Typed into a cell reached with the keys: the list filters.
            x.xdo(env, "mousemove", *cell(3, 15), "click", "1")
            x.xdo(env, "key", "Left")
            x.xdo(env, "type", "--delay", CHINESE_DELAY, "实验")
            time.sleep(0.5)
            x.xdo(env, "key", "Down", "Return")
            time.sleep(0.3)
            # 5. A Kx outside the lift's range is marked.
            x.click_and_type(env, cell(1, 7), "0.5", "Return")
            time.sleep(0.5)
            marked = cell_colour(env, cell(1, 7))
            unmarked = cell_colour(env, cell(3, 7))
            if shot_file:
                x.run(["import", "-window", "root", shot_file], env=env)
            if marked != ORANGE:
                x.fail("circuit 1's Kx 0.5 is not marked (colour %s)" % (marked,))
            if unmarked == ORANGE:
                x.fail("circuit 3's Kx 0.6 is marked")
            # 6. Save and leave.
            x.xdo(env, "key", "ctrl+s")
            time.sleep(0.5)
            x.xdo(env, "key", "Escape")
            try:
                window_proc.wait(timeout=x.TIMEOUT)
            except subprocess.TimeoutExpired:
                x.fail("the window did not close after Esc")
            if window_proc.returncode != 0:
                logs.seek(0)
                x.fail("loadcal exited with %d: %s" % (window_proc.returncode, logs.read()))
        finally:
            x.stop(window_proc, server)

        saved = os.path.join(scratch, "saved.json")
        x.run([program, "convert", archive, saved])
        with open(saved, encoding="utf-8") as f:
            loads = json.load(f)["loads"]
        got = [(c.get("loadType", ""), c.get("quantity", ""), c["demandFactor"],
                c["powerFactor"], c["calcP"]) for c in loads]
        # Pjs = 10 kW x Kx for each circuit.
        expected = [("电梯", "", "0.5", "0.5", "5"),
                    ("冷水机组", "2", "0.8", "0.8", "8"),
                    ("实验室设备", "", "0.6", "0.85", "6"),
                    ("", "", "1", "0.9", "10")]
        if got != expected:
            x.fail("circuits read back as %s, expected %s" % (got, expected))
        if any(key in loads[3] for key in ("loadType", "quantity", "loadClass", "fire")):
            x.fail("circuit 4 gained keys it does not use: %s" % loads[3])
        with open(os.path.join(scratch, "DQCal", "负荷类型库.json"), encoding="utf-8") as f:
            user = json.load(f)["types"]
        if user != [{"name": "实验室设备", "kxMin": 0.5, "kx": 0.6, "kxMax": 0.7,
                     "cos": 0.85}]:
            x.fail("the user library holds %s" % user)
    print("ok")


if __name__ == "__main__":
    main()
