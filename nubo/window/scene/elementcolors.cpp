#include "nubo/window/scene/elementcolors.h"

#include <QColorDialog>
#include <QUndoCommand>
#include <memory>

#include "module_scene/graph/scene.h"
#include "nubo/window/look/history.h"
#include "nubo/window/scene/scenechanger.h"

namespace nubo::window {

namespace {

using Element = util::YPointer<scene::SceneElement>;
using GeometryPointer = util::YPointer<scene::Geometry>;
using MaterialPointer = util::YPointer<scene::Material>;

/// What stands in an element before and after. A geometry that bends belongs to its rig, and stays where it is.
struct Exchange {
  Element element;
  std::size_t index;
  GeometryPointer before, after;
  MaterialPointer materialBefore, materialAfter;
};
using Exchanges = std::vector<Exchange>;

MaterialPointer painted(const scene::Material* material, const QColor& color) {
  const MaterialPointer result(material ? new scene::Material(*material) : new scene::Material);
  const float channels[]{float(color.redF()), float(color.greenF()), float(color.blueF())};
  std::copy_n(channels, 3, result->diffuse.begin());
  result->texture = nullptr;
  if (!result->physical) return result;
  std::copy_n(channels, 3, result->physical->baseColor.begin());
  result->physical->baseColorTexture = scene::TextureUse();
  return result;
}

GeometryPointer painted(const scene::Geometry& geometry, const MaterialPointer& material) {
  const GeometryPointer result(new scene::Geometry(geometry));
  result->material = material;
  result->colors.clear();
  result->transparent = material->isTransparent();
  scene::CopySlot& coarse = geometry.coarseSlot();
  const QMutexLocker locker(&coarse.mutex);
  result->coarseSlot().copy = coarse.copy;  // it has the same vertices
  return result;
}

void gather(const Element& element, const QColor& color, Exchanges& exchanges) {
  const auto& geometries = element->getGeometries();
  for (std::size_t i = 0; i < geometries.size(); ++i) {
    const GeometryPointer& own = geometries[i];
    const MaterialPointer material = painted(own->material.get(), color);
    const bool bends = !own->identities.empty();
    exchanges.push_back({element, i, own, bends ? own : painted(*own, material), own->material, material});
  }
  for (const Element& child : element->getChildren()) gather(child, color, exchanges);
}

void put(const Exchanges& exchanges, bool back) {
  const scene::SceneChange change(scene::_GlobalScene(), scene::LockAll);
  for (const Exchange& each : exchanges) {
    if (each.before == each.after) each.before->material = back ? each.materialBefore : each.materialAfter;
    each.element->setGeometry(each.index, back ? each.before : each.after);
  }
}

/// The copies are made on the changer's thread, in front of whatever undoes them.
struct Painting : QUndoCommand {
  Painting(SceneChanger& changer, const Element& element, const QColor& color)
      : QUndoCommand(ElementColors::tr("Colour")), m_Changer(changer) {
    m_Changer.change({}, [exchanges = m_Exchanges, element, color] {
      {
        const scene::SceneLocker locker(scene::_GlobalScene(), scene::LockAll);
        gather(element, color, *exchanges);
      }
      put(*exchanges, false);
    });
  }
  void undo() override { go(true); }
  void redo() override {
    if (!std::exchange(m_IsNew, false)) go(false);
  }
  void go(bool back) {
    m_Changer.change({}, [exchanges = m_Exchanges, back] { put(*exchanges, back); });
  }

  SceneChanger& m_Changer;
  const std::shared_ptr<Exchanges> m_Exchanges = std::make_shared<Exchanges>();
  bool m_IsNew = true;
};

}  // namespace

ElementColors::ElementColors(SceneChanger& changer, History& history, QWidget* window)
    : QObject(window), m_Changer(changer), m_History(history), mp_Window(window) {}

void ElementColors::choose(const Element& element) {
  const QColor color = QColorDialog::getColor(Qt::white, mp_Window, tr("Colour of “%1”").arg(element->getName()));
  if (color.isValid()) paint(element, color);
}

void ElementColors::paint(const Element& element, const QColor& color) {
  m_History.push(new Painting(m_Changer, element, color));
}

}  // namespace nubo::window
