// COLLADA documents that Assimp refuses or takes wrongly, as it can read them.
#pragma once

#include <string>
#include <vector>

namespace nubo::reader {

/// A form that a mesh can take.
struct ColladaShape {
  std::string name;
  float weight = 0;         ///< at rest
  bool isRelative = false;  ///< what is to be added; otherwise the form itself
};

/// How the weight of a shape goes on, straight from key to key.
struct ColladaCurve {
  std::size_t shape = 0;
  std::vector<float> times, weights;  ///< seconds, sorted; as many
};

/// A controller that mixes forms.
struct ColladaMorph {
  std::vector<ColladaShape> shapes;
  std::vector<ColladaCurve> curves;
};

/// A skin without a matrix for the mesh at rest, which is the same as identity, has that. Curves go straight from key
/// to key. What stands in for morphs: each node that used one has the plain mesh, and below it a node for each shape,
/// with the mesh in that form and the name of `shapeNode`.
struct ColladaDocument {
  std::string text;  ///< empty where there is nothing to mend: the file is good as it is
  std::vector<ColladaMorph> morphs;
};

/// Of a document, or of an archive with one, which is an archive again.
ColladaDocument readColladaDocument(const std::string& fileName);

/// The begin of the name of a node that holds a shape; the numbers of morph and shape follow, each with a blank behind.
constexpr char ShapeNode[] = "nubo shape ";

}  // namespace nubo::reader
