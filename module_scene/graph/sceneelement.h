// A node of the scene graph.
#pragma once

#include <QString>
#include <memory>
#include <vector>

#include "module_scene/graph/geometry.h"
#include "module_scene/graph/joint.h"

namespace nubo::scene {

struct Rig;

/// Layers, as bits of SceneDrawer::glDraw's second-last argument. A picture draws the model and its
/// transparent parts (3); a video frame draws all (65535).
enum Layer { LayerModel = 1, LayerTransparent = 2, LayerTrajectory = 4, LayerMarkers = 8, LayerAxes = 16 };

/// An element with a transform, geometry and children. Readers hold a scene lock, changers a
/// SceneChange (see scene.h). An element has at most one parent.
class NUBO_MODULE_SCENE_EXPORT SceneElement : public util::YObject {
 public:
  explicit SceneElement(const QString& name = QString());
  ~SceneElement() override;

  const QString& getName() const { return m_Name; }
  void setName(const QString& name) { m_Name = name; }
  /// From this element's space to its parent's.
  const math::Matrix4& getTransform() const { return m_Transform; }
  void setTransform(const math::Matrix4& transform) { m_Transform = transform; }
  bool isVisible() const { return m_Visible; }
  /// Hides the element with all below it.
  void setVisible(bool visible) { m_Visible = visible; }
  /// LayerModel, or the overlay that the element belongs to.
  Layer getLayer() const { return m_Layer; }
  void setLayer(Layer layer) { m_Layer = layer; }

  const std::vector<util::YPointer<Geometry>>& getGeometries() const { return m_Geometries; }
  void addGeometry(const util::YPointer<Geometry>& geometry) { m_Geometries.push_back(geometry); }
  /// In the place of one that there is.
  void setGeometry(std::size_t index, const util::YPointer<Geometry>& geometry) { m_Geometries[index] = geometry; }

  /// How much of each shape there is in the element's meshes; those beyond are 0.
  const std::vector<float>& getShapeWeights() const { return m_ShapeWeights; }
  void setShapeWeights(std::vector<float> weights) { m_ShapeWeights = std::move(weights); }
  /// What is deformed below this element (see rig.h); mostly null.
  Rig* getRig() const { return mp_Rig.get(); }
  void setRig(const util::YPointer<Rig>& rig);
  /// How the element moves in the machine that it is a part of; mostly null.
  const Joint* getJoint() const { return m_Joint.get(); }
  void setJoint(const Joint& joint) { m_Joint = std::make_unique<const Joint>(joint); }

  SceneElement* getParent() const { return mp_Parent; }
  const std::vector<util::YPointer<SceneElement>>& getChildren() const { return m_Children; }
  /// Moves the child here from the parent it had.
  void addChild(const util::YPointer<SceneElement>& child);
  void removeChild(SceneElement* child);
  /// The first element of this name, this one included, depth first; null if there is none.
  SceneElement* find(const QString& name);
  /// From this element's space to the root's parent space.
  math::Matrix4 getGlobalTransform() const;
  /// In the parent's space, of all visible geometry in and below this element.
  BoundingBox getBoundingBox() const;

 private:
  QString m_Name;
  math::Matrix4 m_Transform;
  bool m_Visible = true;
  Layer m_Layer = LayerModel;
  std::vector<util::YPointer<Geometry>> m_Geometries;
  std::vector<float> m_ShapeWeights;
  util::YPointer<Rig> mp_Rig;
  std::unique_ptr<const Joint> m_Joint;
  SceneElement* mp_Parent = nullptr;
  std::vector<util::YPointer<SceneElement>> m_Children;
};

}  // namespace nubo::scene
