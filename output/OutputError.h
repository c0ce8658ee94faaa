#pragma once

#include <stdexcept>
#include <string>

namespace loadcal {

/// The output layer's one exception: a drawing or workbook that cannot be
/// produced. The message is one line naming the file (when there is one) and
/// the cause, ready for stderr or a message box. The kind tells the
/// spreadsheet export which of its fixed messages the failure maps to; code
/// and description carry the library's error number and text where it gave
/// them.
class OutputError : public std::runtime_error {
public:
    enum class Kind {
        FileExists,   ///< the target exists and replacing it was not allowed
        Write,        ///< the file could not be written or moved into place
        CallFailed,   ///< the writer library refused one call, with a code and a text
        NoObject,     ///< the writer library could not create its object, a code only
        BadArgument,  ///< an argument that cannot be used (a scale of 0, calls out of order)
    };

    OutputError(Kind kind, const std::string& message, long code = 0, std::string description = {})
        : std::runtime_error(message),
          m_kind(kind),
          m_code(code),
          m_description(std::move(description))
    {}

    Kind GetKind() const { return m_kind; }
    long Code() const { return m_code; }
    const std::string& Description() const { return m_description; }

private:
    Kind m_kind;
    long m_code;
    std::string m_description;
};

}  // namespace loadcal
