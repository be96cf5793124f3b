// Which of Qt's platforms the program runs on.
#pragma once

#include <QString>

namespace nubo::app {

/// Where Qt's plug-ins of the program's own lie, whether they are there or not. Also before the QApplication is made.
QString pluginFolder();

/// Whether the user set QT_QPA_PLATFORM; before choosePlatform does.
bool isPlatformChosen();

/// Chooses the platform for a run without a window, through QT_QPA_PLATFORM, unless the user set that: OpenGL
/// through EGL, else an X display. Before the QApplication is made. Returns the empty text, or one line that says
/// what to install where OpenGL is not to be had; the program runs then, but cannot draw.
QString choosePlatform();

/// Why nothing can be drawn on the platform that the user chose through QT_QPA_PLATFORM; "" where it can. After the
/// QApplication is made.
QString whyPlatformCannotDraw();

/// The same as choosePlatform for a run with a window: leaves the choice to Qt. The empty text, or one line that says
/// that there is no display to be reached; Qt would end the program then.
QString checkDisplay();

}  // namespace nubo::app
