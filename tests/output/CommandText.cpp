#include "tests/output/CommandText.h"

#include <cstdio>

#include "model/Text.h"

namespace loadcal::testoutput {
namespace {

std::string Number(double v)
{
    char buffer[64];
    std::snprintf(buffer, sizeof buffer, "%.10g", v == 0 ? 0.0 : v);
    return buffer;
}

std::string Point(const CadPoint& p)
{
    return "(" + Number(p.x) + "," + Number(p.y) + "," + Number(p.z) + ")";
}

}  // namespace

std::string Describe(const CadAnswer& answer)
{
    if (const auto* text = std::get_if<std::wstring>(&answer)) {
        return "\"" + ToUtf8(*text) + "\"";
    }
    if (const auto* point = std::get_if<CadPoint>(&answer)) {
        return Point(*point);
    }
    return Number(std::get<double>(answer));
}

std::string Describe(const CadCommand& command)
{
    std::string out;
    for (const CadAnswer& answer : command) {
        out += out.empty() ? "" : " ";
        out += Describe(answer);
    }
    return out;
}

std::string LineText(CadPoint a, CadPoint b)
{
    return "\"_.LINE\" " + Point(a) + " " + Point(b) + " \"\"";
}

std::string TextText(CadPoint p, double height, const std::wstring& text)
{
    return "\"_.TEXT\" \"J\" \"MC\" " + Point(p) + " " + Number(height) + " \"0\" \"" +
           ToUtf8(text) + "\"";
}

}  // namespace loadcal::testoutput
