#!/usr/bin/python3
"""The supply tree, the 工程信息 dialog and the fire case in the real
calculation window under an X server of its own, driven with xdotool as a
person drives it (click, type at once):

  1. The boards example opens with its supply tree beside the grids, 全部
     current, every circuit in the load grid; the board grid shows the fire
     case's columns (a board row has 13 computed cells: ΣPe and the five
     normal figures, then the governing case and the six fire figures,
     where a document without fire roles shows 6).
  2. A click on floor board 1AL in the tree: the load grid shows its one
     circuit (WL1), the entry row and the total row. WL1 goes from 8 kW to
     20 kW, and a circuit of 3 kW is typed into the entry row. A click on
     riser ALZ1 shows no circuit (it feeds boards only); one on 全部 shows
     them all again. Ctrl+S.
  3. 功能 > 工程信息: a project name typed, the rule set switched from
     GB 51348-2019 to 本程序原有规则, Enter (确定). Ctrl+S.
  4. Ctrl+Z, Ctrl+S; Ctrl+Y, Ctrl+S; Esc.

After each save the archive is read back with `loadcal convert` and checked
against `loadcal calc` (a whole recalculation): after 2, WL1 at 20 kW and the
new 3 kW circuit fed from 1AL, both under GB 51348-2019; after 3, the project
name and the original rules with every figure as they give; after the undo,
GB 51348-2019 and the example's project information again; after the redo, as after 3. The
tree's items are found on the screen from the highlight of the current item
(全部, the first); the grids by their title rows. Screenshots are kept in
SHOTS when given.

usage: xdotool_supply.py LOADCAL SEED_RECENT_FILE EXAMPLE.LDC [SHOTS]
"""
import json
import os
import shutil
import subprocess
import sys
import tempfile
import time

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import xdotool_typing as x  # noqa: E402  (the shared Xvfb and screen helpers)
import xdotool_one_truth as one  # noqa: E402
import xdotool_boards as boards  # noqa: E402  (the grids found on the screen)

# The order of the example's tree, all of it open (a small tree opens whole):
# 全部, 1#变压器, 1AP-LD, 1AP-KT, ALZ1, 1AL, ...
NODE_ALL = 0
NODE_ALZ1 = 4
NODE_1AL = 5


def is_highlight(pixel):
    """The current item of the tree, in the style's highlight (blue)."""
    r, g, b = pixel
    return b >= 150 and b > r + 80


def tree_items(shot, right):
    """The current item's band in the tree (left of x = right): its top and
    height, from which every item's place follows (uniform heights)."""
    width, height, rgb = shot
    rows = []
    for y in range(height):
        line = rgb[y * width * 3:(y + 1) * width * 3]
        count = sum(1 for i in range(5, right) if is_highlight(line[i * 3:i * 3 + 3]))
        if count >= 40:
            rows.append(y)
    if not rows:
        x.fail("no current item in the supply tree")
    top = rows[0]
    bottom = top
    while bottom + 1 in rows:
        bottom += 1
    return top, bottom - top + 1


def yellow_runs(shot, y, left):
    """Runs of computed-cell yellow along screen row y, right of left: the
    computed cells, which the grid lines part, on a row above their text."""
    width, _, rgb = shot
    line = rgb[y * width * 3:(y + 1) * width * 3]
    runs = 0
    inside = False
    length = 0
    for i in range(left, width):
        yellow = tuple(line[i * 3:i * 3 + 3]) == x.YELLOW
        if yellow:
            length += 1
            if not inside and length >= 20:
                runs += 1
                inside = True
        else:
            inside = False
            length = 0
    return runs


def save_and_read(env, program, archive, scratch, name):
    x.xdo(env, "key", "ctrl+s")
    time.sleep(0.8)
    path = os.path.join(scratch, name + ".json")
    x.run([program, "convert", archive, path])
    with open(path, encoding="utf-8") as f:
        saved = json.load(f)
    recalculated = json.loads(x.run([program, "calc", archive, "--json"]))
    for key in ("loads", "boards", "transformers"):
        if saved.get(key) != recalculated.get(key):
            for got, want in zip(saved[key], recalculated[key]):
                if got != want:
                    x.fail("%s, %s: the window saved %s, a whole recalculation gives %s"
                           % (name, key, got, want))
            x.fail("%s, %s differ in length" % (name, key))
    return saved


def circuits_named(saved, no):
    return [c for c in saved["loads"] if c["circuitNo"] == no]


def main():
    if len(sys.argv) not in (4, 5):
        x.fail("usage: xdotool_supply.py LOADCAL SEED_RECENT_FILE EXAMPLE.LDC [SHOTS]")
    loadcal, seed, example = sys.argv[1:4]
    shots = sys.argv[4] if len(sys.argv) == 5 else None
    with tempfile.TemporaryDirectory(prefix="loadcal-supply-") as scratch:
        program = x.private_program(loadcal, scratch)
        archive = os.path.join(scratch, "supply.LDC")
        shutil.copy2(example, archive)
        before = json.loads(x.run([program, "calc", archive, "--json"]))
        x.run([seed, os.path.join(scratch, "DQCal", "需要系数法负荷计算.idp"), archive,
               "宽=1580", "高=960", "左=0", "上=0", "配电箱表高=300", "变压器表高=110"])

        server, display = x.start_xvfb()
        env = x.desktop_env(scratch, display)
        window_proc = subprocess.Popen([program], env=env, stdout=subprocess.PIPE,
                                       stderr=subprocess.PIPE, text=True)
        main_title = "需要系数法负荷计算『%s』" % archive
        modified = (main_title + "*").replace(".", "\\.").replace("*", "\\*")
        try:
            one.focus(env, main_title)
            screen = boards.Screen(env)
            shot = x.screenshot(env)
            boards.shot(env, shots, "1-opened.png")
            grids_left = screen.titles[0][2]
            top, item = tree_items(shot, grids_left - 5)

            def click_node(n):
                # Right of any branch arrow: a click there selects the row.
                x.xdo(env, "mousemove", grids_left - 30, top + n * item + item // 2, "click", "1")
                time.sleep(0.6)
                return boards.Screen(env)

            # 1. Every circuit shown; the fire case beside the boards' figures.
            if len(screen.rows[0]) < 10:
                x.fail("全部 shows %d rows of circuits" % len(screen.rows[0]))
            band = screen.rows[1][0]
            runs = yellow_runs(shot, band[0] + 2, grids_left)
            if runs != 13:
                x.fail("a board row shows %d computed cells, expected 13 "
                       "(ΣPe, the normal figures, the fire case)" % runs)

            # 2. 1AL: WL1, the entry row and the total row.
            screen = click_node(NODE_1AL)
            boards.shot(env, shots, "2-board-1AL.png")
            if len(screen.rows[0]) != 3:
                x.fail("1AL shows %d yellow rows in the load grid, expected 3 "
                       "(WL1, the entry row, the total row)" % len(screen.rows[0]))
            x.xdo(env, "mousemove", *screen.left_of_yellow(0, 1), "click", "1")
            x.xdo(env, "key", "Left", "Left", "Left")
            x.xdo(env, "type", "--delay", "20", "20")
            x.xdo(env, "key", "Return")
            x.xdo(env, "type", "--delay", "20", "3")
            x.xdo(env, "key", "Return")
            time.sleep(0.5)
            screen = boards.Screen(env)
            boards.shot(env, shots, "3-edited-while-filtered.png")
            if len(screen.rows[0]) != 4:
                x.fail("1AL shows %d yellow rows after the new circuit, expected 4"
                       % len(screen.rows[0]))
            screen = click_node(NODE_ALZ1)
            boards.shot(env, shots, "3b-riser-ALZ1.png")
            if len(screen.rows[0]) != 2:
                x.fail("ALZ1 shows %d yellow rows, expected 2 (entry and total rows)"
                       % len(screen.rows[0]))
            screen = click_node(NODE_ALL)
            if len(screen.rows[0]) < 10:
                x.fail("全部 shows %d rows of circuits again" % len(screen.rows[0]))
            one.focus(env, modified)
            filtered = save_and_read(env, program, archive, scratch, "filtered")
            if filtered.get("rules") != "GB51348-2019":
                x.fail("the rule set changed by itself: %r" % filtered.get("rules"))
            wl1 = circuits_named(filtered, "WL1")[0]
            if wl1["ratedPower"] != "20" or wl1["transformer"] != "1AL":
                x.fail("WL1 saved as %s kW under %s" % (wl1["ratedPower"], wl1["transformer"]))
            added = filtered["loads"][len(before["loads"]):]
            if len(added) != 1 or added[0]["ratedPower"] != "3" or added[0]["transformer"] != "1AL":
                x.fail("the circuit typed under 1AL was saved as %s" % added)

            # 3. 工程信息: a project name, the original rules, 确定.
            x.xdo(env, "key", "alt+c", "p")
            one.focus(env, "工程信息")
            time.sleep(0.3)
            # The name field has the keyboard; its text is replaced.
            x.xdo(env, "key", "ctrl+a")
            x.xdo(env, "type", "--delay", "20", "XM-2024-16")
            x.xdo(env, "key", *(["Tab"] * 12))
            x.xdo(env, "key", "Up")
            time.sleep(0.3)
            boards.shot(env, shots, "4-project-info.png")
            x.xdo(env, "key", "Return")
            one.focus(env, modified)
            time.sleep(0.5)
            boards.shot(env, shots, "5-original-rules.png")
            switched = save_and_read(env, program, archive, scratch, "switched")
            if "rules" in switched:
                x.fail("the original rules were not chosen: %r" % switched["rules"])
            if switched.get("project", {}).get("name") != "XM-2024-16":
                x.fail("the project name saved is %r" % switched.get("project"))
            if switched["transformers"] == filtered["transformers"]:
                x.fail("the transformers' figures did not follow the rule set")

            # 4. Undo, then redo, each saved.
            x.xdo(env, "key", "ctrl+z")
            time.sleep(0.5)
            boards.shot(env, shots, "6-undone.png")
            undone = save_and_read(env, program, archive, scratch, "undone")
            if undone.get("rules") != "GB51348-2019" or undone.get("project") != before["project"]:
                x.fail("undo left rules %r, project %r" % (undone.get("rules"),
                                                          undone.get("project")))
            if undone["transformers"] != filtered["transformers"]:
                x.fail("undo did not give back the transformers' figures")
            x.xdo(env, "key", "ctrl+y")
            time.sleep(0.5)
            redone = save_and_read(env, program, archive, scratch, "redone")
            if redone != switched:
                x.fail("redo did not give the document 工程信息 had made")
            x.xdo(env, "key", "Escape")
            x.wait_closed(window_proc)
        finally:
            x.stop(window_proc, server)
    print("ok")


if __name__ == "__main__":
    main()
