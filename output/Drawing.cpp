#include "output/Drawing.h"

#include <array>
#include <charconv>
#include <cmath>
#include <ostream>

#include "model/Text.h"

namespace loadcal {
namespace {

const std::wstring* TextAt(const CadCommand& command, size_t i)
{
    return i < command.size() ? std::get_if<std::wstring>(&command[i]) : nullptr;
}

const CadPoint* PointAt(const CadCommand& command, size_t i)
{
    return i < command.size() ? std::get_if<CadPoint>(&command[i]) : nullptr;
}

bool IsEnter(const CadCommand& command, size_t i)
{
    const std::wstring* text = TextAt(command, i);
    return text && text->empty();
}

/// A numeric answer: a real, or a text holding a plain decimal number (the
/// "C" notation, whatever the locale). Empty text is Enter: the default.
struct Number {
    enum { Default, Value, Invalid } kind;
    double value;
};

Number NumberAt(const CadCommand& command, size_t i)
{
    if (i >= command.size()) {
        return {Number::Invalid, 0};
    }
    if (const double* real = std::get_if<double>(&command[i])) {
        return std::isfinite(*real) ? Number{Number::Value, *real} : Number{Number::Invalid, 0};
    }
    const std::wstring* text = std::get_if<std::wstring>(&command[i]);
    if (!text) {
        return {Number::Invalid, 0};
    }
    const std::wstring trimmed = Trim(*text);
    if (trimmed.empty()) {
        return {Number::Default, 0};
    }
    std::string ascii;
    for (wchar_t c : trimmed) {
        if (c > 0x7F) {
            return {Number::Invalid, 0};
        }
        ascii.push_back(static_cast<char>(c));
    }
    const char* first = ascii.data();
    if (*first == '+') {
        ++first;
    }
    double value = 0;
    const auto [end, ec] = std::from_chars(first, ascii.data() + ascii.size(), value);
    if (ec != std::errc() || end != ascii.data() + ascii.size() || !std::isfinite(value)) {
        return {Number::Invalid, 0};
    }
    return {Number::Value, value};
}

/// Y/N answer: 1 yes, 0 no, -1 Enter (keep), -2 not an answer.
int YesNoAt(const CadCommand& command, size_t i)
{
    const std::wstring* text = TextAt(command, i);
    if (!text) {
        return -2;
    }
    const std::wstring folded = FoldCase(Trim(*text));
    if (folded.empty()) {
        return -1;
    }
    if (folded == L"y" || folded == L"yes") {
        return 1;
    }
    if (folded == L"n" || folded == L"no") {
        return 0;
    }
    return -2;
}

/// Command name without the "_" (English name) and "." (built-in) prefixes, in lower case.
std::wstring CommandName(const CadCommand& command)
{
    const std::wstring* name = TextAt(command, 0);
    if (!name) {
        return {};
    }
    size_t i = 0;
    while (i < name->size() && ((*name)[i] == L'_' || (*name)[i] == L'.')) {
        ++i;
    }
    return FoldCase(std::wstring_view(*name).substr(i));
}

bool IsValidName(const std::wstring& name)
{
    if (Trim(name).empty()) {
        return false;
    }
    return name.find_first_of(L"<>/\\\":;?*|,=`") == std::wstring::npos;
}

/// "ROMANS6" -> "romans6.shx"; an empty name stays empty.
std::wstring FontFile(std::wstring_view name)
{
    std::wstring file = FoldCase(Trim(name));
    if (!file.empty() && file.find(L'.') == std::wstring::npos) {
        file += L".shx";
    }
    return file;
}

/// A one-point justification option of TEXT and its DXF codes (72, 73).
struct Justification {
    std::wstring_view option;
    int horizontal;
    int vertical;
};

constexpr std::array<Justification, 13> kJustifications = {{
    {L"l", 0, 0},
    {L"c", 1, 0},
    {L"r", 2, 0},
    {L"m", 4, 0},
    {L"tl", 0, 3},
    {L"tc", 1, 3},
    {L"tr", 2, 3},
    {L"ml", 0, 2},
    {L"mc", 1, 2},
    {L"mr", 2, 2},
    {L"bl", 0, 1},
    {L"bc", 1, 1},
    {L"br", 2, 1},
}};

}  // namespace

CDrawing::CDrawing(double scale, IPointSource* points, std::ostream* commandLine)
    : m_scale(scale), m_points(points), m_commandLine(commandLine)
{
    m_layers.push_back({L"0", L""});
    CadTextStyle standard;
    standard.name = L"Standard";
    m_styles.push_back(standard);
}

int CDrawing::FindLayer(const std::wstring& name) const
{
    for (size_t i = 0; i < m_layers.size(); ++i) {
        if (EqualsNoCase(m_layers[i].name, name)) {
            return static_cast<int>(i);
        }
    }
    return -1;
}

int CDrawing::FindStyle(const std::wstring& name) const
{
    for (size_t i = 0; i < m_styles.size(); ++i) {
        if (EqualsNoCase(m_styles[i].name, name)) {
            return static_cast<int>(i);
        }
    }
    return -1;
}

void CDrawing::acutPrintf(const std::wstring& text)
{
    if (m_commandLine) {
        *m_commandLine << ToUtf8(text) << std::flush;
    }
}

std::optional<CadValue> CDrawing::acedGetVar(const std::wstring& name)
{
    const std::wstring var = FoldCase(name);
    if (var == L"osmode") {
        return CadValue(m_osmode);
    }
    if (var == L"clayer") {
        return CadValue(CurrentLayer().name);
    }
    if (var == L"textstyle") {
        return CadValue(CurrentStyle().name);
    }
    if (var == L"textsize") {
        return CadValue(m_textSize);
    }
    return std::nullopt;
}

bool CDrawing::acedSetVar(const std::wstring& name, const CadValue& value)
{
    const std::wstring var = FoldCase(name);
    if (var == L"osmode") {
        const short* mode = std::get_if<short>(&value);
        if (!mode || *mode < 0) {
            return false;
        }
        m_osmode = *mode;
        return true;
    }
    if (var == L"clayer" || var == L"textstyle") {
        const std::wstring* text = std::get_if<std::wstring>(&value);
        if (!text) {
            return false;
        }
        const int index = var == L"clayer" ? FindLayer(*text) : FindStyle(*text);
        if (index < 0) {
            return false;
        }
        (var == L"clayer" ? m_currentLayer : m_currentStyle) = index;
        return true;
    }
    if (var == L"textsize") {
        const double* size = std::get_if<double>(&value);
        if (!size || !(*size > 0) || !std::isfinite(*size)) {
            return false;
        }
        m_textSize = *size;
        return true;
    }
    return false;
}

bool CDrawing::acedCommand(const CadCommand& command)
{
    if (m_recording) {
        m_commands.push_back(command);
    }
    const std::wstring name = CommandName(command);
    if (name == L"line") {
        return RunLine(command);
    }
    if (name == L"text") {
        return RunText(command);
    }
    if (name == L"pline") {
        return RunPline(command);
    }
    if (name == L"style") {
        return RunStyle(command);
    }
    if (name == L"layer") {
        return RunLayer(command);
    }
    return false;
}

bool CDrawing::RunLine(const CadCommand& command)
{
    if (command.size() < 4 || !IsEnter(command, command.size() - 1)) {
        return false;
    }
    const size_t last = command.size() - 1;
    for (size_t i = 1; i < last; ++i) {
        if (!PointAt(command, i)) {
            return false;
        }
    }
    for (size_t i = 2; i < last; ++i) {
        m_lines.push_back({*PointAt(command, i - 1), *PointAt(command, i), m_currentLayer});
    }
    m_lastIsText = false;
    return true;
}

bool CDrawing::RunPline(const CadCommand& command)
{
    CadPolyline polyline;
    polyline.layer = m_currentLayer;
    bool widthSet = false;
    size_t i = 1;
    for (; i < command.size(); ++i) {
        if (const CadPoint* point = PointAt(command, i)) {
            polyline.points.push_back(*point);
            continue;
        }
        const std::wstring* text = TextAt(command, i);
        if (!text) {
            return false;
        }
        const std::wstring option = FoldCase(Trim(*text));
        if (option == L"w" && !polyline.points.empty()) {
            const Number start = NumberAt(command, i + 1);
            const Number end = NumberAt(command, i + 2);
            if (start.kind != Number::Value || end.kind != Number::Value || start.value < 0 ||
                start.value != end.value || (widthSet && start.value != polyline.width)) {
                return false;
            }
            polyline.width = start.value;
            widthSet = true;
            i += 2;
            continue;
        }
        if (option == L"c" || option.empty()) {
            polyline.closed = option == L"c";
            break;
        }
        return false;
    }
    if (i + 1 != command.size() || polyline.points.size() < 2) {
        return false;
    }
    m_polylines.push_back(std::move(polyline));
    m_lastIsText = false;
    return true;
}

bool CDrawing::SetLastTextWidthFactor(double factor)
{
    if (!m_lastIsText || !std::isfinite(factor) || !(factor > 0)) {
        return false;
    }
    m_texts.back().widthFactor = factor;
    return true;
}

bool CDrawing::RunText(const CadCommand& command)
{
    CadText text;
    text.style = m_currentStyle;
    text.layer = m_currentLayer;
    const CadTextStyle& style = CurrentStyle();
    size_t i = 1;
    if (const std::wstring* option = TextAt(command, i); option && FoldCase(*option) == L"j") {
        const std::wstring* code = TextAt(command, i + 1);
        if (!code) {
            return false;
        }
        const std::wstring folded = FoldCase(Trim(*code));
        const Justification* found = nullptr;
        for (const Justification& j : kJustifications) {
            if (j.option == folded) {
                found = &j;
            }
        }
        if (!found) {
            return false;
        }
        text.horizontal = found->horizontal;
        text.vertical = found->vertical;
        i += 2;
    }
    const CadPoint* point = PointAt(command, i++);
    if (!point) {
        return false;
    }
    text.position = *point;
    double height = style.height;
    if (style.height == 0) {
        const Number answer = NumberAt(command, i++);
        if (answer.kind == Number::Invalid ||
            (answer.kind == Number::Value && !(answer.value > 0))) {
            return false;
        }
        height = answer.kind == Number::Value ? answer.value : m_textSize;
    }
    const Number rotation = NumberAt(command, i++);
    if (rotation.kind == Number::Invalid) {
        return false;
    }
    const std::wstring* content = TextAt(command, i++);
    if (!content || i != command.size()) {
        return false;
    }
    if (style.height == 0) {
        m_textSize = height;
    }
    if (content->empty()) {
        return true;
    }
    text.height = height;
    text.rotation = rotation.kind == Number::Value ? rotation.value : 0.0;
    text.widthFactor = style.widthFactor;
    text.obliqueAngle = style.obliqueAngle;
    text.text = *content;
    m_texts.push_back(std::move(text));
    m_lastIsText = true;
    return true;
}

bool CDrawing::RunStyle(const CadCommand& command)
{
    const std::wstring* name = TextAt(command, 1);
    const std::wstring* fonts = TextAt(command, 2);
    if (command.size() != 9 || !name || !fonts || !IsValidName(*name)) {
        return false;
    }
    const int existing = FindStyle(*name);
    CadTextStyle style = existing >= 0 ? m_styles[static_cast<size_t>(existing)] : CurrentStyle();
    if (existing < 0) {
        style.name = Trim(*name);
    }
    if (!Trim(*fonts).empty()) {
        const size_t comma = fonts->find(L',');
        const std::wstring font = FontFile(std::wstring_view(*fonts).substr(0, comma));
        if (!font.empty()) {
            style.font = font;
        }
        style.bigFont = comma == std::wstring::npos
                            ? std::wstring()
                            : FontFile(std::wstring_view(*fonts).substr(comma + 1));
    }
    const Number height = NumberAt(command, 3);
    const Number width = NumberAt(command, 4);
    const Number oblique = NumberAt(command, 5);
    const int flags[3] = {YesNoAt(command, 6), YesNoAt(command, 7), YesNoAt(command, 8)};
    if (height.kind == Number::Invalid || width.kind == Number::Invalid ||
        oblique.kind == Number::Invalid || flags[0] == -2 || flags[1] == -2 || flags[2] == -2) {
        return false;
    }
    if ((height.kind == Number::Value && height.value < 0) ||
        (width.kind == Number::Value && !(width.value > 0)) ||
        (oblique.kind == Number::Value && std::fabs(oblique.value) > 85)) {
        return false;
    }
    if (height.kind == Number::Value) {
        style.height = height.value;
    }
    if (width.kind == Number::Value) {
        style.widthFactor = width.value;
    }
    if (oblique.kind == Number::Value) {
        style.obliqueAngle = oblique.value;
    }
    bool* flagMembers[3] = {&style.backwards, &style.upsideDown, &style.vertical};
    for (int k = 0; k < 3; ++k) {
        if (flags[k] >= 0) {
            *flagMembers[k] = flags[k] == 1;
        }
    }
    if (existing >= 0) {
        m_styles[static_cast<size_t>(existing)] = std::move(style);
        m_currentStyle = existing;
    } else {
        m_styles.push_back(std::move(style));
        m_currentStyle = static_cast<int>(m_styles.size()) - 1;
    }
    return true;
}

bool CDrawing::RunLayer(const CadCommand& command)
{
    if (command.size() < 2 || !IsEnter(command, command.size() - 1) || command.size() % 2 != 0) {
        return false;
    }
    const size_t last = command.size() - 1;
    int current = m_currentLayer;
    for (size_t i = 1; i < last; i += 2) {
        const std::wstring* option = TextAt(command, i);
        const std::wstring* layer = TextAt(command, i + 1);
        if (!option || !layer) {
            return false;
        }
        const std::wstring folded = FoldCase(Trim(*option));
        if (folded != L"s" && folded != L"set") {
            return false;
        }
        current = FindLayer(Trim(*layer));
        if (current < 0) {
            return false;
        }
    }
    m_currentLayer = current;
    return true;
}

std::wstring CDrawing::GetTextStyle()
{
    return CurrentStyle().name;
}

bool CDrawing::SetTextStyle(const std::wstring& name)
{
    const int index = FindStyle(name);
    if (index < 0) {
        return false;
    }
    m_currentStyle = index;
    return true;
}

bool CDrawing::SetToCurrentLayer(const wchar_t* layer, const wchar_t* description,
                                 const wchar_t* /*reserved1*/, const wchar_t* /*reserved2*/)
{
    if (!layer || !IsValidName(layer)) {
        return false;
    }
    int index = FindLayer(layer);
    if (index < 0) {
        m_layers.push_back({Trim(layer), description ? std::wstring(description) : std::wstring()});
        index = static_cast<int>(m_layers.size()) - 1;
    }
    m_currentLayer = index;
    return true;
}

std::optional<CadPoint> CDrawing::acedGetPoint(const std::wstring& prompt)
{
    return m_points ? m_points->GetPoint(prompt) : std::nullopt;
}

}  // namespace loadcal
