#include "output/DrawingRun.h"

#include <optional>
#include <string>

#include "model/Columns.h"
#include "output/TableLayout.h"

namespace loadcal {
namespace {

/// Sends the rows of both tables to a host at one scale. It keeps one text and
/// one line command whose fixed answers are built once; each primitive only
/// replaces the points and the text before sending.
class CTableDrawer {
public:
    CTableDrawer(CadHost& host, double scale)
        : m_host(host),
          m_scale(scale),
          m_text{std::wstring(L"_.TEXT"), std::wstring(L"J"), std::wstring(L"MC"), CadPoint{},
                 kTextHeight * scale,     std::wstring(L"0"), std::wstring()},
          m_line{std::wstring(L"_.LINE"), CadPoint{}, CadPoint{}, std::wstring()}
    {}

    /// Header row: top line, left border, then (load table) the bottom line
    /// before the cells or (transformer table) after them.
    template <size_t N>
    void HeaderRow(CadPoint o, const std::array<TableColumn, N>& columns, bool bottomLast)
    {
        const double width = kColumnWidth * m_scale * static_cast<double>(N);
        Line(o, Offset(o, width, 0));
        Line(o, Offset(o, 0, -kRowHeight * m_scale));
        if (!bottomLast) {
            BottomLine(o, width);
        }
        for (size_t i = 0; i < N; ++i) {
            Text(CellCentre(o, i), columns[i].title);
            RightBorder(o, i);
        }
        if (bottomLast) {
            BottomLine(o, width);
        }
    }

    /// Data, blank and total rows: left border, each cell's text (when it has
    /// one) and right border, then the bottom line. No top line: the row
    /// above supplies it.
    template <size_t N, class CellText>
    void BodyRow(CadPoint o, CellText&& cellText)
    {
        Line(o, Offset(o, 0, -kRowHeight * m_scale));
        for (size_t i = 0; i < N; ++i) {
            if (const std::optional<std::wstring_view> text = cellText(i)) {
                Text(CellCentre(o, i), *text);
            }
            RightBorder(o, i);
        }
        BottomLine(o, kColumnWidth * m_scale * static_cast<double>(N));
    }

    double RowStep() const { return kRowHeight * m_scale; }

private:
    static CadPoint Offset(CadPoint p, double dx, double dy) { return {p.x + dx, p.y + dy, p.z}; }

    CadPoint CellCentre(CadPoint o, size_t column) const
    {
        return Offset(o, kColumnWidth * m_scale * static_cast<double>(column) + 15.0 * m_scale,
                      -5.0 * m_scale);
    }

    void RightBorder(CadPoint o, size_t column)
    {
        const CadPoint top = Offset(o, kColumnWidth * m_scale * static_cast<double>(column + 1), 0);
        Line(top, Offset(top, 0, -kRowHeight * m_scale));
    }

    void BottomLine(CadPoint o, double width)
    {
        const CadPoint left = Offset(o, 0, -kRowHeight * m_scale);
        Line(left, Offset(left, width, 0));
    }

    void Text(CadPoint centre, std::wstring_view text)
    {
        m_text[3] = centre;
        std::get<std::wstring>(m_text[6]).assign(text);
        m_host.acedCommand(m_text);
    }

    void Line(CadPoint from, CadPoint to)
    {
        m_line[1] = from;
        m_line[2] = to;
        m_host.acedCommand(m_line);
    }

    CadHost& m_host;
    double m_scale;
    CadCommand m_text;
    CadCommand m_line;
};

void RestoreLayerAndStyle(CadHost& host, const std::wstring& layer, const std::wstring& style)
{
    host.acedCommand({std::wstring(L"_.LAYER"), std::wstring(L"S"), layer, std::wstring()});
    host.SetTextStyle(style);
}

}  // namespace

bool DrawCalculationTable(CadHost& host, const CLoadArray& loads,
                          const CTransformerArray& transformers, const SummaryTotals& totals)
{
    std::optional<short> osmode;
    if (const auto value = host.acedGetVar(L"OSMODE")) {
        if (const short* s = std::get_if<short>(&*value)) {
            osmode = *s;
        }
    }
    host.acedSetVar(L"OSMODE", CadValue(short{0}));

    const double scale = host.GetDQTzbl();

    std::wstring layer;
    if (const auto value = host.acedGetVar(L"CLAYER")) {
        if (const std::wstring* name = std::get_if<std::wstring>(&*value)) {
            layer = *name;
        }
    }
    const std::wstring tableLayer(kTableLayer);
    const std::wstring tableLayerDescription(kTableLayerDescription);
    host.SetToCurrentLayer(tableLayer.c_str(), tableLayerDescription.c_str(), nullptr, nullptr);

    const std::wstring style = host.GetTextStyle();
    host.acedCommand({std::wstring(L"_.STYLE"), std::wstring(kTableStyle),
                      std::wstring(kTableStyleFonts), std::wstring(),
                      std::wstring(kTableStyleWidth), std::wstring(), std::wstring(),
                      std::wstring(), std::wstring()});

    const std::optional<CadPoint> base = host.acedGetPoint(std::wstring(kBasePointPrompt));
    if (!base) {
        RestoreLayerAndStyle(host, layer, style);
        return false;
    }

    CTableDrawer draw(host, scale);
    CadPoint o = *base;
    draw.HeaderRow(o, kLoadColumns, false);
    o.y -= draw.RowStep();
    for (const CLoadCalData& load : loads) {
        draw.BodyRow<kLoadColumns.size()>(o, [&](size_t i) {
            return std::optional<std::wstring_view>(load.FieldAt(kLoadColumns[i].field));
        });
        o.y -= draw.RowStep();
    }
    draw.BodyRow<kLoadColumns.size()>(o, [](size_t) { return std::optional<std::wstring_view>(); });
    o.y -= draw.RowStep();
    const auto totalCells = TotalRowCells(totals);
    draw.BodyRow<kLoadColumns.size()>(o, [&](size_t i) { return totalCells[i]; });
    o.y -= draw.RowStep();
    o.y -= draw.RowStep();
    draw.HeaderRow(o, kTransformerColumns, true);
    o.y -= draw.RowStep();
    for (const CTransformerCalData& transformer : transformers) {
        draw.BodyRow<kTransformerColumns.size()>(o, [&](size_t i) {
            return std::optional<std::wstring_view>(
                transformer.FieldAt(kTransformerColumns[i].field));
        });
        o.y -= draw.RowStep();
    }

    RestoreLayerAndStyle(host, layer, style);
    if (osmode) {
        host.acedSetVar(L"OSMODE", CadValue(*osmode));
    }
    return true;
}

}  // namespace loadcal
