// Makes the scene's types available as command parameters.
#pragma once

namespace nubo::gui {

/// Registers the cast classes of Matrix4 (16 numbers, row by row, with blanks between them) and of
/// ScenePanel (its object name; an empty text is the active panel) with the kernel.
void registerCastClasses();

}  // namespace nubo::gui
