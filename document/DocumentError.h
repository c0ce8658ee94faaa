#pragma once

#include <stdexcept>
#include <string>

namespace loadcal {

/// The document layer's one exception: a file that cannot be read or written,
/// or a document (archive or JSON) that is not what it claims to be. The
/// message names the file and the problem in one line, ready for stderr or a
/// message box.
class DocumentError : public std::runtime_error {
public:
    explicit DocumentError(const std::string& message) : std::runtime_error(message) {}
};

}  // namespace loadcal
