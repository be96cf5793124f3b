// Reads glTF 2.0 with RapidJSON and tinygltf; what Draco and meshopt have packed is unpacked here.
#include <algorithm>
#include <array>
#include <filesystem>
#include <memory>
#include <utility>

#include "plugins/readers/gltf/loading.h"
#include "plugins/readers/gltf/materials.h"
#include "plugins/readers/gltf/mending.h"
#include "plugins/readers/gltf/nodes.h"

namespace nubo::reader {
namespace {

/// What is read in full; other extensions only leave something out, unless a file requires them.
constexpr std::array<const char*, 10> Known{"KHR_draco_mesh_compression", "EXT_meshopt_compression",
                                            "KHR_meshopt_compression",    "KHR_mesh_quantization",
                                            "EXT_mesh_gpu_instancing",    "KHR_texture_transform",
                                            "KHR_materials_unlit",        "KHR_materials_emissive_strength",
                                            "KHR_materials_variants",     "EXT_texture_webp"};

bool isKnown(const std::string& extension) { return std::find(Known.begin(), Known.end(), extension) != Known.end(); }

/// Keeps a picture's bytes as they are, for later.
bool keepImage(tinygltf::Image* image, int, std::string*, std::string*, int, int, const unsigned char* bytes, int size,
               void*) {
  image->image.assign(bytes, bytes + size);
  return true;
}

bool isNoContent(const std::string& name) { return std::filesystem::path(name).filename() == NoContent; }

bool exists(const std::string& name, void*) {
  if (isNoContent(name)) return true;
  std::error_code none;
  return std::filesystem::is_regular_file(name, none);
}

bool readOther(std::vector<unsigned char>* bytes, std::string*, const std::string& name, void* output) {
  *bytes = isNoContent(name) ? std::vector<unsigned char>(1) : readWhole(name, *static_cast<Output*>(output));
  return !bytes->empty();
}

/// Stays until the process ends, which is when the file is read: the program waits for that, and taking a model of many
/// parts apart takes time.
const tinygltf::Model& modelOf(const std::string& file, Container& container, Output& output) {
  rapidjson::Document gltf = parsed(std::exchange(container.text, {}));
  mend(gltf);
  tinygltf::TinyGLTF loader;
  loader.SetImageLoader(keepImage, nullptr);
  const auto asItIs = [](const std::string& path, void*) { return path; };
  loader.SetFsCallbacks({exists, asItIs, readOther, nullptr, &output});
  auto model = std::make_unique<tinygltf::Model>();
  load(std::move(gltf), std::filesystem::path(file).parent_path().string(), loader, *model);
  return *model.release();
}

void checkExtensions(const tinygltf::Model& model, Output& output) {
  for (const std::string& extension : model.extensionsRequired)
    if (!isKnown(extension)) throw Refusal("it requires the extension %1, which is not known", {extension});
  for (const std::string& extension : model.extensionsUsed)
    if (!isKnown(extension)) output.warning(text("the extension %1 is not known, and left out", {extension}));
}

}  // namespace
}  // namespace nubo::reader

NUBO_READER_ENTRY(file, format, output) {
  using namespace nubo::reader;
  static_cast<void>(format);  // the file's first bytes tell text from binary
  Container container(file, output);
  const tinygltf::Model& source = modelOf(file, container, output);
  checkExtensions(source, output);
  Accessors accessors(source, container, output);
  convertMaterials(source, accessors, output);
  Meshes meshes(source, accessors, output);
  meshes.convert();
  Nodes(source, accessors, meshes, output).convert();
}
