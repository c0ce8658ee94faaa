#include "dialog/Geometry.h"

namespace loadcal {
namespace {

/// value * numerator / denominator rounded half away from zero (MulDiv).
int MulDiv(int value, int numerator, int denominator)
{
    const long long product = static_cast<long long>(value) * numerator;
    const long long half = denominator / 2;
    return static_cast<int>(product >= 0 ? (product + half) / denominator
                                         : (product - half) / denominator);
}

}  // namespace

CRect MapDialogRect(const CRect& dialogUnits, int baseX, int baseY)
{
    return {MulDiv(dialogUnits.left, baseX, 4), MulDiv(dialogUnits.top, baseY, 8),
            MulDiv(dialogUnits.right, baseX, 4), MulDiv(dialogUnits.bottom, baseY, 8)};
}

CGridLayout LayoutGrids(const CRect& windowInClient, const CRect& loadFrame,
                        const CRect& transformerFrame)
{
    CGridLayout layout;
    layout.load.left = loadFrame.left;
    layout.load.top = loadFrame.top;
    layout.load.right = windowInClient.right - 3;
    layout.load.bottom = windowInClient.bottom - transformerFrame.Height() - 8;
    layout.transformer.left = transformerFrame.left;
    layout.transformer.top = layout.load.bottom + 3;
    layout.transformer.right = windowInClient.right - 3;
    layout.transformer.bottom = windowInClient.bottom - 5;
    return layout;
}

}  // namespace loadcal
