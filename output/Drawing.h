#pragma once

#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

#include "output/CadHost.h"

namespace loadcal {

/// A layer of the in-memory drawing.
struct CadLayer {
    std::wstring name;
    std::wstring description;
};

/// A text style of the in-memory drawing. Font files are SHX file names in
/// lower case with their extension ("romans6.shx"); bigFont is empty when the
/// style has none. height 0 means the TEXT command asks for the height;
/// obliqueAngle is in degrees.
struct CadTextStyle {
    std::wstring name;
    std::wstring font = L"txt.shx";
    std::wstring bigFont;
    double height = 0;
    double widthFactor = 1;
    double obliqueAngle = 0;
    bool backwards = false;
    bool upsideDown = false;
    bool vertical = false;
};

/// A line segment; layer indexes CDrawing::Layers().
struct CadLine {
    CadPoint start;
    CadPoint end;
    int layer = 0;
};

/// A polyline of straight segments with a constant width (drawing units);
/// closed joins the last point to the first. layer indexes CDrawing::Layers().
struct CadPolyline {
    std::vector<CadPoint> points;
    double width = 0;
    bool closed = false;
    int layer = 0;
};

/// A single-line text. position is the justification point (the middle
/// centre for "MC"); horizontal and vertical are the DXF justification codes
/// (72: 0 left, 1 centre, 2 right, 4 middle; 73: 0 baseline, 1 bottom,
/// 2 middle, 3 top). height in drawing units, rotation and obliqueAngle in
/// degrees; widthFactor and obliqueAngle come from the style when the text is
/// created. style and layer index Styles() and Layers().
struct CadText {
    CadPoint position;
    double height = 0;
    double rotation = 0;
    double widthFactor = 1;
    double obliqueAngle = 0;
    int horizontal = 0;
    int vertical = 0;
    int style = 0;
    int layer = 0;
    std::wstring text;
};

/// An in-memory drawing that plays the CAD application for the drawing run:
/// it holds layers, text styles, the system variables OSMODE, CLAYER,
/// TEXTSTYLE and TEXTSIZE, lines, polylines and texts, and executes the
/// commands "LINE", "PLINE", "TEXT", "STYLE" and "LAYER" (with or without the
/// "_" and "." prefixes)
/// with the answers a command line would take. It starts as a new drawing:
/// layer "0", text style "Standard" (font txt.shx), OSMODE 4133 (the value of
/// a new drawing), TEXTSIZE 2.5.
///
/// Command rules, where they go beyond the prompts:
/// - LINE: two or more points, then an empty answer; one segment per
///   consecutive pair.
/// - PLINE: a point, then points, each optionally preceded by "W" and the
///   start and end width (equal: the polyline has one width); ended by "C"
///   (closed) or an empty answer; two or more points.
/// - TEXT: optionally "J" and a one-point justification (C, M, R, TL, TC, TR,
///   ML, MC, MR, BL, BC, BR); the point; the height only when the current
///   style's height is 0 (empty: TEXTSIZE); the rotation (empty: 0); the text.
///   An empty text ends the command without a text, as on the command line.
/// - STYLE: name, "font[,big font]", height, width factor, obliquing angle,
///   backwards, upside-down, vertical (Y/N); an empty answer keeps the value
///   the style has (a new style starts from the current one). Font names
///   without an extension get ".shx"; all are kept in lower case. The style
///   becomes current.
/// - LAYER: option "S" (or "SET") with an existing layer name, repeated,
///   ended by an empty answer.
/// A command with an unknown name or an unacceptable answer changes nothing
/// and returns false. Layer and style names compare without regard to case.
///
/// The base point comes from an IPointSource that the drawing borrows (none:
/// every request is declined); command-line output goes to a borrowed UTF-8
/// stream (none: discarded). When recording is on, every command is kept as
/// sent, in order. Lengths are drawing units; the drawing scale is given at
/// construction.
class CDrawing final : public CadHost {
public:
    explicit CDrawing(double scale = 1.0, IPointSource* points = nullptr,
                      std::ostream* commandLine = nullptr);

    void acutPrintf(const std::wstring& text) override;
    std::optional<CadValue> acedGetVar(const std::wstring& name) override;
    bool acedSetVar(const std::wstring& name, const CadValue& value) override;
    bool acedCommand(const CadCommand& command) override;
    std::wstring GetTextStyle() override;
    bool SetTextStyle(const std::wstring& name) override;
    bool SetToCurrentLayer(const wchar_t* layer, const wchar_t* description,
                           const wchar_t* reserved1, const wchar_t* reserved2) override;
    double GetDQTzbl() override { return m_scale; }
    bool SetLastTextWidthFactor(double factor) override;
    std::optional<CadPoint> acedGetPoint(const std::wstring& prompt) override;

    /// Keeps every command sent from now on (off by default: a large table
    /// sends hundreds of thousands).
    void RecordCommands(bool on) { m_recording = on; }
    const std::vector<CadCommand>& Commands() const { return m_commands; }

    const std::vector<CadLayer>& Layers() const { return m_layers; }
    const std::vector<CadTextStyle>& Styles() const { return m_styles; }
    const std::vector<CadLine>& Lines() const { return m_lines; }
    const std::vector<CadText>& Texts() const { return m_texts; }
    const std::vector<CadPolyline>& Polylines() const { return m_polylines; }
    const CadLayer& CurrentLayer() const { return m_layers[static_cast<size_t>(m_currentLayer)]; }
    const CadTextStyle& CurrentStyle() const
    {
        return m_styles[static_cast<size_t>(m_currentStyle)];
    }
    short Osmode() const { return m_osmode; }
    double TextSize() const { return m_textSize; }
    double Scale() const { return m_scale; }

    /// Index of the layer or style of that name (without regard to case), or -1.
    int FindLayer(const std::wstring& name) const;
    int FindStyle(const std::wstring& name) const;

private:
    bool RunLine(const CadCommand& command);
    bool RunText(const CadCommand& command);
    bool RunPline(const CadCommand& command);
    bool RunStyle(const CadCommand& command);
    bool RunLayer(const CadCommand& command);

    double m_scale;
    IPointSource* m_points;
    std::ostream* m_commandLine;
    std::vector<CadLayer> m_layers;
    std::vector<CadTextStyle> m_styles;
    std::vector<CadLine> m_lines;
    std::vector<CadText> m_texts;
    std::vector<CadPolyline> m_polylines;
    bool m_lastIsText = false;  ///< the last entity created is m_texts.back()
    std::vector<CadCommand> m_commands;
    int m_currentLayer = 0;
    int m_currentStyle = 0;
    short m_osmode = 4133;
    double m_textSize = 2.5;
    bool m_recording = false;
};

}  // namespace loadcal
