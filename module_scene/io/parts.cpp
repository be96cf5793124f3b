#include "module_scene/io/parts.h"

#include <map>

namespace nubo::io {
namespace {

/// Elements of its own, with the same geometries.
util::YPointer<scene::SceneElement> copyOf(const scene::SceneElement& source) {
  const util::YPointer<scene::SceneElement> copy(new scene::SceneElement(source.getName()));
  copy->setTransform(source.getTransform());
  for (const auto& geometry : source.getGeometries()) copy->addGeometry(geometry);
  for (const auto& child : source.getChildren()) copy->addChild(copyOf(*child));
  return copy;
}

/// Of geometries that no scene has yet.
void setMaterial(const scene::SceneElement& element, const util::YPointer<scene::Material>& material) {
  for (const auto& geometry : element.getGeometries()) {
    if (geometry->material || !geometry->colors.empty()) continue;
    geometry->material = material;
    geometry->transparent = material->isTransparent();
    geometry->closed = geometry->closed && !geometry->transparent;
  }
  for (const auto& child : element.getChildren()) setMaterial(*child, material);
}

}  // namespace

void addParts(const std::vector<ModelBuilder::Part>& parts, const std::function<ImportResult(const QString&)>& read,
              ImportResult& result) {
  // A file that occurs in several materials has geometries for each.
  std::map<std::pair<QString, const scene::Material*>, util::YPointer<scene::SceneElement>> roots;
  for (const ModelBuilder::Part& part : parts) {
    const auto [found, isNew] = roots.try_emplace({part.file, part.material.get()});
    if (!isNew) {
      if (found->second) part.element->addChild(copyOf(*found->second));
      continue;
    }
    const ImportResult content = read(part.file);
    result.warnings << content.warnings;
    if (!content.root) {
      result.warnings << content.error;
      continue;
    }
    found->second = content.root;
    if (part.material) setMaterial(*content.root, part.material);
    part.element->addChild(content.root);
  }
}

}  // namespace nubo::io
