#include "plugins/readers/gltf/mending.h"

namespace nubo::reader {
namespace {

using rapidjson::Value;

/// The member of an object; null: there is none, or this is no object.
Value* memberOf(Value& value, const char* name) {
  if (!value.IsObject()) return nullptr;
  const auto found = value.FindMember(name);
  return found == value.MemberEnd() ? nullptr : &found->value;
}

/// Calls change(object) for each object in a list that is a member of `value`.
template <class Change>
void changeEach(Value& value, const char* list, const Change& change) {
  Value* const elements = memberOf(value, list);
  if (!elements || !elements->IsArray()) return;
  for (Value& element : elements->GetArray())
    if (element.IsObject()) change(element);
}

void takePackedIndices(Value& primitive) {
  Value* const extensions = memberOf(primitive, "extensions");
  if (extensions && memberOf(*extensions, "KHR_draco_mesh_compression")) primitive.RemoveMember("indices");
}

}  // namespace

void mend(rapidjson::Document& gltf) {
  auto& allocator = gltf.GetAllocator();
  const auto noContent = [] { return Value(rapidjson::StringRef(NoContent)); };
  changeEach(gltf, "meshes", [](Value& mesh) { changeEach(mesh, "primitives", takePackedIndices); });
  changeEach(gltf, "buffers", [&](Value& buffer) {
    if (memberOf(buffer, "uri")) return;
    buffer.SetObject().AddMember("byteLength", 1, allocator).AddMember("uri", noContent(), allocator);
  });
  changeEach(gltf, "images", [&](Value& image) {
    Value* const view = memberOf(image, "bufferView");
    if (!view) return;
    Value place(rapidjson::kObjectType);
    place.AddMember(noContent(), *view, allocator);
    for (const char* name : {"bufferView", "extras", "uri"}) image.RemoveMember(name);
    image.AddMember("extras", place, allocator).AddMember("uri", noContent(), allocator);
  });
}

}  // namespace nubo::reader
