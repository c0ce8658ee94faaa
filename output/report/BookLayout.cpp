#include "output/report/BookLayout.h"

#include <QPainter>
#include <QPen>

#include <algorithm>
#include <cmath>

namespace loadcal {
namespace {

const QColor kHeaderFill(225, 225, 225);
const QColor kShadeFill(255, 255, 200);
const QColor kBarFill(90, 130, 190);
constexpr double kCellPad = 30;

/// Chinese and other wide characters may break a line before or after them.
bool IsWide(QChar c)
{
    return c.unicode() >= 0x2E80;
}

/// Punctuation that never starts a line.
bool IsClosing(QChar c)
{
    return QStringLiteral("，。、；：）》」”！？,.;:)]%").contains(c);
}

/// Whether a line may end before text[i] (i > 0).
bool MayBreakBefore(const QString& text, qsizetype i)
{
    const QChar c = text[i];
    const QChar before = text[i - 1];
    if (IsClosing(c)) {
        return false;
    }
    return c == u' ' || before == u',' || before == u'，' || IsWide(c) || IsWide(before);
}

}  // namespace

CBookLayout::CBookLayout()
{
    NewPage(false);
}

QFont CBookLayout::Font(int size) const
{
    QFont font(QStringLiteral("WenQuanYi Zen Hei"));
    font.setPixelSize(size);
    font.setHintingPreference(QFont::PreferNoHinting);
    font.setStyleStrategy(QFont::PreferOutline);
    font.setKerning(false);
    return font;
}

const QFontMetricsF& CBookLayout::Metrics(int size)
{
    auto& slot = m_metrics[size];
    if (!slot) {
        slot = std::make_unique<QFontMetricsF>(Font(size));
    }
    return *slot;
}

double CBookLayout::TextWidth(const QString& text, int size)
{
    return Metrics(size).horizontalAdvance(text);
}

void CBookLayout::NewPage(bool landscape)
{
    m_pages.emplace_back();
    m_pages.back().landscape = landscape;
    m_y = kMargin;
}

double CBookLayout::PageHeight() const
{
    return Landscape() ? kPortraitWidth : kPortraitHeight;
}

double CBookLayout::ContentWidth() const
{
    return (Landscape() ? kPortraitHeight : kPortraitWidth) - 2 * kMargin;
}

void CBookLayout::Reserve(double height)
{
    if (m_y + height > Bottom() && m_y > kMargin) {
        NewPage(Landscape());
    }
}

void CBookLayout::AddText(double x, double baseline, const QString& text, int size)
{
    if (!text.isEmpty()) {
        m_pages.back().texts.push_back({QPointF(x, baseline), text, size});
    }
}

QStringList CBookLayout::Wrap(const QString& text, int size, double width)
{
    if (TextWidth(text, size) <= width) {
        return {text};
    }
    const QFontMetricsF& fm = Metrics(size);
    QStringList lines;
    qsizetype start = 0;
    qsizetype lastBreak = -1;  // a line may end before this index
    double lineWidth = 0;
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar c = text[i];
        if (i > start && MayBreakBefore(text, i)) {
            lastBreak = i;
        }
        const double advance = fm.horizontalAdvance(c);
        if (lineWidth + advance > width && i > start) {
            const qsizetype end = lastBreak > start ? lastBreak : i;
            lines.push_back(text.mid(start, end - start).trimmed());
            start = end;
            while (start < text.size() && text[start] == u' ') {
                ++start;
            }
            lineWidth = end == i ? 0 : fm.horizontalAdvance(text.mid(start, i - start));
            lastBreak = -1;
        }
        lineWidth += advance;
    }
    if (start < text.size()) {
        lines.push_back(text.mid(start).trimmed());
    }
    return lines;
}

void CBookLayout::Heading(const QString& text, int size)
{
    const double h = LineHeight(size);
    Reserve(h + 8 * LineHeight(kBodySize));  // never alone at the foot of a page
    m_y += h * 0.3;
    AddText(kMargin, m_y + size, text, size);
    m_y += h;
}

void CBookLayout::CentredText(const QString& text, int size)
{
    const double h = LineHeight(size);
    Reserve(h);
    const double x = kMargin + (ContentWidth() - TextWidth(text, size)) / 2;
    AddText(x, m_y + size, text, size);
    m_y += h;
}

void CBookLayout::Paragraph(const QString& text, int size, double indent)
{
    const double h = LineHeight(size);
    for (const QString& line : Wrap(text, size, ContentWidth() - indent)) {
        Reserve(h);
        AddText(kMargin + indent, m_y + size, line, size);
        m_y += h;
    }
}

void CBookLayout::LabelledParagraph(const QString& label, double labelWidth, const QString& text,
                                    int size)
{
    const double h = LineHeight(size);
    const QStringList lines = Wrap(text, size, ContentWidth() - labelWidth);
    Reserve(h * std::min<double>(static_cast<double>(lines.size()), 3));
    AddText(kMargin, m_y + size, label, size);
    for (const QString& line : lines) {
        Reserve(h);
        AddText(kMargin + labelWidth, m_y + size, line, size);
        m_y += h;
    }
}

void CBookLayout::TableHeader(const std::vector<BookColumn>& columns,
                              const std::vector<double>& widths, int size)
{
    const double h = LineHeight(size);
    std::vector<QStringList> titles;
    size_t most = 1;
    for (size_t c = 0; c < columns.size(); ++c) {
        titles.push_back(Wrap(columns[c].title, size, widths[c] - 2 * kCellPad));
        most = std::max<size_t>(most, static_cast<size_t>(titles.back().size()));
    }
    const double height = static_cast<double>(most) * h + 2 * kCellPad;
    BookPage& page = m_pages.back();
    page.boxes.push_back({QRectF(kMargin, m_y, ContentWidth(), height), kHeaderFill});
    page.lines.emplace_back(kMargin, m_y, kMargin + ContentWidth(), m_y);
    double x = kMargin;
    for (size_t c = 0; c < columns.size(); ++c) {
        const double top = m_y + (height - static_cast<double>(titles[c].size()) * h) / 2;
        for (qsizetype l = 0; l < titles[c].size(); ++l) {
            const QString& t = titles[c][l];
            AddText(x + (widths[c] - TextWidth(t, size)) / 2,
                    top + static_cast<double>(l) * h + size, t, size);
        }
        x += widths[c];
    }
    m_y += height;
}

void CBookLayout::Table(const std::vector<BookColumn>& columns,
                        const std::vector<QStringList>& rows, const TableStyle& style)
{
    const int size = style.size;
    double total = 0;
    for (const BookColumn& c : columns) {
        total += c.weight;
    }
    std::vector<double> widths;
    for (const BookColumn& c : columns) {
        widths.push_back(ContentWidth() * c.weight / total);
    }
    const double h = LineHeight(size);
    std::vector<std::vector<QStringList>> cells(rows.size());
    std::vector<double> heights(rows.size());
    double bodyHeight = 0;
    for (size_t r = 0; r < rows.size(); ++r) {
        const QStringList& row = rows[r];
        cells[r].resize(columns.size());
        size_t most = static_cast<size_t>(std::max(1, style.minLines));
        for (size_t c = 0; c < columns.size() && c < static_cast<size_t>(row.size()); ++c) {
            cells[r][c] = Wrap(row[static_cast<qsizetype>(c)], size, widths[c] - 2 * kCellPad);
            most = std::max<size_t>(most, static_cast<size_t>(cells[r][c].size()));
        }
        heights[r] = static_cast<double>(most) * h + kCellPad;
        bodyHeight += heights[r];
    }
    const double headerGuess = 2 * h + 2 * kCellPad;
    if (style.keepTogether && headerGuess + bodyHeight <= Bottom() - kMargin) {
        Reserve(headerGuess + bodyHeight);
    } else {
        Reserve(headerGuess + 3 * h);
    }
    double tableTop = m_y;
    TableHeader(columns, widths, size);

    const auto closePart = [&] {
        BookPage& page = m_pages.back();
        double x = kMargin;
        page.lines.emplace_back(x, tableTop, x, m_y);
        for (double w : widths) {
            x += w;
            page.lines.emplace_back(x, tableTop, x, m_y);
        }
        page.lines.emplace_back(kMargin, m_y, kMargin + ContentWidth(), m_y);
    };

    for (size_t r = 0; r < rows.size(); ++r) {
        const double height = heights[r];
        if (m_y + height > Bottom()) {
            closePart();
            NewPage(Landscape());
            tableTop = m_y;
            TableHeader(columns, widths, size);
        }
        BookPage& page = m_pages.back();
        if (style.shadeLastRow && r + 1 == rows.size()) {
            page.boxes.push_back({QRectF(kMargin, m_y, ContentWidth(), height), kShadeFill});
        }
        page.lines.emplace_back(kMargin, m_y, kMargin + ContentWidth(), m_y);
        double x = kMargin;
        for (size_t c = 0; c < columns.size(); ++c) {
            const QStringList& lines = cells[r][c];
            const double top = m_y + (height - static_cast<double>(lines.size()) * h) / 2;
            for (qsizetype l = 0; l < lines.size(); ++l) {
                const QString& t = lines[l];
                AddText(x + (widths[c] - TextWidth(t, size)) / 2,
                        top + static_cast<double>(l) * h + size * 1.1, t, size);
            }
            x += widths[c];
        }
        m_y += height;
    }
    closePart();
    m_y += LineHeight(kBodySize) / 2;
}

void CBookLayout::BarChart(const QString& title, const QStringList& labels,
                           const std::vector<double>& values, double width, double height)
{
    const int size = kTableSize;
    const double h = LineHeight(size);
    Reserve(height + 3 * h);
    AddText(kMargin, m_y + size, title, size);
    m_y += 1.5 * h;

    double largest = 0;
    for (double v : values) {
        if (std::isfinite(v)) {
            largest = std::max(largest, v);
        }
    }
    // The scale's top: 1, 2 or 5 times a power of ten, at or above the largest.
    double top = 1;
    if (largest > 0) {
        const double step = std::pow(10.0, std::floor(std::log10(largest)));
        top = step;
        for (double k : {1.0, 2.0, 5.0, 10.0}) {
            if (k * step >= largest) {
                top = k * step;
                break;
            }
        }
    }
    const double axisX = kMargin + 6 * size;
    const double base = m_y + height;
    BookPage& page = m_pages.back();
    page.lines.emplace_back(axisX, m_y, axisX, base);
    page.lines.emplace_back(axisX, base, kMargin + width, base);
    for (int tick = 0; tick <= 4; ++tick) {
        const double y = base - height * tick / 4;
        const QString t = QString::number(top * tick / 4, 'g', 6);
        page.lines.emplace_back(axisX - 40, y, axisX, y);
        AddText(axisX - 60 - TextWidth(t, size), y + size / 3.0, t, size);
    }
    const double slot = (kMargin + width - axisX) / static_cast<double>(values.size());
    for (size_t k = 0; k < values.size(); ++k) {
        const double v = std::isfinite(values[k]) ? std::max(0.0, values[k]) : 0.0;
        const double barHeight = height * std::min(v, top) / top;
        const double x = axisX + slot * static_cast<double>(k) + slot * 0.25;
        page.boxes.push_back({QRectF(x, base - barHeight, slot * 0.5, barHeight), kBarFill});
        const QString value = QString::number(values[k], 'f', 2);
        AddText(x + (slot * 0.5 - TextWidth(value, size)) / 2, base - barHeight - size * 0.4, value,
                size);
        const QString& label = labels[static_cast<qsizetype>(k)];
        AddText(x + (slot * 0.5 - TextWidth(label, size)) / 2, base + h, label, size);
    }
    m_y = base + 1.8 * h;
}

void CBookLayout::Render(QPainter& painter, const QString& footer,
                         const std::function<void(bool landscape)>& newPage)
{
    const int count = static_cast<int>(m_pages.size());
    for (int n = 0; n < count; ++n) {
        BookPage& page = m_pages[static_cast<size_t>(n)];
        if (n > 0) {
            newPage(page.landscape);
        }
        const double width = page.landscape ? kPortraitHeight : kPortraitWidth;
        const double height = page.landscape ? kPortraitWidth : kPortraitHeight;
        const QString number = QStringLiteral("第 %1 页 共 %2 页").arg(n + 1).arg(count);
        const double y = height - kMargin;
        page.lines.emplace_back(kMargin, y - 2 * kBodySize, width - kMargin, y - 2 * kBodySize);
        page.texts.push_back({QPointF(kMargin, y), footer, 80});
        page.texts.push_back({QPointF(width - kMargin - TextWidth(number, 80), y), number, 80});
        DrawBookPage(painter, page, *this);
    }
}

void DrawBookPage(QPainter& painter, const BookPage& page, const CBookLayout& layout)
{
    painter.setPen(Qt::NoPen);
    for (const BookPage::Box& box : page.boxes) {
        painter.fillRect(box.rect, box.fill);
    }
    QPen pen(Qt::black);
    pen.setWidthF(5);
    painter.setPen(pen);
    painter.drawLines(page.lines.data(), static_cast<int>(page.lines.size()));
    int size = -1;
    for (const BookPage::Text& text : page.texts) {
        if (text.size != size) {
            size = text.size;
            painter.setFont(layout.Font(size));
        }
        painter.drawText(text.baseline, text.text);
    }
}

}  // namespace loadcal
