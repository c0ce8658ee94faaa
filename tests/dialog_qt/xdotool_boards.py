#!/usr/bin/python3
"""The distribution boards in the real calculation window under an X server
of its own, driven with xdotool as a person drives it (click, type at once):

  1. The GB 51348-2019 example with its 25 boards opens without offering a
     recalculation (its figures follow its own rules and boards).
  2. 一层照明 (WL1, under floor board 1AL, under riser ALZ1, under 1#变压器)
     goes from 8 kW to 20 kW: 1AL, ALZ1 and 1#变压器 follow on screen.
  3. ALZ1's owner list gets 1AL ticked in the choice list (Space, Enter):
     1AL hangs from ALZ1, so the ring is refused with a box naming the
     boards, and ALZ1 keeps its owner.
  4. A board is typed into the board grid's entry row ("AL-NEW") and renamed
     ("AL9").
  5. Ctrl+Z takes the rename back.
  6. Ctrl++ on the second board's row inserts a board above it, whose name
     ("新配电箱1") is typed over at once ("AP-X").
  7. Two lines of a spreadsheet on the clipboard (xclip) are pasted on the
     load grid's entry row; Ctrl+Z, Ctrl+Y; Ctrl+S saves; Esc leaves.

The saved archive is read back with `loadcal convert` and checked: WL1 at
20 kW, the new board named AL-NEW, ALZ1 still under 1#变压器, and every
board and transformer figure what `loadcal calc` (a whole recalculation)
gives, with 1AL, ALZ1 and 1#变压器 changed from the example's. The grids are
found on the screen by their title rows (the fixed colour) and their
computed cells (yellow). Screenshots are kept in SHOTS when given.

usage: xdotool_boards.py LOADCAL SEED_RECENT_FILE EXAMPLE.LDC [SHOTS]
Needs Xvfb, xdotool, xclip and ImageMagick's `import`.
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

def is_title(pixel):
    """The grids' title rows: the fixed colour (255, 255, 224) as the style's
    shading draws it, a pale yellow."""
    r, g, b = pixel
    return r >= 240 and r == g and 200 <= b <= r - 8


def is_yellow(pixel):
    return tuple(pixel) == x.YELLOW


def colour_bands(shot, match, least):
    """Bands of screen rows holding at least `least` pixels that match:
    (top, bottom, leftmost x, rightmost x)."""
    width, height, rgb = shot
    bands = []
    for y in range(height):
        line = rgb[y * width * 3:(y + 1) * width * 3]
        xs = [i for i in range(width) if match(line[i * 3:i * 3 + 3])]
        if len(xs) < least:
            continue
        if bands and bands[-1][1] == y - 1:
            bands[-1][1] = y
            bands[-1][2] = min(bands[-1][2], xs[0])
            bands[-1][3] = max(bands[-1][3], xs[-1])
        else:
            bands.append([y, y, xs[0], xs[-1]])
    return [tuple(b) for b in bands if b[1] - b[0] >= 8]


class Screen:
    """The three grids as the screen shows them: each grid's title band and
    the yellow bands (rows with computed cells) under it."""

    def __init__(self, env):
        deadline = time.monotonic() + x.TIMEOUT
        while True:
            shot = x.screenshot(env)
            titles = colour_bands(shot, is_title, 300)
            if len(titles) >= 3:
                break
            if time.monotonic() > deadline:
                x.fail("the three grids did not appear (%d title rows)" % len(titles))
            time.sleep(0.2)
        self.titles = titles[:3]
        yellow = colour_bands(shot, is_yellow, 30)
        edges = [t[0] for t in self.titles] + [shot[1]]
        self.rows = [[b for b in yellow if edges[g] < b[0] < edges[g + 1]] for g in range(3)]

    def left_of_yellow(self, grid, row):
        """A point in data row `row` (1 based) of grid 0 (circuits), 1 (boards)
        or 2 (transformers), in the cell left of its first computed cell."""
        band = self.rows[grid][row - 1]
        return band[2] - 15, (band[0] + band[1]) // 2

    def in_yellow(self, grid, row):
        """A point in the first computed cell of a data row."""
        band = self.rows[grid][row - 1]
        return band[2] + 15, (band[0] + band[1]) // 2

    def right_of_yellow(self, grid, row):
        """A point in the cell right of the last computed cell of a data row."""
        band = self.rows[grid][row - 1]
        return band[3] + 25, (band[0] + band[1]) // 2


# Two circuits as a spreadsheet copies them (tab-separated, one per line):
# number, equipment, name, phase, rated power, voltage, Kx, cos φ.
PASTED = ("WX9\t9AX\t九层插座\tL2,N\t6\t0.22\t0.5\t0.85\n"
          "WX10\t10AX\t十层插座\tL3,N\t4.5\t0.22\t0.5\t0.85\n")


def shot(env, shots, name):
    if shots:
        x.run(["import", "-window", "root", os.path.join(shots, name)], env=env)


def main():
    if len(sys.argv) not in (4, 5):
        x.fail("usage: xdotool_boards.py LOADCAL SEED_RECENT_FILE EXAMPLE.LDC [SHOTS]")
    loadcal, seed, example = sys.argv[1:4]
    shots = sys.argv[4] if len(sys.argv) == 5 else None
    with tempfile.TemporaryDirectory(prefix="loadcal-boards-") as scratch:
        program = x.private_program(loadcal, scratch)
        archive = os.path.join(scratch, "boards.LDC")
        shutil.copy2(example, archive)
        before = json.loads(x.run([program, "calc", archive, "--json"]))
        # A window tall enough for the example's first circuits, its boards
        # and its transformers.
        x.run([seed, os.path.join(scratch, "DQCal", "需要系数法负荷计算.idp"), archive,
               "宽=1560", "高=960", "左=0", "上=0", "配电箱表高=330", "变压器表高=110"])

        server, display = x.start_xvfb()
        env = x.desktop_env(scratch, display)
        window_proc = subprocess.Popen([program], env=env, stdout=subprocess.PIPE,
                                       stderr=subprocess.PIPE, text=True)
        main_title = "需要系数法负荷计算『%s』" % archive
        try:
            one.focus(env, main_title)
            screen = Screen(env)
            shot(env, shots, "1-opened.png")
            # 1. No recalculation offered: no box besides the window.
            if one.visible(env, "^loadcal$"):
                x.fail("opening the example offered a recalculation")
            circuits, boards, transformers = screen.rows
            if len(circuits) < 3 or len(boards) < 3 or len(transformers) < 3:
                x.fail("rows on screen: %d circuits, %d boards, %d transformers"
                       % (len(circuits), len(boards), len(transformers)))

            # 2. WL1: from circuit 1's power factor (left of the computed
            # cells) down to its row and left to its rated power, as the
            # arrow keys go; typing there replaces the 8.
            names = [c["circuitNo"] for c in before["loads"]]
            wl1 = names.index("WL1") + 1
            x.xdo(env, "mousemove", *screen.left_of_yellow(0, 1), "click", "1")
            x.xdo(env, "key", *(["Down"] * (wl1 - 1)), "Left", "Left", "Left")
            x.xdo(env, "type", "--delay", "20", "20")
            x.xdo(env, "key", "Return")
            time.sleep(0.5)
            shot(env, shots, "2-wl1-20kw.png")

            # 3. ALZ1's owner cell, right of its computed cells; the choice
            # list opens on its first board. ALZ1's list leaves ALZ1 out
            # (1AP-LD, 1AP-KT, 1AL, ...): 1AL is two lines down.
            boards_named = [b["name"] for b in before["boards"]]
            alz1 = boards_named.index("ALZ1") + 1
            x.xdo(env, "mousemove", *screen.right_of_yellow(1, alz1), "click", "1")
            time.sleep(1.0)
            x.xdo(env, "key", "Down", "Down", "space")
            time.sleep(0.3)
            shot(env, shots, "4-choice.png")
            x.xdo(env, "key", "Return")
            one.focus(env, "提示")
            time.sleep(0.3)
            shot(env, shots, "5-ring-refused.png")
            x.xdo(env, "key", "Return")
            # The title's [*] shows the modified document (a pattern: escaped).
            one.focus(env, (main_title + "*").replace(".", "\\.").replace("*", "\\*"))

            # 4. A new board on the board grid's entry row (Ctrl+End, Home:
            # the last row's first cell), then renamed.
            x.xdo(env, "mousemove", *screen.in_yellow(1, 1), "click", "1")
            x.xdo(env, "key", "ctrl+End", "Home")
            x.xdo(env, "type", "--delay", "20", "AL-NEW")
            x.xdo(env, "key", "Return", "Up")
            x.xdo(env, "type", "--delay", "20", "AL9")
            x.xdo(env, "key", "Return")
            time.sleep(0.3)
            shot(env, shots, "3-new-board.png")

            # 5. Undo the rename.
            x.xdo(env, "key", "ctrl+z")
            time.sleep(0.3)
            shot(env, shots, "6-undone.png")

            # 6. 插入 on the second board's row (Ctrl+Home, Down: its name
            # cell), typed over at once; save, leave.
            x.xdo(env, "mousemove", *screen.in_yellow(1, 1), "click", "1")
            x.xdo(env, "key", "ctrl+Home", "Down", "Home", "ctrl+plus")
            x.xdo(env, "type", "--delay", "20", "AP-X")
            x.xdo(env, "key", "Return")
            time.sleep(0.3)
            shot(env, shots, "7-inserted.png")

            # 7. Two lines copied from a spreadsheet, pasted on the load
            # grid's entry row (Ctrl+Home, then down past every circuit);
            # Ctrl+Z takes both away, Ctrl+Y brings both back.
            # (xclip stays to serve the clipboard until the X server ends.)
            subprocess.run(["xclip", "-selection", "clipboard", "-i"], env=env, check=True,
                           stderr=subprocess.DEVNULL,
                           timeout=x.TIMEOUT, input=PASTED.encode("utf-8"))
            x.xdo(env, "mousemove", *screen.in_yellow(0, 1), "click", "1")
            x.xdo(env, "key", "ctrl+Home", *(["Down"] * len(before["loads"])), "Home", "ctrl+v")
            time.sleep(0.5)
            shot(env, shots, "8-pasted.png")
            x.xdo(env, "key", "ctrl+z")
            time.sleep(0.3)
            x.xdo(env, "key", "ctrl+y")
            time.sleep(0.3)
            x.xdo(env, "key", "ctrl+s")
            time.sleep(0.5)
            x.xdo(env, "key", "Escape")
            x.wait_closed(window_proc)
        finally:
            x.stop(window_proc, server)

        saved_path = os.path.join(scratch, "saved.json")
        x.run([program, "convert", archive, saved_path])
        with open(saved_path, encoding="utf-8") as f:
            saved = json.load(f)
        recalculated = json.loads(x.run([program, "calc", archive, "--json"]))
        wl1_saved = [c for c in saved["loads"] if c["circuitNo"] == "WL1"][0]
        if wl1_saved["ratedPower"] != "20":
            x.fail("WL1 saved at %s kW, expected 20" % wl1_saved["ratedPower"])
        names = [b["name"] for b in saved["boards"]]
        if names[-1] != "AL-NEW" or "AL9" in names:
            x.fail("boards %s, expected AL-NEW last (its rename taken back)" % names[-3:])
        pasted = [(c["circuitNo"], c["equipName"], c["phase"], c["ratedPower"], c["calcP"])
                  for c in saved["loads"][len(before["loads"]):]]
        if pasted != [("WX9", "九层插座", "L2,N", "6", "3"), ("WX10", "十层插座", "L3,N", "4.5", "2.25")]:
            x.fail("the pasted lines were saved as %s" % pasted)
        inserted = saved["boards"][1]
        if names[:3] != [before["boards"][0]["name"], "AP-X", before["boards"][1]["name"]] or \
                (inserted["phase"], inserted["kp"], inserted["kq"], inserted["owner"]) != \
                ("L1,L2,L3,N", "0.9", "0.95", ""):
            x.fail("boards %s, the second %s: expected AP-X inserted with the defaults"
                   % (names[:3], inserted))
        alz1_saved = [b for b in saved["boards"] if b["name"] == "ALZ1"][0]
        if alz1_saved["owner"] != "1#变压器":
            x.fail("ALZ1's owners %r, expected 1#变压器 (the ring refused)" % alz1_saved["owner"])
        for key in ("boards", "transformers"):
            if saved[key] != recalculated[key]:
                for got, want in zip(saved[key], recalculated[key]):
                    if got != want:
                        x.fail("%s: the window saved %s, a whole recalculation gives %s"
                               % (key, got, want))
        for name in ("1AL", "ALZ1"):
            then = [b for b in before["boards"] if b["name"] == name][0]["calcP"]
            now = [b for b in saved["boards"] if b["name"] == name][0]["calcP"]
            if then == now:
                x.fail("%s's Pjs stayed %s after WL1 went to 20 kW" % (name, now))
        if saved["transformers"][0]["calcP"] == before["transformers"][0]["calcP"]:
            x.fail("1#变压器's Pc did not follow WL1")
    print("ok")


if __name__ == "__main__":
    main()
