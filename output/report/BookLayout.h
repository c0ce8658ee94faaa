#pragma once

#include <functional>
#include <map>
#include <memory>
#include <vector>

#include <QColor>
#include <QFont>
#include <QFontMetricsF>
#include <QLineF>
#include <QRectF>
#include <QString>
#include <QStringList>

class QPainter;

namespace loadcal {

/// One laid-out page of the book: texts at their baselines, lines and filled
/// boxes, in tenths of a point from the page's top-left corner.
struct BookPage {
    struct Text {
        QPointF baseline;
        QString text;
        int size;  ///< font size, tenths of a point
    };
    struct Box {
        QRectF rect;
        QColor fill;
    };
    bool landscape = false;
    std::vector<Box> boxes;
    std::vector<QLineF> lines;
    std::vector<Text> texts;
};

/// A column of a book table: its title (wrapped in the header) and its share
/// of the table's width.
struct BookColumn {
    QString title;
    double weight;
};

/// Lays out the book page by page on A4 with fixed margins: headings,
/// wrapped paragraphs, tables that continue on new pages with their header
/// repeated, and bar charts; a block that does not fit on the page starts a
/// new one. Sizes are tenths of a point; text is measured with the book's
/// fonts (WenQuanYi Zen Hei, unhinted, with HanaMinA and HanaMinB for the
/// rare characters it lacks, CJK Extension B among them). Owns the pages it made; Render draws
/// them with the page numbers once the count is known. Needs a Qt GUI
/// application for the font metrics.
class CBookLayout {
public:
    static constexpr double kPortraitWidth = 5953;   ///< A4, 210 mm
    static constexpr double kPortraitHeight = 8419;  ///< A4, 297 mm
    static constexpr double kMargin = 500;
    static constexpr double kFooter = 450;  ///< reserved above the bottom margin
    static constexpr int kBodySize = 95;
    static constexpr int kTableSize = 78;

    CBookLayout();

    void NewPage(bool landscape);
    bool Landscape() const { return m_pages.back().landscape; }
    double ContentWidth() const;
    /// Starts a new page (same orientation) unless height fits below the cursor.
    void Reserve(double height);
    void Space(double height) { m_y += height; }

    /// A heading; tocLevel 1 or 2 also puts it in the table of contents
    /// (TocEntries) with the index of the page it stands on.
    void Heading(const QString& text, int size, int tocLevel = 0);
    /// Wrapped at the content width (less indent); lines kept on one page each.
    void Paragraph(const QString& text, int size = kBodySize, double indent = 0);
    /// A label in its own column followed by wrapped text.
    void LabelledParagraph(const QString& label, double labelWidth, const QString& text,
                           int size = kBodySize);
    void CentredText(const QString& text, int size);

    /// How a table is set.
    struct TableStyle {
        bool shadeLastRow = false;  ///< a total row
        int size = kTableSize;
        int minLines = 1;           ///< the least height of a row, in lines
        bool keepTogether = false;  ///< start a new page rather than split, when it fits one
    };
    /// A table over the content width: the header on a grey band, each row as
    /// tall as its most wrapped cell, every cell centred; a row that does not
    /// fit starts a new page, which repeats the header.
    void Table(const std::vector<BookColumn>& columns, const std::vector<QStringList>& rows,
               const TableStyle& style);

    /// Bars with their values above, labels and the deviation from the
    /// values' mean below, over width at the left margin, under a title; the
    /// value axis carries axisLabel and round ticks. When the values lie close
    /// together the axis starts at a round figure below the smallest (marked
    /// by a break on the axis), so that their differences show; otherwise at 0.
    void BarChart(const QString& title, const QString& axisLabel, const QStringList& labels,
                  const std::vector<double>& values, double width, double height);

    /// One line of the table of contents: the text, dot leaders and the page
    /// number at the right margin.
    void TocLine(const QString& text, double indent, const QString& page, int size = kBodySize);

    /// A heading put in the table of contents: its text, level (1 or 2) and
    /// the index of its page among this layout's pages.
    struct TocEntry {
        QString text;
        int level;
        int page;
    };
    const std::vector<TocEntry>& TocEntries() const { return m_toc; }

    /// Puts other's pages after this layout's own (their table-of-contents
    /// entries follow them); the cursor stays on the last page.
    void Append(CBookLayout&& other);

    /// Wraps text into lines no wider than width: at spaces, and between
    /// characters of Chinese text; a word longer than the width is cut.
    /// Lines break only between grapheme clusters: a character outside the
    /// basic plane, or one with its combining marks, is never split.
    QStringList Wrap(const QString& text, int size, double width);
    double TextWidth(const QString& text, int size);
    double LineHeight(int size) { return size * 1.45; }

    std::vector<BookPage>& Pages() { return m_pages; }
    const std::vector<BookPage>& Pages() const { return m_pages; }

    /// Draws every page with "第 n 页 共 m 页" and footer centred at its foot,
    /// starting a new page (with its orientation) before each but the first.
    /// newPage starts the next page with the orientation it is given.
    void Render(QPainter& painter, const QString& footer,
                const std::function<void(bool landscape)>& newPage);

    /// The font of a size (tenths of a point, as a pixel size in those units).
    QFont Font(int size) const;

private:
    const QFontMetricsF& Metrics(int size);
    double PageHeight() const;
    double Bottom() const { return PageHeight() - kMargin - kFooter; }
    void AddText(double x, double baseline, const QString& text, int size);
    void TableHeader(const std::vector<BookColumn>& columns, const std::vector<double>& widths,
                     int size);

    std::vector<BookPage> m_pages;
    std::map<int, std::unique_ptr<QFontMetricsF>> m_metrics;
    std::vector<TocEntry> m_toc;
    double m_y = 0;
};

/// Draws one page's boxes, lines and texts.
void DrawBookPage(QPainter& painter, const BookPage& page, const CBookLayout& layout);

}  // namespace loadcal
