#!/usr/bin/python3
"""Times loadcal's workbook and drawing writers against openpyxl and ezdxf
writing the same content, in one run.

    /usr/bin/python3 bench/bench_output.py [BENCH_OUTPUT_BINARY] [REPEAT]

BENCH_OUTPUT_BINARY defaults to build/bench/bench_output (a release build).
It is run with --export into a temporary folder: it writes the table texts of
10,000 circuits and 100 transformers (document.json), its workbook and its
drawing, and reports its best times. This script then writes the same cells
(values as text, centred both ways) with openpyxl and the same lines and
middle-centred texts (layer CALCULATIONS, style LOADCALSTYLE) with ezdxf, and
prints all times and the ratios.
"""
import json
import os
import subprocess
import sys
import tempfile
import time

import ezdxf
import openpyxl
from ezdxf.enums import TextEntityAlignment
from openpyxl.styles import Alignment

ROW, COLUMN, TEXT_HEIGHT = 10.0, 30.0, 3.5


def best_of(repeat, action):
    best = float("inf")
    for _ in range(repeat):
        start = time.perf_counter()
        action()
        best = min(best, time.perf_counter() - start)
    return best


def write_openpyxl(doc, path):
    wb = openpyxl.Workbook()
    ws = wb.active
    centre = Alignment(horizontal="center", vertical="center")

    def cell(row, column, value):
        c = ws.cell(row=row, column=column)
        c.alignment = centre
        if value:
            c.value = value

    n = len(doc["loads"])
    for i, title in enumerate(doc["load_titles"]):
        cell(1, i + 1, title)
    for k, load in enumerate(doc["loads"]):
        for i, text in enumerate(load):
            cell(k + 2, i + 1, text)
    for i, text in enumerate(doc["total_row"]):
        cell(n + 3, i + 1, text)
    for i, title in enumerate(doc["transformer_titles"]):
        cell(n + 5, i + 1, title)
    for m, transformer in enumerate(doc["transformers"]):
        for i, text in enumerate(transformer):
            cell(n + 6 + m, i + 1, text)
    wb.save(path)


def write_ezdxf(doc, path):
    dxf = ezdxf.new("R2000")
    dxf.header["$DWGCODEPAGE"] = "ANSI_936"
    layer = dxf.layers.add("CALCULATIONS")
    layer.description = "ETABLE"
    dxf.styles.add("LOADCALSTYLE", font="romans6.shx").dxf.bigfont = "hztxt.shx"
    dxf.styles.get("LOADCALSTYLE").dxf.width = 0.7
    msp = dxf.modelspace()
    line_attribs = {"layer": "CALCULATIONS"}
    text_attribs = {"layer": "CALCULATIONS", "style": "LOADCALSTYLE", "height": TEXT_HEIGHT,
                    "width": 0.7}

    def line(a, b):
        msp.add_line(a, b, dxfattribs=line_attribs)

    def text(x, y, value):
        if value:
            msp.add_text(value, dxfattribs=text_attribs).set_placement(
                (x, y), align=TextEntityAlignment.MIDDLE_CENTER)

    def header(y, titles, bottom_last):
        width = COLUMN * len(titles)
        line((0, y), (width, y))
        line((0, y), (0, y - ROW))
        if not bottom_last:
            line((0, y - ROW), (width, y - ROW))
        for i, title in enumerate(titles):
            text(COLUMN * i + 15, y - 5, title)
            line((COLUMN * (i + 1), y), (COLUMN * (i + 1), y - ROW))
        if bottom_last:
            line((0, y - ROW), (width, y - ROW))

    def body(y, texts, columns):
        line((0, y), (0, y - ROW))
        for i in range(columns):
            text(COLUMN * i + 15, y - 5, texts[i] if texts else None)
            line((COLUMN * (i + 1), y), (COLUMN * (i + 1), y - ROW))
        line((0, y - ROW), (COLUMN * columns, y - ROW))

    y = 0.0
    header(y, doc["load_titles"], False)
    for load in doc["loads"]:
        y -= ROW
        body(y, load, 13)
    y -= ROW
    body(y, None, 13)
    y -= ROW
    body(y, doc["total_row"], 13)
    y -= 2 * ROW
    header(y, doc["transformer_titles"], True)
    for transformer in doc["transformers"]:
        y -= ROW
        body(y, transformer, 16)
    dxf.saveas(path)


def main():
    binary = sys.argv[1] if len(sys.argv) > 1 else "build/bench/bench_output"
    repeat = int(sys.argv[2]) if len(sys.argv) > 2 else 3
    with tempfile.TemporaryDirectory(prefix="loadcal-bench-") as folder:
        ours = json.loads(subprocess.run([binary, "--export", folder, str(repeat)], check=True,
                                         capture_output=True, text=True).stdout)
        with open(os.path.join(folder, "document.json"), encoding="utf-8") as f:
            doc = json.load(f)
        openpyxl_seconds = best_of(max(1, repeat - 1),
                                   lambda: write_openpyxl(doc, os.path.join(folder, "o.xlsx")))
        ezdxf_seconds = best_of(max(1, repeat - 1),
                                lambda: write_ezdxf(doc, os.path.join(folder, "e.dxf")))
        sizes = {name: os.path.getsize(os.path.join(folder, name))
                 for name in ("loadcal.xlsx", "o.xlsx", "loadcal.dxf", "e.dxf")}
    print(f"{ours['circuits']} circuits, {ours['transformers']} transformers; best of {repeat}")
    print(f"workbook  loadcal {ours['xlsx_seconds']:8.3f} s   openpyxl {openpyxl_seconds:8.3f} s"
          f"   ratio {openpyxl_seconds / ours['xlsx_seconds']:6.1f} x"
          f"   ({sizes['loadcal.xlsx']} / {sizes['o.xlsx']} bytes)")
    print(f"drawing   loadcal {ours['dxf_seconds']:8.3f} s   ezdxf    {ezdxf_seconds:8.3f} s"
          f"   ratio {ezdxf_seconds / ours['dxf_seconds']:6.1f} x"
          f"   ({sizes['loadcal.dxf']} / {sizes['e.dxf']} bytes)")


if __name__ == "__main__":
    main()
