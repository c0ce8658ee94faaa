#include "dialog/LoadCalTexts.h"

namespace loadcal::texts {

std::wstring FormatText(std::wstring_view format, std::wstring_view arg)
{
    std::wstring text(format);
    const size_t pos = text.find(L"%s");
    if (pos != std::wstring::npos) {
        text.replace(pos, 2, arg);
    }
    return text;
}

}  // namespace loadcal::texts
