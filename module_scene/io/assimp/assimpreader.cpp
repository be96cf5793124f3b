#include "module_scene/io/assimp/assimpreader.h"

#include <assimp/config.h>
#include <assimp/postprocess.h>
#include <assimp/scene.h>

#include <QFile>
#include <QFileInfo>
#include <QMutex>
#include <algorithm>
#include <assimp/DefaultLogger.hpp>
#include <assimp/Importer.hpp>
#include <assimp/LogStream.hpp>
#include <iostream>
#include <optional>

#include "module_scene/io/assimp/sceneconverter.h"
#include "module_scene/io/importer.h"
#include "module_scene/io/importerror.h"

namespace nubo::io {
namespace {

QString oneLine(const char* text) { return QString::fromUtf8(text).simplified().left(300); }

/// Collects Assimp's warnings while it lives; nobody else may use Assimp meanwhile. What a few of its readers write
/// past its log is dropped.
class WarningCollector {
 public:
  explicit WarningCollector(QStringList& warnings)
      : m_Lock(&mutex()), mp_ErrorOutput(std::cerr.rdbuf(nullptr)), mp_Stream(new Stream(warnings)) {
    Assimp::DefaultLogger::create(nullptr, Assimp::Logger::NORMAL, 0);
    Assimp::DefaultLogger::get()->attachStream(mp_Stream, Assimp::Logger::Warn | Assimp::Logger::Err);
  }
  ~WarningCollector() {
    Assimp::DefaultLogger::kill();  // which deletes the stream
    std::cerr.rdbuf(mp_ErrorOutput);
  }

 private:
  struct Stream : Assimp::LogStream {
    explicit Stream(QStringList& warnings) : m_Warnings(warnings) {}
    void write(const char* message) override {
      static constexpr int Enough = 20;
      // "Warn,  T0: the text"
      QString text = oneLine(message);
      text = text.mid(text.indexOf(QLatin1String(": ")) + 2);
      if (m_Warnings.size() < Enough && !m_Warnings.contains(text)) m_Warnings << text;
    }
    QStringList& m_Warnings;
  };
  static QMutex& mutex() {
    static QMutex mutex;
    return mutex;
  }

  const QMutexLocker m_Lock;
  std::streambuf* const mp_ErrorOutput;
  Stream* mp_Stream;
};

/// Whether the format has z up, so that nothing is turned on its way here. Assimp turns most others to y
/// up, and a few formats it leaves as they are.
bool hasVerticalZ(const QString& suffix) {
  static const QStringList suffixes{QStringLiteral("stl"), QStringLiteral("ply"), QStringLiteral("off"),
                                    QStringLiteral("amf"), QStringLiteral("3mf"), QStringLiteral("dxf"),
                                    QStringLiteral("raw"), QStringLiteral("cob"), QStringLiteral("scn")};
  return suffixes.contains(suffix);
}

/// From what an FBX file says of its axes, which Assimp leaves as they are; nothing where that makes no sense.
std::optional<math::Matrix4> statedUpright(const aiScene& scene) {
  static constexpr struct {
    const char *axis, *sign;
    int row, direction;
  } Axes[]{{"CoordAxis", "CoordAxisSign", 0, 1}, {"FrontAxis", "FrontAxisSign", 1, -1}, {"UpAxis", "UpAxisSign", 2, 1}};
  math::Matrix4 upright = math::scaling(0, 0, 0);
  unsigned seen = 0;
  for (const auto& [axisName, signName, row, direction] : Axes) {
    std::int32_t axis = -1, sign = 0;
    const aiMetadata* stated = scene.mMetaData;
    const bool isKnown = stated && stated->Get(axisName, axis) && stated->Get(signName, sign);
    if (!isKnown || axis < 0 || axis > 2 || (sign != 1 && sign != -1)) return std::nullopt;
    upright(row, axis) = direction * sign;
    seen |= 1u << axis;
  }
  return seen == 7 ? std::optional(upright) : std::nullopt;
}

/// Turns the scene so that z is up.
math::Matrix4 uprightFor(const QString& suffix, const aiScene& scene) {
  if (hasVerticalZ(suffix)) return math::Matrix4();
  math::Matrix4 yToZ;
  yToZ(1, 1) = 0, yToZ(1, 2) = -1, yToZ(2, 1) = 1, yToZ(2, 2) = 0;
  return suffix == QLatin1String("fbx") ? statedUpright(scene).value_or(yToZ) : yToZ;
}

[[noreturn]] void throwCause(const Assimp::Importer& importer) {
  QString cause = oneLine(importer.GetErrorString());
  if (cause.contains(QLatin1String("No suitable reader"))) cause = ImportError::tr("its format is not known");
  throw ImportError(cause.isEmpty() ? ImportError::tr("its content is not understood") : cause);
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

const aiScene& readScene(Assimp::Importer& importer, const QString& fileName) {
  importer.SetPropertyBool(AI_CONFIG_IMPORT_FBX_PRESERVE_PIVOTS, false);
  const aiScene* scene = importer.ReadFile(QFile::encodeName(fileName).constData(), 0);
  if (!scene || !scene->mRootNode) throwCause(importer);
  // Assimp's own check would refuse point clouds and files with harmless faults.
  for (unsigned i = 0; i < scene->mNumMeshes; ++i) mendFaces(*scene->mMeshes[i]);
  if (std::all_of(scene->mMeshes, scene->mMeshes + scene->mNumMeshes,
                  [](aiMesh* mesh) { return mesh->mNumFaces == 0; }))
    throw ImportError(ImportError::tr("it holds no geometry"));
  scene = importer.ApplyPostProcessing(aiProcess_Triangulate | aiProcess_SortByPType | aiProcess_GenUVCoords |
                                       aiProcess_TransformUVCoords);
  if (!scene || !scene->mRootNode) throwCause(importer);
  return *scene;
}

}  // namespace
}  // namespace nubo::io

void readWithAssimp(const QString& fileName, nubo::io::ImportResult& result) {
  using namespace nubo::io;
  const WarningCollector collector(result.warnings);
  Assimp::Importer importer;
  const aiScene& scene = readScene(importer, fileName);
  const QString suffix = QFileInfo(fileName).suffix().toLower();
  const bool linear =
      suffix == QLatin1String("gltf") || suffix == QLatin1String("glb") || suffix == QLatin1String("vrm");
  SceneConverter(fileName, scene, result).convert(uprightFor(suffix, scene), linear);
}

void listSuffixes(QStringList& suffixes) {
  aiString list;
  Assimp::Importer().GetExtensionList(list);
  for (const QString& pattern : QString::fromUtf8(list.C_Str()).split(QLatin1Char(';'), Qt::SkipEmptyParts))
    suffixes << pattern.mid(2).toLower();  // from "*.obj"
}
