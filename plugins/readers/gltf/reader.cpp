// Reads glTF 2.0 with tinygltf; what Draco and meshopt have packed is unpacked here.
#include <algorithm>
#include <array>
#include <filesystem>

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

/// The one line that matters of what tinygltf says.
std::string firstLine(std::string text) {
  text.erase(0, text.find_first_not_of(" \n"));
  return text.substr(0, text.find('\n'));
}

/// What is no JSON is told by its place alone: what stands there is of no use to anybody but programmers.
Refusal refusal(const std::string& error) {
  const std::string line = firstLine(error);
  if (line.empty()) return Refusal("its content is not understood");
  const std::size_t place = line.find("parse error at "), end = line.find(':', place);
  if (place == std::string::npos || end == std::string::npos) return Refusal(line);
  return Refusal("it is damaged, or no glTF: %1", {line.substr(place, end - place)});
}

void load(const std::string& file, Container& container, tinygltf::Model& model, Output& output) {
  std::vector<unsigned char> json = std::move(container.text);
  mend(json, container.isBinary());
  tinygltf::TinyGLTF loader;
  loader.SetImageLoader(keepImage, nullptr);
  const auto asItIs = [](const std::string& path, void*) { return path; };
  loader.SetFsCallbacks({exists, asItIs, readOther, nullptr, &output});
  std::string error, warning;
  const std::string folder = std::filesystem::path(file).parent_path().string();
  if (!loader.LoadASCIIFromString(&model, &error, &warning, reinterpret_cast<const char*>(json.data()),
                                  unsigned(json.size()), folder))
    throw refusal(error);
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
  tinygltf::Model source;
  load(file, container, source, output);
  checkExtensions(source, output);
  Accessors accessors(source, container, output);
  convertMaterials(source, accessors, output);
  Meshes meshes(source, accessors, output);
  meshes.convert();
  Nodes(source, accessors, meshes, output).convert();
}
