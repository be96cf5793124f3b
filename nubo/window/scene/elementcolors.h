// Gives elements other colours.
#pragma once

#include <QColor>
#include <QObject>

#include "module_scene/graph/sceneelement.h"

namespace nubo::window {

class History;
class SceneChanger;

/// Changes the scene by way of the changer, so that it can be undone. Application thread.
class ElementColors : public QObject {
  Q_OBJECT
 public:
  ElementColors(SceneChanger& changer, History& history, QWidget* window);

  /// Asks the user for a colour.
  void choose(const util::YPointer<scene::SceneElement>& element);
  /// All in and below the element gets the colour in the place of textures and of colours of its own, and keeps what is
  /// seen through it. Elements that share its geometries keep theirs.
  void paint(const util::YPointer<scene::SceneElement>& element, const QColor& color);

 private:
  SceneChanger& m_Changer;
  History& m_History;
  QWidget* mp_Window;
};

}  // namespace nubo::window
