#include "nubo/cli/scenefile.h"

#include "module_scene/builtin/builtinanimation.h"
#include "module_scene/builtin/builtinscene.h"
#include "nubo/cli/commandline.h"

namespace nubo::app {

io::ImportResult readScene(const QString& name) {
  if (name != BuiltinScene) return io::importFile(name);
  io::ImportResult result;
  result.root = scene::createBuiltinScene();
  result.animations = {scene::createBuiltinAnimation(*result.root)};
  return result;
}

}  // namespace nubo::app
