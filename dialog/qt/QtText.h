#pragma once

#include <QColor>
#include <QString>
#include <QStringList>
#include <Qt>
#include <string>
#include <string_view>

#include "dialog/GridCtrl.h"

namespace loadcal {

/// Wide text (records, controller) to Qt text and back.
inline QString ToQString(std::wstring_view text)
{
    return QString::fromWCharArray(text.data(), static_cast<qsizetype>(text.size()));
}
inline std::wstring ToWString(const QString& text)
{
    return text.toStdWString();
}

/// A grid colour (0x00BBGGRR) as a Qt colour; CLR_DEFAULT has none.
inline QColor ToQColor(COLORREF colour)
{
    if (colour == CLR_DEFAULT) {
        return {};
    }
    return QColor(static_cast<int>(GetRValue(colour)), static_cast<int>(GetGValue(colour)),
                  static_cast<int>(GetBValue(colour)));
}

/// The alignment of a grid cell format (DT_ flags): left, centred or right,
/// vertically centred; DT_WORDBREAK wraps the text.
Qt::Alignment AlignmentOf(unsigned format);

/// A file-dialog filter in the Windows form "description|patterns|...||" as a
/// Qt name filter list "description(patterns)". Each pattern is also given in
/// lower and upper case, so that "*.LDC" matches "a.LDC" and "b.ldc" on a
/// file system that tells case apart; a description that ends in its own
/// patterns in brackets gets the extended list there instead.
QString ToQtFileFilter(std::wstring_view windowsFilter);

/// The patterns of the first filter of ToQtFileFilter, e.g. {"*.LDC", "*.ldc"}.
QStringList FilePatterns(std::wstring_view windowsFilter);

}  // namespace loadcal
