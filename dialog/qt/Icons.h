#pragma once

#include <QIcon>
#include <QPixmap>

namespace loadcal {

/// Side of a toolbar image in pixels.
inline constexpr int kToolbarImageSize = 16;

/// The toolbar image of a command (16 x 16 pixels, drawn here), with its own
/// greyed image for the disabled state. A null icon for an id without one.
QIcon ToolbarIcon(unsigned commandId);

/// The greyed, lightened form of an image (disabled toolbar buttons).
QPixmap DisabledImage(const QPixmap& image);

/// The program's icon (a calculation sheet with a lightning bolt) at
/// size x size pixels: window icon and about box. data/loadcal.svg is the
/// same drawing for the desktop entry.
QPixmap ApplicationIcon(int size);

}  // namespace loadcal
