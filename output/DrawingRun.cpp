#include "output/DrawingRun.h"

#include <algorithm>
#include <optional>
#include <string>
#include <vector>

#include "model/Columns.h"
#include "model/Numeric.h"
#include "output/Figures.h"
#include "output/TableLayout.h"

namespace loadcal {
namespace {

/// The width factor the table's style gives its texts (kTableStyleWidth).
constexpr double kStyleWidthFactor = 0.7;

/// Advance widths of the roman simplex glyphs wider than their cap height,
/// in its units (cap height 21).
double SimplexAdvance(wchar_t c)
{
    switch (c) {
        case L'm':
            return 30;
        case L'+':
        case L'-':
        case L'=':
        case L'&':
            return 26;
        case L'@':
            return 27;
        case L'M':
        case L'W':
        case L'%':
        case L'<':
        case L'>':
        case L'~':
            return 24;
        case L'w':
            return 22;
        default:
            return 21;
    }
}

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

    /// Header row of a table's titles: top line, left border, then (load
    /// table) the bottom line before the cells or (transformer table) after them.
    void HeaderRow(CadPoint o, const std::vector<std::wstring_view>& titles, bool bottomLast)
    {
        const double width = kColumnWidth * m_scale * static_cast<double>(titles.size());
        Line(o, Offset(o, width, 0));
        Line(o, Offset(o, 0, -kRowHeight * m_scale));
        if (!bottomLast) {
            BottomLine(o, width);
        }
        for (size_t i = 0; i < titles.size(); ++i) {
            Text(CellCentre(o, i), titles[i]);
            RightBorder(o, i);
        }
        if (bottomLast) {
            BottomLine(o, width);
        }
    }

    /// Data, blank and total rows of n cells: left border, each cell's text
    /// (when it has one) and right border, then the bottom line. No top
    /// line: the row above supplies it.
    template <class CellText>
    void BodyRow(CadPoint o, size_t n, CellText&& cellText)
    {
        Line(o, Offset(o, 0, -kRowHeight * m_scale));
        for (size_t i = 0; i < n; ++i) {
            if (const std::optional<std::wstring_view> text = cellText(i)) {
                Text(CellCentre(o, i), *text);
            }
            RightBorder(o, i);
        }
        BottomLine(o, kColumnWidth * m_scale * static_cast<double>(n));
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
        TextIn(centre, text, kTextHeight, (kColumnWidth - 2 * kCellMargin) * m_scale, L"MC");
    }

public:
    /// A text of height (at scale 1) at a point with a justification, its
    /// width factor narrowed when it would be wider than room.
    void TextIn(CadPoint at, std::wstring_view text, double height, double room,
                std::wstring_view justification)
    {
        m_text[2] = std::wstring(justification);
        m_text[3] = at;
        m_text[4] = height * m_scale;
        std::get<std::wstring>(m_text[6]).assign(text);
        m_host.acedCommand(m_text);
        const double width = EstimatedTextWidth(text, height * m_scale, kStyleWidthFactor);
        if (width > room) {
            m_host.SetLastTextWidthFactor(kStyleWidthFactor * room / width);
        }
    }

    /// The heavy frame through the corners.
    void Frame(CadPoint topLeft, CadPoint bottomRight)
    {
        const std::wstring width = FormatG(kFrameWidth * m_scale);
        m_host.acedCommand({std::wstring(L"_.PLINE"), topLeft, std::wstring(L"W"), width, width,
                            CadPoint{bottomRight.x, topLeft.y, topLeft.z}, bottomRight,
                            CadPoint{topLeft.x, bottomRight.y, topLeft.z}, std::wstring(L"C")});
    }

private:
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

/// A table's titles: its own columns', then those of the columns beyond.
template <size_t N, size_t M>
std::vector<std::wstring_view> Titles(const std::array<TableColumn, N>& columns,
                                      const std::array<TableColumn, M>& extra, size_t firstExtra,
                                      size_t extraCount)
{
    std::vector<std::wstring_view> titles;
    for (const TableColumn& c : columns) {
        titles.push_back(c.title);
    }
    for (size_t k = 0; k < extraCount; ++k) {
        titles.push_back(extra[firstExtra + k].title);
    }
    return titles;
}

// The fire columns of the drawing are the command line's fire tables less
// their leading name (and capacity) columns, rounded as the workbook's.
static_assert(kTransformerFireColumns.size() == 2 + kIssuedTransformerFireColumns.size());
static_assert(kBoardFireColumns.size() == 1 + kIssuedBoardFireColumns.size());
constexpr bool SameFireFields()
{
    for (size_t k = 0; k < kIssuedTransformerFireColumns.size(); ++k) {
        if (kTransformerFireColumns[k + 2].field != kIssuedTransformerFireColumns[k].field) {
            return false;
        }
    }
    for (size_t k = 0; k < kIssuedBoardFireColumns.size(); ++k) {
        if (kBoardFireColumns[k + 1].field != kIssuedBoardFireColumns[k].field) {
            return false;
        }
    }
    return true;
}
static_assert(SameFireFields());

void RestoreLayerAndStyle(CadHost& host, const std::wstring& layer, const std::wstring& style)
{
    host.acedCommand({std::wstring(L"_.LAYER"), std::wstring(L"S"), layer, std::wstring()});
    host.SetTextStyle(style);
}

}  // namespace

double EstimatedTextWidth(std::wstring_view text, double height, double widthFactor)
{
    double units = 0;
    for (const wchar_t c : text) {
        units += c < 0x80 ? SimplexAdvance(c) / 21.0 : 1.0;
    }
    return units * height * widthFactor;
}

bool DrawCalculationTable(CadHost& host, const CLoadArray& loads,
                          const CTransformerArray& transformers, const SummaryTotals& totals,
                          const std::wstring& project, const CBoardArray& boards)
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

    // The columns beyond the original ones: the circuit fields some circuit
    // uses, and the fire case of a document with fire roles.
    const auto used = UsedCircuitExtraFields(loads);
    std::vector<IssuedColumn> circuitExtra;
    std::vector<std::wstring_view> loadTitles;
    for (const TableColumn& c : kLoadColumns) {
        loadTitles.push_back(c.title);
    }
    for (size_t k = 0; k < used.size(); ++k) {
        if (used[k]) {
            circuitExtra.push_back(kIssuedCircuitExtraColumns[k]);
            loadTitles.push_back(kIssuedCircuitExtraColumns[k].header);
        }
    }
    const bool fire = HasFireRoles(loads);
    const size_t transformerFire = fire ? kIssuedTransformerFireColumns.size() : 0;
    const size_t boardFire = fire ? kIssuedBoardFireColumns.size() : 0;
    const std::vector<std::wstring_view> transformerTitles =
        Titles(kTransformerColumns, kTransformerFireColumns, 2, transformerFire);
    const std::vector<std::wstring_view> boardTitles =
        Titles(kBoardColumns, kBoardFireColumns, 1, boardFire);
    size_t columns = std::max(transformerTitles.size(), loadTitles.size());
    if (!boards.IsEmpty()) {
        columns = std::max(columns, boardTitles.size());
    }

    CTableDrawer draw(host, scale);
    const double wide = kColumnWidth * scale * static_cast<double>(columns);
    const CadPoint titleCentre{base->x + wide / 2, base->y + kTitleBand * scale / 2, base->z};
    draw.TextIn(titleCentre, kTableTitle, kTitleHeight, wide / 3, L"MC");
    if (!project.empty()) {
        draw.TextIn({base->x + kCellMargin * scale, titleCentre.y, base->z},
                    std::wstring(kProjectLabel) + project, kTextHeight,
                    wide / 3 - 2 * kCellMargin * scale, L"ML");
    }

    CadPoint o = *base;
    draw.HeaderRow(o, loadTitles, false);
    o.y -= draw.RowStep();
    std::wstring shown;
    for (const CLoadCalData& load : loads) {
        draw.BodyRow(o, loadTitles.size(), [&](size_t i) {
            shown = i < kLoadColumns.size()
                        ? ShowFigure(kLoadColumnKinds[i], load.FieldAt(kLoadColumns[i].field))
                        : ShowFigure(circuitExtra[i - kLoadColumns.size()].kind,
                                     load.AnyFieldAt(circuitExtra[i - kLoadColumns.size()].field));
            return std::optional<std::wstring_view>(shown);
        });
        o.y -= draw.RowStep();
    }
    draw.BodyRow(o, loadTitles.size(), [](size_t) { return std::optional<std::wstring_view>(); });
    o.y -= draw.RowStep();
    const auto totalCells = TotalRowCells(totals);
    draw.BodyRow(o, loadTitles.size(), [&](size_t i) -> std::optional<std::wstring_view> {
        if (i >= totalCells.size() || !totalCells[i]) {
            return std::nullopt;
        }
        shown = ShowFigure(kLoadColumnKinds[i], *totalCells[i]);
        return std::optional<std::wstring_view>(shown);
    });
    o.y -= draw.RowStep();
    o.y -= draw.RowStep();
    if (!boards.IsEmpty()) {
        // The board table between the two, drawn as the load table is.
        draw.HeaderRow(o, boardTitles, false);
        o.y -= draw.RowStep();
        for (const CBoardCalData& board : boards) {
            draw.BodyRow(o, boardTitles.size(), [&](size_t i) {
                shown =
                    i < kBoardColumns.size()
                        ? ShowFigure(kBoardColumnKinds[i], board.FieldAt(kBoardColumns[i].field))
                        : ShowFigure(kIssuedBoardFireColumns[i - kBoardColumns.size()].kind,
                                     board.AnyFieldAt(
                                         kIssuedBoardFireColumns[i - kBoardColumns.size()].field));
                return std::optional<std::wstring_view>(shown);
            });
            o.y -= draw.RowStep();
        }
        o.y -= draw.RowStep();
    }
    draw.HeaderRow(o, transformerTitles, true);
    o.y -= draw.RowStep();
    for (const CTransformerCalData& transformer : transformers) {
        draw.BodyRow(o, transformerTitles.size(), [&](size_t i) {
            const size_t k = i - kTransformerColumns.size();
            shown =
                i < kTransformerColumns.size()
                    ? ShowFigure(kTransformerColumnKinds[i],
                                 transformer.FieldAt(kTransformerColumns[i].field))
                    : ShowFigure(kIssuedTransformerFireColumns[k].kind,
                                 transformer.AnyFieldAt(kIssuedTransformerFireColumns[k].field));
            return std::optional<std::wstring_view>(shown);
        });
        o.y -= draw.RowStep();
    }
    const double margin = kFrameMargin * scale;
    draw.Frame({base->x - margin, base->y + kTitleBand * scale + margin, base->z},
               {base->x + wide + margin, o.y - margin, base->z});

    RestoreLayerAndStyle(host, layer, style);
    if (osmode) {
        host.acedSetVar(L"OSMODE", CadValue(*osmode));
    }
    return true;
}

}  // namespace loadcal
