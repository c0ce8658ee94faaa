#pragma once

#include <stdexcept>
#include <string>

namespace loadcal {

/// The calculation model's one exception: an index outside 0 <= i < count on a
/// record array (the framework's invalid-argument error). Nothing in the model
/// catches it; it signals a programming error in the caller.
class CInvalidArgException : public std::invalid_argument {
public:
    explicit CInvalidArgException(const std::string& what) : std::invalid_argument(what) {}
};

}  // namespace loadcal
