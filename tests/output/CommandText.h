#pragma once

// Commands as short texts, so that tests compare whole sequences: a text
// answer in double quotes, a point as (x,y,z), a real as is; numbers with up
// to 10 significant digits.

#include <string>

#include "output/CadHost.h"

namespace loadcal::testoutput {

std::string Describe(const CadAnswer& answer);
std::string Describe(const CadCommand& command);

/// The text of a LINE command from a to b, and of a TEXT command at p.
std::string LineText(CadPoint a, CadPoint b);
std::string TextText(CadPoint p, double height, const std::wstring& text);

}  // namespace loadcal::testoutput
