#include "dialog/qt/QtText.h"

#include <vector>

namespace loadcal {
namespace {

struct FilterPair {
    QString description;
    QStringList patterns;
};

/// The description / patterns pairs of a Windows filter, patterns with their
/// lower- and upper-case forms added after each original.
std::vector<FilterPair> ParseFilter(std::wstring_view windowsFilter)
{
    const QStringList parts = ToQString(windowsFilter).split(QLatin1Char('|'));
    std::vector<FilterPair> pairs;
    for (qsizetype i = 0; i + 1 < parts.size(); i += 2) {
        if (parts[i].isEmpty()) {
            break;
        }
        FilterPair pair{parts[i], {}};
        for (const QString& pattern : parts[i + 1].split(QLatin1Char(';'), Qt::SkipEmptyParts)) {
            for (const QString& form : {pattern, pattern.toLower(), pattern.toUpper()}) {
                if (!pair.patterns.contains(form)) {
                    pair.patterns.append(form);
                }
            }
        }
        pairs.push_back(pair);
    }
    return pairs;
}

}  // namespace

Qt::Alignment AlignmentOf(unsigned format)
{
    Qt::Alignment alignment = Qt::AlignVCenter;
    if (format & DT_CENTER) {
        alignment |= Qt::AlignHCenter;
    } else if (format & DT_RIGHT) {
        alignment |= Qt::AlignRight;
    } else {
        alignment |= Qt::AlignLeft;
    }
    if ((format & DT_WORDBREAK) && !(format & DT_SINGLELINE)) {
        alignment |= Qt::Alignment::fromInt(Qt::TextWordWrap);
    }
    return alignment;
}

QString ToQtFileFilter(std::wstring_view windowsFilter)
{
    QStringList filters;
    for (const FilterPair& pair : ParseFilter(windowsFilter)) {
        const QStringList original =
            pair.patterns.isEmpty() ? QStringList() : QStringList{pair.patterns.front()};
        QString description = pair.description;
        const QString ownPatterns =
            QLatin1Char('(') + original.join(QLatin1Char(' ')) + QLatin1Char(')');
        if (!original.isEmpty() && description.endsWith(ownPatterns)) {
            description.chop(ownPatterns.size());
        }
        filters.append(description + QLatin1Char('(') + pair.patterns.join(QLatin1Char(' ')) +
                       QLatin1Char(')'));
    }
    return filters.join(QStringLiteral(";;"));
}

QStringList FilePatterns(std::wstring_view windowsFilter)
{
    const std::vector<FilterPair> pairs = ParseFilter(windowsFilter);
    return pairs.empty() ? QStringList() : pairs.front().patterns;
}

}  // namespace loadcal
