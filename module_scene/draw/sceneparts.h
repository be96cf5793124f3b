// What a scene consists of, without its tree: geometries, where they are, and a hierarchy over them.
#pragma once

#include <array>
#include <cstdint>
#include <utility>
#include <vector>

#include "module_scene/graph/sceneelement.h"
#include "module_scene/graph/section.h"
#include "module_scene/mesh/boxtree.h"

namespace nubo::scene {

/// A geometry where one element has it.
struct ScenePart {
  const Geometry* geometry;
  const SceneElement* element;
  Layer layer;
  math::Matrix4 place;  ///< from its space to the one that the roots are in
  bool closes = false;  ///< it is no part of the scene, but closes what the section cuts
};

/// The parts of all visible elements, and the faces where a section cuts them, in the order in which they are drawn:
/// what is opaque by its material, since to change it takes longer than to draw what is small, and one geometry in all
/// its places after the other; what is transparent as it stands in the scene. Parts that only move keep their
/// hierarchy, which is refitted. For one thread at a time.
class SceneParts {
 public:
  /// Roots of which either may be null, a number that changes whenever something below them does, and what cuts them,
  /// which may be null.
  struct Subject {
    std::array<const SceneElement*, 2> roots;
    std::uint64_t changes = 0;
    util::YPointer<Section> section = nullptr;

    bool operator==(const Subject& o) const { return roots == o.roots && changes == o.changes && section == o.section; }
  };
  /// Looks again at what is not as it was. The parts last for as long as the scene is kept still.
  void update(const Subject& subject);
  /// Looks again, whatever was there.
  void reset(const Subject& subject);
  /// While it is the same, so are the parts.
  std::uint64_t version() const { return m_Version; }
  /// While it is the same, so are the parts but for their places.
  std::uint64_t arrangement() const { return m_Arrangement; }

  const std::vector<ScenePart>& all() const { return m_Parts; }
  /// Of all, as they are drawn: where their copies lie in that order, they may be drawn together.
  std::vector<const Geometry*> geometries() const;
  /// Over their boxes, in the space that the roots are in.
  const BoxTree& tree() const { return m_Tree; }
  /// Pixels: of all points or lines, 0 if there are none.
  float widest(Kind kind) const { return kind == KindPoints ? m_WidestPoint : m_WidestLine; }
  /// Whether there are only opaque points without light and textures.
  bool arePlainPoints() const { return m_ArePlainPoints; }
  /// What cuts them; null: nothing does.
  const Section* section() const { return m_Subject.section.get(); }
  /// Elements that the section cuts where they have a border, so that they are not closed there.
  const std::vector<const SceneElement*>& openElements() const { return m_Open; }

 private:
  void cut();
  void gather(const SceneElement& element, const math::Matrix4& parent, Layer inherited);
  bool isArranged() const;
  void arrange();

  bool m_IsKnown = false;
  Subject m_Subject{};
  std::uint64_t m_Version = 0, m_Arrangement = 0;
  std::vector<ScenePart> m_Found;               ///< as they stand in the scene
  std::vector<util::YPointer<Geometry>> m_Own;  ///< those that close
  std::vector<const SceneElement*> m_Open;
  std::vector<std::pair<const Geometry*, Layer>> m_Arranged;  ///< those of m_Found for which m_Places was made
  std::vector<std::uint32_t> m_Places;                        ///< of each of m_Found: where in m_Parts
  std::vector<ScenePart> m_Parts;
  BoxTree m_Tree;
  float m_WidestPoint = 0, m_WidestLine = 0;
  bool m_ArePlainPoints = false;
};

}  // namespace nubo::scene
