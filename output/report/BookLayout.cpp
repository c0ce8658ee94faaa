#include "output/report/BookLayout.h"

#include <QPainter>
#include <QPen>
#include <QTextBoundaryFinder>

#include <algorithm>
#include <cmath>

namespace loadcal {
namespace {

const QColor kHeaderFill(225, 225, 225);
const QColor kShadeFill(255, 255, 200);
const QColor kBarFill(90, 130, 190);
constexpr double kCellPad = 30;

/// Chinese and other wide characters may break a line before or after them
/// (characters outside the basic plane, CJK Extension B among them, too).
bool IsWide(char32_t c)
{
    return c >= 0x2E80;
}

/// The code point that starts at text[i], or that ends at text[i] when
/// ending is set (a surrogate pair read whole).
char32_t CodePointAt(const QString& text, qsizetype i, bool ending)
{
    const QChar c = text[i];
    if (!ending && c.isHighSurrogate() && i + 1 < text.size() && text[i + 1].isLowSurrogate()) {
        return QChar::surrogateToUcs4(c, text[i + 1]);
    }
    if (ending && c.isLowSurrogate() && i > 0 && text[i - 1].isHighSurrogate()) {
        return QChar::surrogateToUcs4(text[i - 1], c);
    }
    return c.unicode();
}

/// Punctuation that never starts a line.
bool IsClosing(char32_t c)
{
    return c < 0x10000 &&
           QStringLiteral("，。、；：）》」”！？,.;:)]%").contains(QChar(static_cast<char16_t>(c)));
}

/// Whether a line may end before text[i] (i > 0, a grapheme cluster boundary).
bool MayBreakBefore(const QString& text, qsizetype i)
{
    const char32_t c = CodePointAt(text, i, false);
    const char32_t before = CodePointAt(text, i - 1, true);
    if (IsClosing(c)) {
        return false;
    }
    return c == U' ' || before == U',' || before == U'，' || IsWide(c) || IsWide(before);
}

/// The starts of text's grapheme clusters, and its length at the end.
std::vector<qsizetype> ClusterBounds(const QString& text)
{
    std::vector<qsizetype> bounds{0};
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
    while (finder.toNextBoundary() != -1) {
        if (finder.position() > bounds.back()) {
            bounds.push_back(finder.position());
        }
    }
    if (bounds.back() != text.size()) {
        bounds.push_back(text.size());
    }
    return bounds;
}

/// A round step for an axis: 1, 2 or 5 times a power of ten, at or above x.
double RoundStep(double x)
{
    const double p = std::pow(10.0, std::floor(std::log10(x)));
    for (double k : {1.0, 2.0, 5.0}) {
        if (k * p >= x * (1 - 1e-12)) {
            return k * p;
        }
    }
    return 10 * p;
}

}  // namespace

CBookLayout::CBookLayout()
{
    NewPage(false);
}

QFont CBookLayout::Font(int size) const
{
    QFont font;
    font.setFamilies({QStringLiteral("WenQuanYi Zen Hei"), QStringLiteral("HanaMinA"),
                      QStringLiteral("HanaMinB")});
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
    const std::vector<qsizetype> bounds = ClusterBounds(text);
    QStringList lines;
    qsizetype start = 0;
    qsizetype lastBreak = -1;  // a line may end before this index
    double lineWidth = 0;
    for (size_t k = 0; k + 1 < bounds.size(); ++k) {
        const qsizetype i = bounds[k];
        if (i < start) {
            continue;
        }
        if (i > start && MayBreakBefore(text, i)) {
            lastBreak = i;
        }
        const double advance = fm.horizontalAdvance(text.mid(i, bounds[k + 1] - i));
        if (lineWidth + advance > width && i > start) {
            const qsizetype end = lastBreak > start ? lastBreak : i;
            lines.push_back(text.mid(start, end - start).trimmed());
            start = end;
            while (start < text.size() && text[start] == u' ') {
                ++start;
            }
            lineWidth = start >= i ? 0 : fm.horizontalAdvance(text.mid(start, i - start));
            lastBreak = -1;
            if (i < start) {
                continue;  // the break was at a blank that is now dropped
            }
        }
        lineWidth += advance;
    }
    if (start < text.size()) {
        lines.push_back(text.mid(start).trimmed());
    }
    return lines;
}

void CBookLayout::Heading(const QString& text, int size, int tocLevel)
{
    const double h = LineHeight(size);
    Reserve(h + 8 * LineHeight(kBodySize));  // never alone at the foot of a page
    if (tocLevel > 0) {
        m_toc.push_back({text, tocLevel, static_cast<int>(m_pages.size()) - 1});
    }
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

void CBookLayout::BarChart(const QString& title, const QString& axisLabel,
                           const QStringList& labels, const std::vector<double>& values,
                           double width, double height)
{
    const int size = kTableSize;
    const double h = LineHeight(size);
    Reserve(height + 5.5 * h);
    for (const QString& line : Wrap(title, size, width)) {
        AddText(kMargin, m_y + size, line, size);
        m_y += h;
    }
    m_y += 0.5 * h;

    double low = 0;
    double high = 0;
    double sum = 0;
    int finite = 0;
    for (double v : values) {
        if (std::isfinite(v)) {
            low = finite == 0 ? v : std::min(low, v);
            high = finite == 0 ? v : std::max(high, v);
            sum += v;
            ++finite;
        }
    }
    // From zero unless the values lie within 40 % of the largest: then from a
    // round figure a step below the smallest, so that the differences show.
    bool fromZero = !(low > 0) || high - low > 0.4 * high;
    double step = RoundStep(high > 0 ? (fromZero ? high : high - low) / 4 : 0.25);
    if (!fromZero && !(step > 0 && high - low >= step / 100)) {
        step = RoundStep(high / 20);  // equal values: a short axis around them
    }
    double axisLow = fromZero ? 0 : (std::floor(low / step) - 1) * step;
    if (axisLow <= 0) {
        axisLow = 0;
        fromZero = true;
        step = RoundStep(high > 0 ? high / 4 : 0.25);
    }
    const double axisHigh = std::max(axisLow + step, std::ceil(high / step) * step);
    const double span = axisHigh - axisLow;

    const double axisX = kMargin + 7 * size;
    AddText(axisX - TextWidth(axisLabel, size) / 2, m_y + size, axisLabel, size);
    const double top = m_y + 1.3 * h;
    const double base = top + height;
    BookPage& page = m_pages.back();
    page.lines.emplace_back(axisX, top, axisX, base);
    page.lines.emplace_back(axisX, base, kMargin + width, base);
    const int ticks = static_cast<int>(std::lround(span / step));
    const int decimals = step >= 1 ? 0 : static_cast<int>(std::ceil(-std::log10(step)));
    for (int tick = 0; tick <= ticks; ++tick) {
        const double y = base - height * tick / ticks;
        const QString t = QString::number(axisLow + step * tick, 'f', decimals);
        page.lines.emplace_back(axisX - 40, y, axisX, y);
        AddText(axisX - 60 - TextWidth(t, size), y + size / 3.0, t, size);
    }
    if (!fromZero) {
        // The break: the axis does not start at zero.
        for (double d : {0.0, 45.0}) {
            page.lines.emplace_back(axisX - 35, base - 40 - d, axisX + 35, base - 80 - d);
        }
    }
    const double mean = finite > 0 ? sum / finite : 0;
    const double slot = (kMargin + width - axisX) / static_cast<double>(values.size());
    for (size_t k = 0; k < values.size(); ++k) {
        const double v =
            std::isfinite(values[k]) ? std::clamp(values[k], axisLow, axisHigh) : axisLow;
        const double barHeight = height * (v - axisLow) / span;
        const double x = axisX + slot * static_cast<double>(k) + slot * 0.25;
        page.boxes.push_back({QRectF(x, base - barHeight, slot * 0.5, barHeight), kBarFill});
        const QString value = QString::number(values[k], 'f', 1);
        AddText(x + (slot * 0.5 - TextWidth(value, size)) / 2, base - barHeight - size * 0.4, value,
                size);
        const QString& label = labels[static_cast<qsizetype>(k)];
        AddText(x + (slot * 0.5 - TextWidth(label, size)) / 2, base + h, label, size);
        if (mean > 0 && std::isfinite(values[k])) {
            const double deviation = (values[k] - mean) / mean * 100;
            const QString text = QStringLiteral("较平均值 %1%2 %")
                                     .arg(deviation >= 0.05 ? QStringLiteral("+") : QString())
                                     .arg(std::fabs(deviation) < 0.05 ? 0.0 : deviation, 0, 'f', 1);
            AddText(x + (slot * 0.5 - TextWidth(text, size)) / 2, base + 2 * h, text, size);
        }
    }
    m_y = base + 2.8 * h;
}

void CBookLayout::TocLine(const QString& text, double indent, const QString& page, int size)
{
    const double h = LineHeight(size) * 1.25;
    Reserve(h);
    const double right = kMargin + ContentWidth();
    const double pageWidth = TextWidth(page, size);
    const double textEnd = kMargin + indent + TextWidth(text, size);
    AddText(kMargin + indent, m_y + size, text, size);
    AddText(right - pageWidth, m_y + size, page, size);
    const double dot = TextWidth(QStringLiteral("."), size);
    const double gap = right - pageWidth - textEnd - 2 * size;
    if (gap > dot) {
        const auto count = static_cast<qsizetype>(gap / dot);
        const QString dots(count, u'.');
        AddText(right - pageWidth - size - TextWidth(dots, size), m_y + size, dots, size);
    }
    m_y += h;
}

void CBookLayout::Append(CBookLayout&& other)
{
    const int offset = static_cast<int>(m_pages.size());
    for (TocEntry& entry : other.m_toc) {
        entry.page += offset;
        m_toc.push_back(std::move(entry));
    }
    for (BookPage& page : other.m_pages) {
        m_pages.push_back(std::move(page));
    }
    m_y = other.m_y;
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
