#include "nubo/scenefile.h"

#include "module_scene/scene/builtinanimation.h"
#include "module_scene/scene/builtinscene.h"
#include "nubo/commandline.h"

namespace nubo::app {

io::ImportResult readScene(const QString& name) {
  if (name != BuiltinScene) return io::importFile(name);
  io::ImportResult result;
  result.root = scene::createBuiltinScene();
  result.animations = {scene::createBuiltinAnimation(*result.root)};
  return result;
}

}  // namespace nubo::app
