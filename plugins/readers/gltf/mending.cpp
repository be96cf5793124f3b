#include "plugins/readers/gltf/mending.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <algorithm>

namespace nubo::reader {
namespace {

QJsonArray withoutPackedIndices(QJsonArray meshes) {
  for (QJsonValueRef mesh : meshes) {
    QJsonObject changed = mesh.toObject();
    QJsonArray primitives = changed["primitives"].toArray();
    for (QJsonValueRef primitive : primitives) {
      QJsonObject part = primitive.toObject();
      if (!part["extensions"].toObject().contains("KHR_draco_mesh_compression")) continue;
      part.remove("indices");
      primitive = part;
    }
    changed["primitives"] = primitives;
    mesh = changed;
  }
  return meshes;
}

QJsonArray withContent(QJsonArray buffers) {
  for (QJsonValueRef buffer : buffers)
    if (!buffer.toObject().contains("uri")) buffer = QJsonObject{{"byteLength", 1}, {"uri", NoContent}};
  return buffers;
}

QJsonArray withPlaces(QJsonArray images) {
  for (QJsonValueRef image : images) {
    QJsonObject changed = image.toObject();
    if (!changed.contains("bufferView")) continue;
    changed["extras"] = QJsonObject{{NoContent, changed.take("bufferView")}};
    changed["uri"] = NoContent;
    image = changed;
  }
  return images;
}

QByteArray mended(const QByteArray& json) {
  QJsonObject file = QJsonDocument::fromJson(json).object();
  if (file.isEmpty()) return json;
  if (file.contains("meshes")) file["meshes"] = withoutPackedIndices(file["meshes"].toArray());
  if (file.contains("buffers")) file["buffers"] = withContent(file["buffers"].toArray());
  if (file.contains("images")) file["images"] = withPlaces(file["images"].toArray());
  return QJsonDocument(file).toJson(QJsonDocument::Compact);
}

}  // namespace

void mend(std::vector<unsigned char>& json, bool isBinary) {
  const auto names = [&](const std::string& extension) {
    return std::search(json.begin(), json.end(), extension.begin(), extension.end()) != json.end();
  };
  if (!isBinary && !names("KHR_draco_mesh_compression") && !names("_meshopt_compression")) return;
  const QByteArray changed =
      mended(QByteArray::fromRawData(reinterpret_cast<const char*>(json.data()), int(json.size())));
  json.assign(changed.begin(), changed.end());
}

}  // namespace nubo::reader
