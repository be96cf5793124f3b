// Reads all the formats that Assimp knows, but for those that others read better.
#include <assimp/config.h>
#include <assimp/postprocess.h>
#include <assimp/scene.h>

#include <algorithm>
#include <assimp/DefaultLogger.hpp>
#include <assimp/Importer.hpp>
#include <assimp/LogStream.hpp>
#include <assimp/ProgressHandler.hpp>
#include <cstring>
#include <filesystem>
#include <memory>
#include <new>

#include "module_scene/io/reader/reader.h"
#include "plugins/readers/assimp/colladashapes.h"
#include "plugins/readers/assimp/filesystem.h"
#include "plugins/readers/assimp/markedtext.h"
#include "plugins/readers/assimp/sceneconverter.h"
#include "plugins/readers/assimp/smoothinggroups.h"
#include "plugins/readers/assimp/xfilecheck.h"

namespace nubo::reader {
namespace {

/// What Assimp says of sound files, too: which field an older version did not write yet, that weights of shapes move no
/// node, and what it thinks of meshes that stand in for shapes.
constexpr const char* Noise[]{"BlendDNA: Did not find a field", "<add reason>",
                              "failed to resolve target Model/NodeAttribute/Constraint", ShapeNode};

/// Hands on Assimp's warnings while it lives.
class WarningCollector {
 public:
  explicit WarningCollector(Output& output) {
    Assimp::DefaultLogger::create(nullptr, Assimp::Logger::NORMAL, 0);
    Assimp::DefaultLogger::get()->attachStream(new Stream(output), Assimp::Logger::Warn | Assimp::Logger::Err);
  }
  ~WarningCollector() { Assimp::DefaultLogger::kill(); }  // which deletes the stream

 private:
  struct Stream : Assimp::LogStream {
    explicit Stream(Output& output) : m_Output(output) {}
    void write(const char* message) override {
      // "Warn,  T0: the text"
      const char* text = std::strstr(message, ": ");
      const bool isNoise = std::any_of(std::begin(Noise), std::end(Noise),
                                       [&](const char* words) { return std::strstr(message, words); });
      if (!isNoise) m_Output.warning(text ? text + 2 : message);
    }
    Output& m_Output;
  };
};

struct Progress : Assimp::ProgressHandler {
  explicit Progress(Output& output) : m_Output(output) {}
  bool Update(float fraction) override {
    m_Output.progress(fraction);
    return true;
  }
  Output& m_Output;
};

[[noreturn]] void throwCause(const Assimp::Importer& importer) {
  const std::string cause = importer.GetErrorString();
  if (cause.find("bad_alloc") != std::string::npos) throw std::bad_alloc();
  if (cause.find("No suitable reader") != std::string::npos) throw Refusal("its format is not known");
  throw Refusal(cause.empty() ? "its content is not understood" : cause);
}

unsigned typeOf(const aiFace& face) {
  static constexpr unsigned Types[]{aiPrimitiveType_POINT, aiPrimitiveType_LINE, aiPrimitiveType_TRIANGLE};
  return face.mNumIndices <= 3 ? Types[face.mNumIndices - 1] : unsigned(aiPrimitiveType_POLYGON);
}

/// Leaves out faces with vertices that are not there, which later steps would follow, and gives vertices
/// without any face, such as those of a point cloud, a point each.
void mendFaces(aiMesh& mesh) {
  unsigned kept = 0;
  for (unsigned f = 0; f < mesh.mNumFaces; ++f) {
    aiFace& face = mesh.mFaces[f];
    if (face.mNumIndices > 0 &&
        std::all_of(face.mIndices, face.mIndices + face.mNumIndices, [&](unsigned i) { return i < mesh.mNumVertices; }))
      std::swap(mesh.mFaces[kept++], face);
  }
  const bool hadFaces = mesh.mNumFaces > 0;
  if (hadFaces) mesh.mPrimitiveTypes = 0;
  for (unsigned f = 0; f < kept; ++f) mesh.mPrimitiveTypes |= typeOf(mesh.mFaces[f]);
  mesh.mNumFaces = kept;
  if (mesh.mPrimitiveTypes == 0) mesh.mPrimitiveTypes = aiPrimitiveType_POINT;  // none at all would be refused
  if (hadFaces || mesh.mNumVertices == 0) return;
  delete[] mesh.mFaces;
  mesh.mFaces = new aiFace[mesh.mNumVertices];
  mesh.mNumFaces = mesh.mNumVertices;
  for (unsigned i = 0; i < mesh.mNumFaces; ++i) {
    mesh.mFaces[i].mNumIndices = 1;
    mesh.mFaces[i].mIndices = new unsigned[1]{i};
  }
  mesh.mPrimitiveTypes = aiPrimitiveType_POINT;
}

/// The program finds better ones, with creases, for meshes that have none.
void dropNormals(const aiScene& scene) {
  for (unsigned i = 0; i < scene.mNumMeshes; ++i) {
    delete[] scene.mMeshes[i]->mNormals;
    scene.mMeshes[i]->mNormals = nullptr;
  }
}

std::unique_ptr<aiScene> readScene(Assimp::Importer& importer, const std::string& name, Output& output) {
  importer.SetPropertyBool(AI_CONFIG_IMPORT_FBX_PRESERVE_PIVOTS, false);
  const aiScene* scene = importer.ReadFile(name, 0);
  if (!scene || !scene->mRootNode) throwCause(importer);
  output.progress(-1);
  // Assimp's own check would refuse point clouds and files with harmless faults.
  for (unsigned i = 0; i < scene->mNumMeshes; ++i) mendFaces(*scene->mMeshes[i]);
  if (std::all_of(scene->mMeshes, scene->mMeshes + scene->mNumMeshes,
                  [](aiMesh* mesh) { return mesh->mNumFaces == 0; }))
    throw Refusal("it holds no geometry");
  scene = importer.ApplyPostProcessing(aiProcess_Triangulate | aiProcess_SortByPType | aiProcess_GenUVCoords |
                                       aiProcess_TransformUVCoords);
  if (!scene || !scene->mRootNode) throwCause(importer);
  output.progress(-1);
  return std::unique_ptr<aiScene>(importer.GetOrphanedScene());
}

}  // namespace
}  // namespace nubo::reader

NUBO_READER_ENTRY(file, format, output) {
  using namespace nubo::reader;
  checkXFile(file);
  const WarningCollector collector(output);
  Assimp::Importer importer;
  // Assimp goes by names: a file that is called otherwise gets one that tells its format.
  std::filesystem::path name(file);
  std::string suffix = name.extension().string();
  std::transform(suffix.begin(), suffix.end(), suffix.begin(), [](unsigned char c) { return std::tolower(c); });
  if (suffix != "." + format) name += "." + format;
  const ColladaDocument document = format == "dae" || format == "zae" ? readColladaDocument(file) : ColladaDocument();
  const std::string content = document.text.empty() ? contentOfMarkedText(file) : document.text;
  importer.SetIOHandler(new FileSystem(name.string(), file, content, output));
  importer.SetProgressHandler(new Progress(output));
  const std::unique_ptr<aiScene> scene = readScene(importer, name.string(), output);
  takeColladaShapes(document, *scene);
  if (format == "3ds" && !hasSmoothingGroups(file)) dropNormals(*scene);
  SceneConverter(*scene, format, output).convert();
}
