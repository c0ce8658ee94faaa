#pragma once

#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace loadcal {

/// A point in drawing units (world coordinates).
struct CadPoint {
    double x = 0;
    double y = 0;
    double z = 0;
    friend bool operator==(const CadPoint&, const CadPoint&) = default;
};

/// One answer given to a command prompt, as a CAD command line takes it: a
/// text (an empty text is Enter), a point or a real number.
using CadAnswer = std::variant<std::wstring, CadPoint, double>;

/// A command as it is sent: the command name first (for example "_.LINE"),
/// then the answers to its prompts in order.
using CadCommand = std::vector<CadAnswer>;

/// The value of a system variable: a short integer (OSMODE), a real, a text
/// (CLAYER) or a point.
using CadValue = std::variant<short, double, std::wstring, CadPoint>;

/// What the drawing run needs of the CAD application it draws into: the
/// command line, system variables, commands, the current text style, the
/// layer helper and the drawing scale of the function library, and point
/// input. The in-memory drawing (CDrawing) implements it here; a Windows build
/// would forward each operation to the CAD application of the same name.
/// Implementations own their drawing; callers pass texts by value or
/// reference and keep nothing.
class CadHost {
public:
    virtual ~CadHost() = default;

    /// Prints text on the command line ("\n" starts a new line).
    virtual void acutPrintf(const std::wstring& text) = 0;

    /// The value of a system variable, or nothing when the variable is unknown.
    virtual std::optional<CadValue> acedGetVar(const std::wstring& name) = 0;
    /// Sets a system variable; false when the name is unknown or the value is
    /// of the wrong kind or not acceptable (a layer that does not exist).
    virtual bool acedSetVar(const std::wstring& name, const CadValue& value) = 0;

    /// Runs a command with its answers. Returns false when the command is
    /// unknown or an answer is not acceptable; the command then changes nothing.
    virtual bool acedCommand(const CadCommand& command) = 0;

    /// The name of the current text style.
    virtual std::wstring GetTextStyle() = 0;
    /// Makes a defined text style current; false when no style has that name.
    virtual bool SetTextStyle(const std::wstring& name) = 0;

    /// Creates the layer named layer when it does not exist, with description
    /// as its description, and makes it current. The last two arguments
    /// belong to the function library's signature; null keeps the layer's
    /// defaults. Returns false when layer is null or empty.
    virtual bool SetToCurrentLayer(const wchar_t* layer, const wchar_t* description,
                                   const wchar_t* reserved1, const wchar_t* reserved2) = 0;

    /// The drawing's scale factor (1.0 for a drawing at full scale). Lengths
    /// the drawing run sends are multiplied by it.
    virtual double GetDQTzbl() = 0;

    /// Gives the text created last (by "_.TEXT") its own width factor, as a
    /// CAD application does with the last entity opened as a text
    /// (acdbEntLast, AcDbText::setWidthFactor). False when the last entity
    /// is no text or the factor is not finite and above 0.
    virtual bool SetLastTextWidthFactor(double factor) = 0;
    /// Asks for a point on the command line with prompt. Nothing when the user
    /// declines (Enter, end of input, cancel).
    virtual std::optional<CadPoint> acedGetPoint(const std::wstring& prompt) = 0;
};

/// Where the in-memory drawing gets the base point it is asked for: the
/// terminal, a fixed point given as an option, or a test. Implementations
/// keep their own state (the stream they read); the drawing borrows them.
class IPointSource {
public:
    virtual ~IPointSource() = default;
    /// A point, or nothing when the user declines.
    virtual std::optional<CadPoint> GetPoint(const std::wstring& prompt) = 0;
};

}  // namespace loadcal
