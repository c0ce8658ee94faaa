# Turns a file into a C++ source defining `const char* <SYMBOL>()` and `<SYMBOL>Size()`.
file(READ "${INPUT}" hex HEX)
string(REGEX REPLACE "([0-9a-f][0-9a-f])" "0x\\1," bytes "${hex}")
file(WRITE "${OUTPUT}.tmp"
"// Generated from ${INPUT}; do not edit.
#include <cstddef>
namespace loadcal {
namespace {
const unsigned char kData[] = {${bytes} 0x00};
}
const char* ${SYMBOL}() { return reinterpret_cast<const char*>(kData); }
std::size_t ${SYMBOL}Size() { return sizeof(kData) - 1; }
}
")
file(RENAME "${OUTPUT}.tmp" "${OUTPUT}")
