#include "plugins/readers/gltf/loading.h"

#include <rapidjson/prettywriter.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

namespace nubo::reader::parsedalready {
namespace {

rapidjson::Document s_Next;

}  // namespace

using namespace rapidjson;

/// Stands for the document into which tinygltf parses its text.
class Document : public rapidjson::Document {
 public:
  void Parse(const char*, std::size_t) { Swap(s_Next); }
};

}  // namespace nubo::reader::parsedalready

// So tinygltf finds that document in the place of RapidJSON's own.
#define rapidjson nubo::reader::parsedalready
#define TINYGLTF_IMPLEMENTATION
#include <tiny_gltf.h>
#undef rapidjson

namespace nubo::reader {
namespace {

/// The one line that matters of what tinygltf says.
std::string firstLine(std::string text) {
  text.erase(0, text.find_first_not_of(" \n"));
  return text.substr(0, text.find('\n'));
}

/// Makes room for as many as there will be: to move them takes as long as to read them.
template <class T>
void reserve(std::vector<T>& list, const rapidjson::Document& gltf, const char* name) {
  if (!gltf.IsObject()) return;
  const auto found = gltf.FindMember(name);
  if (found != gltf.MemberEnd() && found->value.IsArray()) list.reserve(found->value.Size());
}

}  // namespace

void load(rapidjson::Document gltf, const std::string& folder, tinygltf::TinyGLTF& loader, tinygltf::Model& model) {
  reserve(model.accessors, gltf, "accessors");
  reserve(model.bufferViews, gltf, "bufferViews");
  reserve(model.meshes, gltf, "meshes");
  reserve(model.nodes, gltf, "nodes");
  const std::string text = "parsed already";  // an empty one would be refused
  std::string error, warning;
  parsedalready::s_Next = std::move(gltf);
  if (loader.LoadASCIIFromString(&model, &error, &warning, text.data(), unsigned(text.size()), folder)) return;
  const std::string line = firstLine(error);
  throw Refusal(line.empty() ? "its content is not understood" : line);
}

}  // namespace nubo::reader
