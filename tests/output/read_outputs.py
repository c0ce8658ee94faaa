"""Reads a drawing or a workbook written by loadcal with independent readers
(ezdxf, openpyxl) and prints what it finds as one JSON object on stdout.

    read_outputs.py dxf FILE
    read_outputs.py xlsx FILE
"""
import json
import re
import sys
import zipfile


def read_dxf(path):
    from ezdxf import recover

    doc, auditor = recover.readfile(path)
    audit = doc.audit()
    header = {name: doc.header.get(name) for name in
              ("$ACADVER", "$DWGCODEPAGE", "$CLAYER", "$TEXTSTYLE", "$OSMODE")}
    layers = [{"name": layer.dxf.name, "description": layer.description}
              for layer in doc.layers]
    styles = [{"name": s.dxf.name, "font": s.dxf.font, "bigfont": s.dxf.bigfont,
               "width": s.dxf.width, "height": s.dxf.height} for s in doc.styles]
    import ezdxf
    from ezdxf.tools.text_size import text_size

    # ezdxf's own measure of a text, without font files (the SHX fonts are
    # the CAD application's): every character as wide as the text is high,
    # times the width factor.
    ezdxf.options.use_matplotlib = False
    lines, texts, others, polylines = [], [], [], []
    for e in doc.modelspace():
        kind = e.dxftype()
        if kind == "LWPOLYLINE":
            polylines.append({"points": [[p[0], p[1]] for p in e.get_points("xy")],
                              "width": e.dxf.const_width, "closed": e.closed,
                              "layer": e.dxf.layer})
        elif kind == "LINE":
            lines.append([*e.dxf.start, *e.dxf.end, e.dxf.layer])
        elif kind == "TEXT":
            p = e.dxf.align_point
            texts.append({"x": p[0], "y": p[1], "z": p[2], "height": e.dxf.height,
                          "rotation": e.dxf.rotation, "width": e.dxf.width,
                          "halign": e.dxf.halign, "valign": e.dxf.valign,
                          "style": e.dxf.style, "layer": e.dxf.layer, "text": e.dxf.text,
                          "measured": text_size(e).width})
        else:
            others.append(kind)
    return {"recover_errors": len(auditor.errors), "audit_errors": len(audit.errors),
            "audit_messages": [str(m.message) for m in audit.errors][:5],
            "header": header, "layers": layers, "styles": styles,
            "lines": lines, "texts": texts, "others": others, "polylines": polylines,
            "cells": cells_of(lines, texts)}


def cells_of(lines, texts):
    """For each text, the cell of the drawn grid around its insertion point:
    the nearest vertical lines left and right of it that pass its height, and
    the nearest horizontal lines above and below that pass its place."""
    verticals = [(l[0], min(l[1], l[4]), max(l[1], l[4])) for l in lines if l[0] == l[3]]
    horizontals = [(l[1], min(l[0], l[3]), max(l[0], l[3])) for l in lines if l[1] == l[4]]
    cells = []
    for t in texts:
        x, y = t["x"], t["y"]
        left = max((v[0] for v in verticals if v[0] <= x and v[1] <= y <= v[2]), default=None)
        right = min((v[0] for v in verticals if v[0] > x and v[1] <= y <= v[2]), default=None)
        top = min((h[0] for h in horizontals if h[0] > y and h[1] <= x <= h[2]), default=None)
        bottom = max((h[0] for h in horizontals if h[0] <= y and h[1] <= x <= h[2]), default=None)
        cells.append({"left": left, "right": right, "top": top, "bottom": bottom})
    return cells


def read_xlsx(path):
    import openpyxl

    wb = openpyxl.load_workbook(path)
    ws = wb.worksheets[0]
    cells = []
    for row in ws.iter_rows():
        for c in row:
            if c.value is None and not c.has_style:
                continue
            cells.append({"row": c.row, "column": c.column, "value": c.value,
                          "type": c.data_type, "horizontal": c.alignment.horizontal,
                          "vertical": c.alignment.vertical, "font": c.font.name,
                          "size": c.font.sz, "bold": bool(c.font.b),
                          "number_format": c.number_format, "wrap": bool(c.alignment.wrap_text),
                          "borders": [side.style for side in (c.border.left, c.border.right,
                                                              c.border.top, c.border.bottom)]})
    widths = [key for key, dim in ws.column_dimensions.items() if dim.customWidth]
    width_of = {key: dim.width for key, dim in ws.column_dimensions.items() if dim.customWidth}
    setup = ws.page_setup
    page = {"orientation": setup.orientation, "paper": setup.paperSize,
            # an absent fitToWidth or fitToHeight is 1 (the file format's default)
            "fit_width": 1 if setup.fitToWidth is None else setup.fitToWidth,
            "fit_height": 1 if setup.fitToHeight is None else setup.fitToHeight,
            "fit_to_page": bool(ws.sheet_properties.pageSetUpPr.fitToPage)
            if ws.sheet_properties.pageSetUpPr is not None else False,
            "title_rows": ws.print_title_rows, "print_area": ws.print_area,
            "freeze": ws.freeze_panes}
    heights = {str(k): d.height for k, d in ws.row_dimensions.items() if d.height}
    with zipfile.ZipFile(path) as z:
        sheet = z.read("xl/worksheets/sheet1.xml").decode("utf-8")
    ignored = re.findall(r'<ignoredError sqref="([^"]*)" numberStoredAsText="1"', sheet)
    return {"sheets": wb.sheetnames, "cells": cells, "custom_widths": widths,
            "widths": width_of, "page": page, "heights": heights,
            "number_as_text_ignored": ignored}


def main():
    kind, path = sys.argv[1], sys.argv[2]
    result = read_dxf(path) if kind == "dxf" else read_xlsx(path)
    json.dump(result, sys.stdout, ensure_ascii=False)


if __name__ == "__main__":
    main()
