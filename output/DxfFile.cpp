#include "output/DxfFile.h"

#include <dl_dxf.h>
#include <dl_writer_ascii.h>

#include <charconv>
#include <cmath>
#include <numbers>

#include "output/OutputFile.h"

namespace loadcal {
namespace {

/// dxflib's writer with the file left out: every group goes into a string.
/// dxflib's DL_Dxf::write* functions take a DL_WriterA, which writes to a
/// file of its own; this one derives from it with an empty file name (the
/// stream is never opened and never used) and overrides the four group
/// writers, so the text can be placed atomically and write errors are seen.
class CDxfBuffer final : public DL_WriterA {
public:
    explicit CDxfBuffer(std::string& out) : DL_WriterA("", DL_VERSION_2000), m_out(out) {}

    void dxfReal(int gc, double value) const override
    {
        Code(gc);
        char buffer[400];
        const auto result = std::to_chars(buffer, buffer + sizeof buffer, value == 0 ? 0.0 : value,
                                          std::chars_format::fixed);
        const std::string_view text(buffer, static_cast<size_t>(result.ptr - buffer));
        m_out += text;
        if (text.find('.') == std::string_view::npos) {
            m_out += ".0";
        }
        m_out += '\n';
    }

    void dxfInt(int gc, int value) const override
    {
        Code(gc);
        char buffer[16];
        const auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
        m_out.append(buffer, result.ptr);
        m_out += '\n';
    }

    void dxfHex(int gc, int value) const override
    {
        Code(gc);
        char buffer[16];
        auto result =
            std::to_chars(buffer, buffer + sizeof buffer, static_cast<unsigned>(value), 16);
        for (char* p = buffer; p != result.ptr; ++p) {
            if (*p >= 'a' && *p <= 'f') {
                *p = static_cast<char>(*p - 'a' + 'A');
            }
        }
        m_out.append(buffer, result.ptr);
        m_out += '\n';
    }

    void dxfString(int gc, const char* value) const override
    {
        Code(gc);
        m_out += value;
        m_out += '\n';
    }

    void dxfString(int gc, const std::string& value) const override
    {
        Code(gc);
        m_out += value;
        m_out += '\n';
    }

private:
    /// The group code right-aligned in three columns, as DXF writers do.
    void Code(int gc) const
    {
        char buffer[16];
        const auto result = std::to_chars(buffer, buffer + sizeof buffer, gc);
        const auto length = result.ptr - buffer;
        if (length < 3) {
            m_out.append(static_cast<size_t>(3 - length), ' ');
        }
        m_out.append(buffer, result.ptr);
        m_out += '\n';
    }

    std::string& m_out;
};

constexpr const char* kLayerDescriptionApp = "AcAecLayerStandard";

void WriteHeader(const CDxfBuffer& dw, const CDrawing& drawing, unsigned long handleSeed)
{
    dw.sectionHeader();
    dw.dxfString(9, "$ACADVER");
    dw.dxfString(1, "AC1015");
    dw.dxfString(9, "$DWGCODEPAGE");
    dw.dxfString(3, "ANSI_936");
    dw.dxfString(9, "$HANDSEED");
    dw.dxfHex(5, static_cast<int>(handleSeed));
    dw.dxfString(9, "$CLAYER");
    dw.dxfString(8, DxfText(drawing.CurrentLayer().name));
    dw.dxfString(9, "$TEXTSTYLE");
    dw.dxfString(7, DxfText(drawing.CurrentStyle().name));
    dw.dxfString(9, "$TEXTSIZE");
    dw.dxfReal(40, drawing.TextSize());
    dw.dxfString(9, "$OSMODE");
    dw.dxfInt(70, drawing.Osmode());
    dw.sectionEnd();
}

/// dxflib writes empty font codes into an R2000 STYLE record; this one is
/// written group by group instead.
void WriteStyle(const CDxfBuffer& dw, const CadTextStyle& style, double lastHeight)
{
    dw.dxfString(0, "STYLE");
    dw.handle();
    dw.dxfString(100, "AcDbSymbolTableRecord");
    dw.dxfString(100, "AcDbTextStyleTableRecord");
    dw.dxfString(2, DxfText(style.name));
    dw.dxfInt(70, style.vertical ? 4 : 0);
    dw.dxfReal(40, style.height);
    dw.dxfReal(41, style.widthFactor);
    dw.dxfReal(50, style.obliqueAngle);
    dw.dxfInt(71, (style.backwards ? 2 : 0) | (style.upsideDown ? 4 : 0));
    dw.dxfReal(42, style.height > 0 ? style.height : lastHeight);
    dw.dxfString(3, DxfText(style.font));
    dw.dxfString(4, DxfText(style.bigFont));
}

void WriteTables(DL_Dxf& dxf, CDxfBuffer& dw, const CDrawing& drawing)
{
    dw.sectionTables();
    dxf.writeVPort(dw);

    dw.tableLinetypes(3);
    dxf.writeLinetype(dw, DL_LinetypeData("BYBLOCK", "", 0, 0, 0.0));
    dxf.writeLinetype(dw, DL_LinetypeData("BYLAYER", "", 0, 0, 0.0));
    dxf.writeLinetype(dw, DL_LinetypeData("CONTINUOUS", "Solid line", 0, 0, 0.0));
    dw.tableEnd();

    dw.tableLayers(static_cast<int>(drawing.Layers().size()));
    for (const CadLayer& layer : drawing.Layers()) {
        dxf.writeLayer(dw, DL_LayerData(DxfText(layer.name), 0),
                       DL_Attributes(std::string(), 7, -1, -3, "CONTINUOUS"));
        if (!layer.description.empty()) {
            dw.dxfString(1001, kLayerDescriptionApp);
            dw.dxfString(1000, "");
            dw.dxfString(1000, DxfText(layer.description));
        }
    }
    dw.tableEnd();

    dw.tableStyle(static_cast<int>(drawing.Styles().size()));
    for (const CadTextStyle& style : drawing.Styles()) {
        WriteStyle(dw, style, drawing.TextSize());
    }
    dw.tableEnd();

    dxf.writeView(dw);
    dxf.writeUcs(dw);

    dw.tableAppid(2);
    dxf.writeAppid(dw, "ACAD");
    dxf.writeAppid(dw, kLayerDescriptionApp);
    dw.tableEnd();

    dxf.writeDimStyle(dw, 1, 1, 1, 1, 1);

    dxf.writeBlockRecord(dw);
    dw.tableEnd();
    dw.sectionEnd();
}

void WriteBlocks(DL_Dxf& dxf, CDxfBuffer& dw)
{
    dw.sectionBlocks();
    for (const char* name : {"*Model_Space", "*Paper_Space", "*Paper_Space0"}) {
        dxf.writeBlock(dw, DL_BlockData(name, 0, 0.0, 0.0, 0.0));
        dxf.writeEndBlock(dw, name);
    }
    dw.sectionEnd();
}

void WriteEntities(DL_Dxf& dxf, CDxfBuffer& dw, const CDrawing& drawing)
{
    std::vector<DL_Attributes> layers;
    for (const CadLayer& layer : drawing.Layers()) {
        layers.emplace_back(DxfText(layer.name), 256, -1, -1, "BYLAYER");
    }
    std::vector<std::string> styles;
    for (const CadTextStyle& style : drawing.Styles()) {
        styles.push_back(DxfText(style.name));
    }

    dw.sectionEntities();
    for (const CadLine& line : drawing.Lines()) {
        dxf.writeLine(dw,
                      DL_LineData(line.start.x, line.start.y, line.start.z, line.end.x, line.end.y,
                                  line.end.z),
                      layers[static_cast<size_t>(line.layer)]);
    }
    for (const CadPolyline& polyline : drawing.Polylines()) {
        // Written group by group: dxflib's polyline has no constant width.
        dw.dxfString(0, "LWPOLYLINE");
        dw.handle();
        dw.dxfString(100, "AcDbEntity");
        dw.dxfString(8, DxfText(drawing.Layers()[static_cast<size_t>(polyline.layer)].name));
        dw.dxfString(100, "AcDbPolyline");
        dw.dxfInt(90, static_cast<int>(polyline.points.size()));
        dw.dxfInt(70, polyline.closed ? 1 : 0);
        dw.dxfReal(43, polyline.width);
        if (polyline.points.front().z != 0) {
            dw.dxfReal(38, polyline.points.front().z);
        }
        for (const CadPoint& p : polyline.points) {
            dw.dxfReal(10, p.x);
            dw.dxfReal(20, p.y);
        }
    }
    for (const CadText& text : drawing.Texts()) {
        const CadTextStyle& style = drawing.Styles()[static_cast<size_t>(text.style)];
        const int flags = (style.backwards ? 2 : 0) | (style.upsideDown ? 4 : 0);
        const CadPoint& p = text.position;
        dxf.writeText(dw,
                      DL_TextData(p.x, p.y, p.z, p.x, p.y, p.z, text.height, text.widthFactor,
                                  flags, text.horizontal, text.vertical, DxfText(text.text),
                                  styles[static_cast<size_t>(text.style)],
                                  text.rotation * std::numbers::pi / 180.0),
                      layers[static_cast<size_t>(text.layer)]);
    }
    dw.sectionEnd();
}

}  // namespace

std::string DxfText(std::wstring_view text)
{
    static constexpr char kHex[] = "0123456789ABCDEF";
    std::string out;
    out.reserve(text.size());
    const auto escape = [&out](unsigned unit) {
        out += "\\U+";
        for (int shift = 12; shift >= 0; shift -= 4) {
            out += kHex[(unit >> shift) & 0xF];
        }
    };
    for (const wchar_t wc : text) {
        const auto c = static_cast<char32_t>(wc);
        if (c >= 0x20 && c < 0x7F && c != U'\\') {
            out += static_cast<char>(c);
        } else if (c >= 0x10000 && c <= 0x10FFFF) {
            escape(0xD800 + ((c - 0x10000) >> 10));
            escape(0xDC00 + ((c - 0x10000) & 0x3FF));
        } else {
            escape(c > 0x10FFFF ? 0xFFFD : static_cast<unsigned>(c));
        }
    }
    return out;
}

std::string DrawingToDxf(const CDrawing& drawing)
{
    std::string body;
    body.reserve(224 * (drawing.Lines().size() + drawing.Texts().size()) + 16384);
    DL_Dxf dxf;
    CDxfBuffer dw(body);
    WriteTables(dxf, dw, drawing);
    WriteBlocks(dxf, dw);
    WriteEntities(dxf, dw, drawing);
    dxf.writeObjects(dw);
    dxf.writeObjectsEnd(dw);
    dw.dxfEOF();

    std::string file;
    file.reserve(body.size() + 512);
    CDxfBuffer header(file);
    WriteHeader(header, drawing, dw.getNextHandle());
    file += body;
    return file;
}

void SaveDrawing(const CDrawing& drawing, const std::filesystem::path& path, bool replace)
{
    WriteOutputFile(path, DrawingToDxf(drawing), replace);
}

}  // namespace loadcal
