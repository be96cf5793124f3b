// Gives the meshes of a COLLADA file their shapes.
#pragma once

#include "plugins/readers/assimp/colladadocument.h"

struct aiScene;

namespace nubo::reader {

/// Takes the nodes that hold shapes out of the scene that Assimp made of the document, and gives what they hold to the
/// meshes of the nodes above them; curves of weights become part of the first animation.
void takeColladaShapes(const ColladaDocument& document, aiScene& scene);

}  // namespace nubo::reader
