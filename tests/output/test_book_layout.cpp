// The book's line breaking: lines end only between whole grapheme clusters,
// so a character outside the basic plane or one with its combining marks is
// never split, whatever the width.

#include <gtest/gtest.h>

#include <QGuiApplication>
#include <QTextBoundaryFinder>

#include <algorithm>
#include <cmath>

#include "output/report/BookLayout.h"

using namespace loadcal;

namespace {

/// The text's grapheme clusters, each as its own string.
QStringList Clusters(const QString& text)
{
    QStringList out;
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
    qsizetype start = 0;
    while (finder.toNextBoundary() != -1) {
        out.push_back(text.mid(start, finder.position() - start));
        start = finder.position();
    }
    return out;
}

}  // namespace

TEST(BookLayout, LinesBreakOnlyBetweenWholeGraphemeClusters)
{
    int argc = 1;
    char name[] = "report_tests";
    char* argv[] = {name, nullptr};
    const QGuiApplication app(argc, argv);
    CBookLayout book;
    // Extension B characters, a letter with two combining marks, Chinese,
    // digits and blanks.
    const QString text = QString::fromUtf16(
        u"\U00020BB7\U00020BB7风机\U0002A6D6 e\u0301\u0323 L1,L2,L3,N \U00020000\U00020001"
        u"\U00020002照明12345\U00020BB7");
    const QStringList clusters = Clusters(text);
    for (int width = 60; width <= 3000; width += 37) {
        const QStringList lines = book.Wrap(text, CBookLayout::kTableSize, width);
        ASSERT_FALSE(lines.isEmpty());
        QString joined;
        for (const QString& line : lines) {
            ASSERT_FALSE(line.isEmpty()) << width;
            // No line starts or ends inside a cluster.
            EXPECT_FALSE(line.front().isLowSurrogate()) << width;
            EXPECT_FALSE(line.back().isHighSurrogate()) << width;
            EXPECT_NE(line.front().category(), QChar::Mark_NonSpacing) << width;
            joined += line;
        }
        // Nothing but the blanks at the breaks is lost.
        QString plain = text;
        plain.remove(u' ');
        joined.remove(u' ');
        EXPECT_EQ(joined, plain) << width;
        // A line wider than the width holds one cluster only.
        for (const QString& line : lines) {
            if (book.TextWidth(line, CBookLayout::kTableSize) > width) {
                EXPECT_EQ(Clusters(line).size(), 1) << width << " " << line.toStdString();
            }
        }
    }
    EXPECT_GT(clusters.size(), 20);
}

TEST(BookLayout, ABarChartOfThreeEqualValuesDrawsItsBarsAndAnAxisAroundThem)
{
    // Three equal phase currents (a transformer fed by three-phase boards
    // only): the bars stand at their height on a short axis with round ticks.
    int argc = 1;
    char name[] = "report_tests";
    char* argv[] = {name, nullptr};
    const QGuiApplication app(argc, argv);
    for (const double value : {1068.7, 27.0, 0.3}) {
        CBookLayout book;
        book.BarChart(QStringLiteral("各相电流"), QStringLiteral("电流 I (A)"),
                      {QStringLiteral("L1"), QStringLiteral("L2"), QStringLiteral("L3")},
                      {value, value, value}, 3200, 1100);
        const BookPage& page = book.Pages().back();
        ASSERT_EQ(page.boxes.size(), 3u) << value;
        for (const BookPage::Box& bar : page.boxes) {
            EXPECT_TRUE(std::isfinite(bar.rect.height())) << value;
            EXPECT_GT(bar.rect.height(), 100) << value;  // visibly above the axis
            EXPECT_NEAR(bar.rect.height(), page.boxes[0].rect.height(), 1e-9);
        }
        // Tick labels below and above the value, each a number.
        std::vector<double> ticks;
        for (const BookPage::Text& t : page.texts) {
            bool ok = false;
            const double tick = t.text.toDouble(&ok);
            if (ok && t.text != QString::number(value, 'f', 1)) {
                ticks.push_back(tick);
            }
        }
        ASSERT_GE(ticks.size(), 2u) << value;
        EXPECT_LT(*std::min_element(ticks.begin(), ticks.end()), value);
        EXPECT_GE(*std::max_element(ticks.begin(), ticks.end()), value);
        for (const BookPage::Text& t : page.texts) {
            EXPECT_FALSE(t.text.contains(QStringLiteral("nan"), Qt::CaseInsensitive)) << value;
            EXPECT_FALSE(t.text.contains(QStringLiteral("inf"), Qt::CaseInsensitive)) << value;
        }
    }
}
