#!/usr/bin/python3
"""The real calculation window under an X server of its own, driven with
xdotool as a person drives it, for the two ways work used to get lost:

  rename  renames transformer "1#TR" to "3#TR", clicks circuit 1's owner cell
          and confirms the owner list without changing it (Enter), saves and
          leaves; every circuit must still belong to "3#TR" in the archive.
  delete  selects one cell (circuit 2's power factor), presses Delete, saves
          and leaves; all four circuits must still be there, circuit 2 with
          its power factor cleared.

The archive is read back with `loadcal convert`. A screenshot of the window
before leaving is kept as SCREENSHOT when given.

usage: xdotool_one_truth.py LOADCAL SEED_RECENT_FILE rename|delete [SCREENSHOT]
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


def main():
    if len(sys.argv) not in (4, 5) or sys.argv[3] not in ("rename", "delete"):
        x.fail("usage: xdotool_one_truth.py LOADCAL SEED_RECENT_FILE rename|delete [SHOT]")
    loadcal, seed, scenario = sys.argv[1:4]
    shot_file = sys.argv[4] if len(sys.argv) == 5 else None
    with tempfile.TemporaryDirectory(prefix="loadcal-one-truth-") as scratch:
        os.mkdir(os.path.join(scratch, "bin"))
        program = os.path.join(scratch, "bin", "loadcal")
        try:
            os.link(loadcal, program)
        except OSError:
            shutil.copy2(loadcal, program)
        document = {
            "loads": [
                {"circuitNo": "WP%d" % i, "equipName": "水泵%d" % i, "phase": "L1,L2,L3,N",
                 "ratedPower": "10", "voltage": "0.38", "demandFactor": "0.8",
                 "powerFactor": "0.85", "transformer": "1#TR"} for i in range(1, 5)],
            "transformers": [
                {"name": name, "loadRate": "0.7", "kp": "0.9", "kq": "0.97", "alpha": "0.7",
                 "beta": "0.76", "cosAfter": "0.9"} for name in ("1#TR", "2#TR")],
        }
        source = os.path.join(scratch, "two.json")
        with open(source, "w", encoding="utf-8") as f:
            json.dump(document, f, ensure_ascii=False)
        archive = os.path.join(scratch, "two.LDC")
        x.run([program, "calc", source, "-o", archive])
        x.run([seed, os.path.join(scratch, "DQCal", "需要系数法负荷计算.idp"), archive])

        server, display = x.start_xvfb()
        runtime = os.path.join(scratch, "runtime")
        os.mkdir(runtime, 0o700)
        suppressions = os.path.join(os.path.dirname(os.path.abspath(__file__)),
                                    "lsan-desktop.supp")
        env = dict(os.environ, DISPLAY=display, XDG_RUNTIME_DIR=runtime,
                   LSAN_OPTIONS="suppressions=" + suppressions)
        env.pop("QT_QPA_PLATFORM", None)
        env.pop("WAYLAND_DISPLAY", None)
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

            if scenario == "rename":
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
            try:
                _, err = window_proc.communicate(timeout=x.TIMEOUT)
            except subprocess.TimeoutExpired:
                x.fail("the window did not close after Esc")
            if window_proc.returncode != 0:
                x.fail("loadcal exited with %d: %s" % (window_proc.returncode, err))
        finally:
            if window_proc.poll() is None:
                window_proc.kill()
                window_proc.wait()
            server.terminate()
            server.wait()

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
