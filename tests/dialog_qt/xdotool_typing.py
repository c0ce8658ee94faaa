#!/usr/bin/python3
"""The real calculation window under an X server of its own, driven as a person
drives it: click a cell, type at once (no pause between the click and the
keys), save with Ctrl+S, leave with Esc; then the saved archive is read back
with `loadcal convert` and the edited cells are checked.

The window opens an archive with two transformers ("1#TR", "2#TR") and four
circuits. The scenario clicks cells that are already the current cell after
coming back from the other grid, where a first key once went to the view's
keyboard search and the text landed in another row.

usage: xdotool_typing.py LOADCAL SEED_RECENT_FILE
Needs Xvfb, xdotool and ImageMagick's `import`. Every wait has a time limit.
"""
import json
import os
import shutil
import subprocess
import sys
import tempfile
import time

TIMEOUT = 60  # seconds for any one wait
YELLOW = (255, 255, 128)  # background of computed cells


def fail(message):
    print("FAIL: " + message, file=sys.stderr)
    sys.exit(1)


def run(args, env=None, timeout=TIMEOUT):
    result = subprocess.run(args, env=env, timeout=timeout, capture_output=True, text=True)
    if result.returncode != 0:
        fail("%s exited with %d: %s" % (" ".join(args), result.returncode, result.stderr))
    return result.stdout


def start_xvfb():
    """Xvfb on a free display number (it picks one and tells it on a pipe)."""
    read_end, write_end = os.pipe()
    server = subprocess.Popen(
        ["Xvfb", "-displayfd", str(write_end), "-screen", "0", "1600x1000x24", "-nolisten", "tcp"],
        pass_fds=(write_end,), stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    os.close(write_end)
    number = b""
    deadline = time.monotonic() + TIMEOUT
    with os.fdopen(read_end, "rb") as pipe:
        while not number.endswith(b"\n"):
            if time.monotonic() > deadline or server.poll() is not None:
                server.kill()
                fail("Xvfb did not start")
            chunk = pipe.read(1)
            if not chunk:
                server.kill()
                fail("Xvfb closed its display pipe")
            number += chunk
    return server, ":" + number.decode().strip()


def screenshot(env):
    """The root window as (width, height, rgb bytes)."""
    data = subprocess.run(["import", "-window", "root", "-depth", "8", "ppm:-"], env=env,
                          timeout=TIMEOUT, capture_output=True, check=True).stdout
    fields = []
    pos = 0
    while len(fields) < 4:  # P6, width, height, maximum
        while data[pos:pos + 1].isspace():
            pos += 1
        start = pos
        while not data[pos:pos + 1].isspace():
            pos += 1
        fields.append(data[start:pos])
    width, height = int(fields[1]), int(fields[2])
    return width, height, data[pos + 1:]


def yellow_rows(shot):
    """Bands of screen rows holding at least 30 pixels of computed-cell
    yellow: one band per grid row with computed cells (the grid lines part
    them). Each band is (top, bottom, leftmost yellow x)."""
    width, height, rgb = shot
    target = bytes(YELLOW)
    bands = []
    for y in range(height):
        line = rgb[y * width * 3:(y + 1) * width * 3]
        xs = [x for x in range(width) if line[x * 3:x * 3 + 3] == target]
        if len(xs) < 30:
            continue
        if bands and bands[-1][1] == y - 1:
            bands[-1][1] = y
            bands[-1][2] = min(bands[-1][2], xs[0])
        else:
            bands.append([y, y, xs[0]])
    return [tuple(b) for b in bands if b[1] - b[0] >= 8]


def find_cells(env, window):
    """Screen points in the cells the scenario clicks, found from the yellow
    computed columns once the window has painted them. The load grid shows
    four circuits, the entry row and the total row; the transformer grid two
    transformers and the entry row, below all of the load grid."""
    deadline = time.monotonic() + TIMEOUT
    while True:
        bands = yellow_rows(screenshot(env))
        # Transformer grid: the last three bands (rows 1, 2 and the entry row).
        if len(bands) >= 8:
            break
        if time.monotonic() > deadline:
            fail("the grids did not appear (%d yellow bands)" % len(bands))
        time.sleep(0.2)
    load, transformers = bands[:4], bands[-3:]

    def left_of(band, offset):
        # A point in the editable cell just left of the first computed cell.
        return band[2] - offset, (band[0] + band[1]) // 2

    return {
        "transformer 1 name": left_of(transformers[0], 20),
        "transformer 2 name": left_of(transformers[1], 20),
        "circuit 1 power factor": left_of(load[0], 20),
        "circuit 2 power factor": left_of(load[1], 20),
    }


def xdo(env, *args):
    run(["xdotool"] + [str(a) for a in args], env=env)


def click_and_type(env, point, text, *keys):
    """One xdotool run clicks and types, so that the text follows the click
    at once; the keys follow (xdotool's `type` takes the rest of its line)."""
    xdo(env, "mousemove", point[0], point[1], "click", "1", "type", "--delay", "1", text)
    if keys:
        xdo(env, "key", *keys)


def private_program(loadcal, scratch):
    """The program linked (or copied) into scratch/bin: it finds its settings
    in DQCal/ above its own folder, so the user's settings stay untouched."""
    os.mkdir(os.path.join(scratch, "bin"))
    program = os.path.join(scratch, "bin", "loadcal")
    try:
        os.link(loadcal, program)
    except OSError:
        shutil.copy2(loadcal, program)
    return program


def desktop_env(scratch, display, **extra):
    """The environment of a desktop session on the X server `display`: a
    private runtime folder, the desktop libraries' leaks suppressed, no
    offscreen or Wayland platform inherited from the test run."""
    runtime = os.path.join(scratch, "runtime")
    os.mkdir(runtime, 0o700)
    suppressions = os.path.join(os.path.dirname(os.path.abspath(__file__)),
                                "lsan-desktop.supp")
    env = dict(os.environ, DISPLAY=display, XDG_RUNTIME_DIR=runtime,
               LSAN_OPTIONS="suppressions=" + suppressions, **extra)
    env.pop("QT_QPA_PLATFORM", None)
    env.pop("WAYLAND_DISPLAY", None)
    return env


def two_transformer_archive(program, scratch):
    """scratch/two.LDC: four three-phase pumps of 10 kW under 1#TR, and 2#TR
    with nothing under it."""
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
    run([program, "calc", source, "-o", archive])
    return archive


def wait_closed(window_proc):
    """Waits for the window to close (after Esc) and fails unless it ended
    cleanly; gives back what it wrote (out, err)."""
    try:
        out, err = window_proc.communicate(timeout=TIMEOUT)
    except subprocess.TimeoutExpired:
        fail("the window did not close after Esc")
    if window_proc.returncode != 0:
        fail("loadcal exited with %d: %s" % (window_proc.returncode, err))
    return out, err


def stop(window_proc, server):
    """Ends the window, when it is still open, and the X server."""
    if window_proc.poll() is None:
        window_proc.kill()
        window_proc.wait()
    server.terminate()
    server.wait()


def main():
    if len(sys.argv) != 3:
        fail("usage: xdotool_typing.py LOADCAL SEED_RECENT_FILE")
    loadcal, seed = sys.argv[1], sys.argv[2]
    with tempfile.TemporaryDirectory(prefix="loadcal-xdotool-") as scratch:
        program = private_program(loadcal, scratch)
        archive = two_transformer_archive(program, scratch)
        run([seed, os.path.join(scratch, "DQCal", "需要系数法负荷计算.idp"), archive])

        server, display = start_xvfb()
        env = desktop_env(scratch, display)
        window_proc = subprocess.Popen([program], env=env, stdout=subprocess.PIPE,
                                       stderr=subprocess.PIPE, text=True)
        try:
            window = run(["xdotool", "search", "--sync", "--onlyvisible", "--name",
                          "需要系数法负荷计算"], env=env).split()[0]
            cells = find_cells(env, window)
            # Transformer 2 becomes the current cell; then the load grid; then
            # back to it, typing at once.
            xdo(env, "mousemove", *cells["transformer 2 name"], "click", "1")
            xdo(env, "mousemove", *cells["circuit 1 power factor"], "click", "1")
            click_and_type(env, cells["transformer 2 name"], "1#TX", "Return")
            # The same in the load grid, and the save follows the typing
            # without Enter: the open edit must reach the archive.
            xdo(env, "mousemove", *cells["circuit 2 power factor"], "click", "1")
            xdo(env, "mousemove", *cells["transformer 1 name"], "click", "1")
            click_and_type(env, cells["circuit 2 power factor"], "0.9", "ctrl+s", "Escape")
            out, _ = wait_closed(window_proc)
        finally:
            stop(window_proc, server)

        saved = os.path.join(scratch, "saved.json")
        run([program, "convert", archive, saved])
        with open(saved, encoding="utf-8") as f:
            result = json.load(f)
        names = [t["name"] for t in result["transformers"]]
        if names != ["1#TR", "1#TX"]:
            fail("transformer names %s, expected ['1#TR', '1#TX']" % names)
        owners = [c["transformer"] for c in result["loads"]]
        if owners != ["1#TR"] * 4:
            fail("owner lists %s changed" % owners)
        factors = [c["powerFactor"] for c in result["loads"]]
        if factors != ["0.85", "0.9", "0.85", "0.85"]:
            fail("power factors %s, expected circuit 2 alone at 0.9" % factors)
    print("ok")


if __name__ == "__main__":
    main()
