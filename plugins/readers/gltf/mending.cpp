#include "plugins/readers/gltf/mending.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QtEndian>
#include <algorithm>

namespace nubo::reader {
namespace {

constexpr std::size_t HeaderSize = 12, ChunkHeaderSize = 8;

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

/// `own`: how many of the first buffers have their content in the file itself.
QJsonArray withContent(QJsonArray buffers, int own) {
  for (int i = own; i < buffers.size(); ++i)
    if (!buffers[i].toObject().contains("uri")) buffers[i] = QJsonObject{{"byteLength", 1}, {"uri", NoContent}};
  return buffers;
}

QByteArray mended(const QByteArray& json, int ownBuffers) {
  QJsonObject file = QJsonDocument::fromJson(json).object();
  if (file.isEmpty()) return json;
  if (file.contains("meshes")) file["meshes"] = withoutPackedIndices(file["meshes"].toArray());
  if (file.contains("buffers")) file["buffers"] = withContent(file["buffers"].toArray(), ownBuffers);
  return QJsonDocument(file).toJson(QJsonDocument::Compact);
}

void putNumber(std::vector<unsigned char>& bytes, std::size_t at, std::size_t value) {
  qToLittleEndian(quint32(value), &bytes[at]);
}

void mendBinary(std::vector<unsigned char>& bytes) {
  const std::size_t begin = HeaderSize + ChunkHeaderSize;
  if (bytes.size() < begin) return;
  const std::size_t size = qFromLittleEndian<quint32>(&bytes[HeaderSize]);
  if (size > bytes.size() - begin) return;
  QByteArray json = mended(QByteArray(reinterpret_cast<const char*>(&bytes[begin]), int(size)), 1);
  json.append(QByteArray((4 - json.size() % 4) % 4, ' '));
  const auto from = bytes.begin() + std::ptrdiff_t(begin);
  bytes.insert(bytes.erase(from, from + std::ptrdiff_t(size)), json.begin(), json.end());
  putNumber(bytes, 8, bytes.size());
  putNumber(bytes, HeaderSize, std::size_t(json.size()));
}

}  // namespace

void mendPacked(std::vector<unsigned char>& bytes) {
  const auto names = [&](const std::string& extension) {
    return std::search(bytes.begin(), bytes.end(), extension.begin(), extension.end()) != bytes.end();
  };
  if (!names("KHR_draco_mesh_compression") && !names("_meshopt_compression")) return;
  if (bytes.size() >= 4 && std::equal(bytes.begin(), bytes.begin() + 4, "glTF")) return mendBinary(bytes);
  const QByteArray json = mended(QByteArray(reinterpret_cast<const char*>(bytes.data()), int(bytes.size())), 0);
  bytes.assign(json.begin(), json.end());
}

}  // namespace nubo::reader
