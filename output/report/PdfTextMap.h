#pragma once

#include <map>
#include <string>
#include <vector>

namespace loadcal {

/// The characters outside the basic plane (CJK Extension B and beyond) that
/// the book drew, by the PDF name of the font that drew them (its family
/// without blanks, "HanaMinB"), each font's distinct characters in the order
/// they were first drawn.
using RareCharacters = std::map<std::string, std::vector<char32_t>>;

/// Qt's PDF writer lists only characters of the basic plane in a font's
/// ToUnicode map, so a reader's text of a character beyond it comes out empty
/// although its glyph is drawn whole. This adds the missing entries: in each
/// font named in rare, the glyph codes the pages show that its map lacks,
/// taken in the order the pages first show them, are that font's rare
/// characters in the order drawn (the writer numbers a font's glyphs in the
/// order it first draws them). A font whose counts disagree, or a file laid
/// out otherwise than the writer lays it out, is left as it is. Returns the
/// file with the maps completed and its cross-reference table rewritten.
std::string CompleteToUnicodeMaps(const std::string& pdf, const RareCharacters& rare);

}  // namespace loadcal
