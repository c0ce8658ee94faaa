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
    lines, texts, others = [], [], []
    for e in doc.modelspace():
        kind = e.dxftype()
        if kind == "LINE":
            lines.append([*e.dxf.start, *e.dxf.end, e.dxf.layer])
        elif kind == "TEXT":
            p = e.dxf.align_point
            texts.append({"x": p[0], "y": p[1], "z": p[2], "height": e.dxf.height,
                          "rotation": e.dxf.rotation, "width": e.dxf.width,
                          "halign": e.dxf.halign, "valign": e.dxf.valign,
                          "style": e.dxf.style, "layer": e.dxf.layer, "text": e.dxf.text})
        else:
            others.append(kind)
    return {"recover_errors": len(auditor.errors), "audit_errors": len(audit.errors),
            "audit_messages": [str(m.message) for m in audit.errors][:5],
            "header": header, "layers": layers, "styles": styles,
            "lines": lines, "texts": texts, "others": others}


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
