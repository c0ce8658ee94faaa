#include "output/report/PdfTextMap.h"

#include <zlib.h>

#include <cstdio>
#include <optional>
#include <set>
#include <string_view>

namespace loadcal {
namespace {

/// The text of object n ("n 0 obj" to "endobj" inclusive): its start and end.
struct ObjectSpan {
    size_t begin = std::string::npos;
    size_t end = std::string::npos;
};

ObjectSpan FindObject(const std::string& pdf, int n)
{
    std::string head = "\n";
    head += std::to_string(n);
    head += " 0 obj";
    const size_t at = pdf.find(head);
    if (at == std::string::npos) {
        return {};
    }
    const size_t end = pdf.find("endobj", at);
    if (end == std::string::npos) {
        return {};
    }
    return {at + 1, end + 6};
}

/// The number after key ("/Length 12", "/ToUnicode 67 0 R") in text, if any.
std::optional<long> NumberAfter(std::string_view text, std::string_view key)
{
    const size_t at = text.find(key);
    if (at == std::string_view::npos) {
        return std::nullopt;
    }
    size_t i = at + key.size();
    while (i < text.size() && (text[i] == ' ' || text[i] == '\n' || text[i] == '\r')) {
        ++i;
    }
    long value = 0;
    const size_t first = i;
    while (i < text.size() && text[i] >= '0' && text[i] <= '9') {
        value = value * 10 + (text[i] - '0');
        ++i;
    }
    return i > first ? std::optional<long>(value) : std::nullopt;
}

std::string Inflate(std::string_view data)
{
    z_stream z{};
    if (inflateInit(&z) != Z_OK) {
        return {};
    }
    std::string out;
    char buffer[65536];
    z.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(data.data()));
    z.avail_in = static_cast<uInt>(data.size());
    int status = Z_OK;
    while (status == Z_OK) {
        z.next_out = reinterpret_cast<Bytef*>(buffer);
        z.avail_out = sizeof buffer;
        status = inflate(&z, Z_NO_FLUSH);
        out.append(buffer, sizeof buffer - z.avail_out);
    }
    inflateEnd(&z);
    return status == Z_STREAM_END ? out : std::string();
}

/// The (decompressed) stream of an object of pdf, or nothing. Its length may
/// be given directly or as a reference to an object holding it.
std::optional<std::string> StreamOf(const std::string& pdf, ObjectSpan span)
{
    const std::string_view object(pdf.data() + span.begin, span.end - span.begin);
    const size_t dictEnd = object.find("stream");
    if (dictEnd == std::string_view::npos) {
        return std::nullopt;
    }
    const std::string_view dict = object.substr(0, dictEnd);
    std::optional<long> length = NumberAfter(dict, "/Length");
    if (length) {
        const size_t at = dict.find("/Length");
        const size_t after = dict.find_first_not_of("0123456789 ", at + 7);
        if (after != std::string_view::npos && dict[after] == 'R') {
            const ObjectSpan holder = FindObject(pdf, static_cast<int>(*length));
            if (holder.begin == std::string::npos) {
                return std::nullopt;
            }
            length = NumberAfter(
                std::string_view(pdf.data() + holder.begin, holder.end - holder.begin), " obj");
        }
    }
    size_t start = dictEnd + 6;
    if (start < object.size() && object[start] == '\r') {
        ++start;
    }
    if (start < object.size() && object[start] == '\n') {
        ++start;
    }
    if (!length || start + static_cast<size_t>(*length) > object.size()) {
        return std::nullopt;
    }
    const std::string_view raw = object.substr(start, static_cast<size_t>(*length));
    if (dict.find("/FlateDecode") == std::string_view::npos) {
        return std::string(raw);
    }
    std::string text = Inflate(raw);
    return text.empty() ? std::nullopt : std::optional<std::string>(std::move(text));
}

unsigned HexValue(std::string_view hex)
{
    unsigned v = 0;
    for (const char c : hex) {
        v = v * 16 + static_cast<unsigned>(c <= '9' ? c - '0' : (c | 0x20) - 'a' + 10);
    }
    return v;
}

/// The codes a ToUnicode map lists (bfchar entries and bfrange spans).
std::set<unsigned> MappedCodes(const std::string& cmap)
{
    std::set<unsigned> codes;
    const auto hexes = [](std::string_view line) {
        std::vector<std::string_view> out;
        for (size_t at = line.find('<'); at != std::string_view::npos;
             at = line.find('<', at + 1)) {
            const size_t end = line.find('>', at);
            if (end == std::string_view::npos) {
                break;
            }
            out.push_back(line.substr(at + 1, end - at - 1));
            at = end;
        }
        return out;
    };
    enum { None, Char, Range } section = None;
    size_t start = 0;
    while (start < cmap.size()) {
        size_t end = cmap.find('\n', start);
        if (end == std::string::npos) {
            end = cmap.size();
        }
        const std::string_view line(cmap.data() + start, end - start);
        if (line.find("beginbfchar") != std::string_view::npos) {
            section = Char;
        } else if (line.find("beginbfrange") != std::string_view::npos) {
            section = Range;
        } else if (line.find("endbf") != std::string_view::npos) {
            section = None;
        } else if (section == Char) {
            const auto h = hexes(line);
            if (!h.empty()) {
                codes.insert(HexValue(h[0]));
            }
        } else if (section == Range) {
            const auto h = hexes(line);
            if (h.size() >= 2) {
                for (unsigned c = HexValue(h[0]); c <= HexValue(h[1]); ++c) {
                    codes.insert(c);
                }
            }
        }
        start = end + 1;
    }
    return codes;
}

std::string Utf16Hex(char32_t c)
{
    char buffer[16];
    if (c < 0x10000) {
        std::snprintf(buffer, sizeof buffer, "%04X", static_cast<unsigned>(c));
    } else {
        const unsigned v = static_cast<unsigned>(c) - 0x10000;
        std::snprintf(buffer, sizeof buffer, "%04X%04X", 0xD800 + (v >> 10), 0xDC00 + (v & 0x3FF));
    }
    return buffer;
}

/// The file with every object's offset written anew into its cross-reference
/// table; the input unchanged when the table is not the writer's.
std::string RewriteXref(std::string pdf)
{
    const size_t xref = pdf.rfind("\nxref\n");
    if (xref == std::string::npos) {
        return pdf;
    }
    size_t at = xref + 6;
    const std::optional<long> first = NumberAfter(std::string_view(pdf).substr(at, 32), "");
    const size_t space = pdf.find(' ', at);
    const size_t lineEnd = pdf.find('\n', at);
    if (!first || *first != 0 || space == std::string::npos || lineEnd == std::string::npos) {
        return pdf;
    }
    const long count = std::stol(pdf.substr(space + 1, lineEnd - space - 1));
    std::string table = "xref\n0 " + std::to_string(count) + "\n0000000000 65535 f \n";
    for (long n = 1; n < count; ++n) {
        const ObjectSpan span = FindObject(pdf, static_cast<int>(n));
        if (span.begin == std::string::npos) {
            return pdf;
        }
        char entry[48];
        std::snprintf(entry, sizeof entry, "%010zu 00000 n \n", span.begin);
        table += entry;
    }
    const size_t trailer = pdf.find("trailer", xref);
    const size_t startxref = pdf.find("startxref", xref);
    if (trailer == std::string::npos || startxref == std::string::npos) {
        return pdf;
    }
    const std::string tail = pdf.substr(trailer, startxref - trailer);
    std::string out = pdf.substr(0, xref + 1) + table + tail + "startxref\n" +
                      std::to_string(xref + 1) + "\n%%EOF\n";
    return out;
}

}  // namespace

std::string CompleteToUnicodeMaps(const std::string& pdf, const RareCharacters& rare)
{
    if (rare.empty()) {
        return pdf;
    }
    // Font resources: "/F<k> <n> 0 R" names object n.
    std::map<std::string, int> resources;
    for (size_t at = pdf.find("/F"); at != std::string::npos; at = pdf.find("/F", at + 2)) {
        size_t i = at + 2;
        while (i < pdf.size() && pdf[i] >= '0' && pdf[i] <= '9') {
            ++i;
        }
        if (i == at + 2 || i >= pdf.size() || pdf[i] != ' ') {
            continue;
        }
        const std::optional<long> object = NumberAfter(std::string_view(pdf).substr(i, 16), "");
        if (object && pdf.compare(i + 1 + std::to_string(*object).size(), 4, " 0 R") == 0) {
            resources[pdf.substr(at, i - at)] = static_cast<int>(*object);
        }
    }
    // The fonts of rare characters: their object and ToUnicode map.
    struct Font {
        int toUnicode = 0;
        const std::vector<char32_t>* characters = nullptr;
        std::vector<unsigned> shown;  // codes in the order first shown
        std::set<unsigned> seen;
    };
    std::map<std::string, Font> fonts;  // by resource name
    for (const auto& [name, object] : resources) {
        const ObjectSpan span = FindObject(pdf, object);
        if (span.begin == std::string::npos) {
            continue;
        }
        const std::string_view text(pdf.data() + span.begin, span.end - span.begin);
        const size_t base = text.find("/BaseFont /");
        const std::optional<long> map = NumberAfter(text, "/ToUnicode");
        if (base == std::string_view::npos || !map) {
            continue;
        }
        size_t end = base + 11;
        while (end < text.size() && text[end] != '\n' && text[end] != ' ' && text[end] != '/') {
            ++end;
        }
        std::string baseFont(text.substr(base + 11, end - base - 11));
        if (const size_t plus = baseFont.find('+'); plus != std::string::npos) {
            baseFont.erase(0, plus + 1);  // a subset prefix "ABCDEF+"
        }
        if (const auto found = rare.find(baseFont); found != rare.end()) {
            fonts[name] = {static_cast<int>(*map), &found->second, {}, {}};
        }
    }
    if (fonts.empty()) {
        return pdf;
    }
    // The codes each of those fonts shows, page by page.
    for (size_t at = pdf.find("/Contents "); at != std::string::npos;
         at = pdf.find("/Contents ", at + 10)) {
        const std::optional<long> object =
            NumberAfter(std::string_view(pdf).substr(at, 32), "/Contents");
        if (!object) {
            continue;
        }
        const ObjectSpan span = FindObject(pdf, static_cast<int>(*object));
        if (span.begin == std::string::npos) {
            continue;
        }
        const std::optional<std::string> content = StreamOf(pdf, span);
        if (!content) {
            continue;
        }
        Font* current = nullptr;
        size_t start = 0;
        while (start < content->size()) {
            size_t end = content->find('\n', start);
            if (end == std::string::npos) {
                end = content->size();
            }
            const std::string_view line(content->data() + start, end - start);
            if (line.find(" Tf") != std::string_view::npos) {
                const size_t name = line.find("/F");
                const size_t blank = line.find(' ', name);
                const auto found = name == std::string_view::npos
                                       ? fonts.end()
                                       : fonts.find(std::string(line.substr(name, blank - name)));
                current = found == fonts.end() ? nullptr : &found->second;
            } else if (current && line.size() > 3 &&
                       (line.substr(line.size() - 3) == " Tj" ||
                        line.substr(line.size() - 3) == " TJ")) {
                for (size_t h = line.find('<'); h != std::string_view::npos;
                     h = line.find('<', h + 1)) {
                    const size_t e = line.find('>', h);
                    for (size_t k = h + 1; k + 4 <= e; k += 4) {
                        const unsigned code = HexValue(line.substr(k, 4));
                        if (current->seen.insert(code).second) {
                            current->shown.push_back(code);
                        }
                    }
                }
            }
            start = end + 1;
        }
    }
    // Complete each map whose missing codes match its rare characters.
    std::string out = pdf;
    bool changed = false;
    for (const auto& [name, font] : fonts) {
        const ObjectSpan span = FindObject(out, font.toUnicode);
        if (span.begin == std::string::npos) {
            continue;
        }
        const std::optional<std::string> cmap = StreamOf(out, span);
        if (!cmap) {
            continue;
        }
        const std::set<unsigned> mapped = MappedCodes(*cmap);
        std::vector<unsigned> missing;
        for (const unsigned code : font.shown) {
            if (code != 0 && !mapped.count(code)) {
                missing.push_back(code);
            }
        }
        if (missing.empty() || missing.size() != font.characters->size()) {
            continue;
        }
        std::string entries;
        for (size_t k = 0; k < missing.size(); k += 100) {
            const size_t n = std::min<size_t>(100, missing.size() - k);
            entries += std::to_string(n);
            entries += " beginbfchar\n";
            for (size_t j = k; j < k + n; ++j) {
                char code[8];
                std::snprintf(code, sizeof code, "%04X", missing[j]);
                entries += '<';
                entries += code;
                entries += "> <";
                entries += Utf16Hex((*font.characters)[j]);
                entries += ">\n";
            }
            entries += "endbfchar\n";
        }
        std::string completed = *cmap;
        const size_t endcmap = completed.find("endcmap");
        if (endcmap == std::string::npos) {
            continue;
        }
        completed.insert(endcmap, entries);
        const std::string object = std::to_string(font.toUnicode) + " 0 obj\n<<\n/Length " +
                                   std::to_string(completed.size()) + "\n>>\nstream\n" + completed +
                                   "\nendstream\nendobj";
        out.replace(span.begin, span.end - span.begin, object);
        changed = true;
    }
    return changed ? RewriteXref(std::move(out)) : pdf;
}

}  // namespace loadcal
