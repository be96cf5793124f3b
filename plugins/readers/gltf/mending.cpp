#include "plugins/readers/gltf/mending.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMap>
#include <algorithm>

namespace nubo::reader {
namespace {

constexpr const char* Draco = "KHR_draco_mesh_compression";

QJsonArray withoutPackedIndices(QJsonArray meshes) {
  for (QJsonValueRef mesh : meshes) {
    QJsonObject changed = mesh.toObject();
    QJsonArray primitives = changed["primitives"].toArray();
    for (QJsonValueRef primitive : primitives) {
      QJsonObject part = primitive.toObject();
      if (!part["extensions"].toObject().contains(Draco)) continue;
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

/// Finds the members of a JSON object, whose values it does not look into: a file of many parts would take longer to
/// understand than to read.
class Members {
 public:
  explicit Members(const QByteArray& json) : m_Json(json) { find(); }

  /// Where the object ends; -1: there is none.
  int end() const { return m_End; }
  bool has(const QByteArray& name) const { return m_Values.contains(name); }
  /// Its text, which lives as long as the object's.
  QByteArray text(const QByteArray& name) const { return m_Values[name]; }
  QJsonArray array(const QByteArray& name) const { return QJsonDocument::fromJson(text(name)).array(); }

 private:
  char at(int place) const { return place < m_Json.size() ? m_Json[place] : '\0'; }
  bool isSpace(int place) const { return at(place) == ' ' || (at(place) >= '\t' && at(place) <= '\r'); }
  void skipSpaces(int& place) const {
    while (isSpace(place)) ++place;
  }
  /// From its first quotation mark to behind its last one.
  void skipString(int& place) const {
    for (++place; place < m_Json.size() && m_Json[place] != '"'; ++place)
      if (m_Json[place] == '\\') ++place;
    ++place;
  }
  /// To the comma or the brace behind it.
  void skipValue(int& place) const {
    for (int depth = 0; place < m_Json.size(); ++place) {
      const char c = m_Json[place];
      if (depth == 0 && (c == ',' || c == '}')) return;
      if (c == '{' || c == '[') ++depth;
      if (c == '}' || c == ']') --depth;
      if (c != '"') continue;
      skipString(place);
      --place;
    }
  }
  void find() {
    int place = m_Json.startsWith("\xef\xbb\xbf") ? 3 : 0;
    skipSpaces(place);
    if (at(place) != '{') return;
    do {
      skipSpaces(++place);
      const int name = place;
      if (at(place) != '"') return;
      skipString(place);
      const int nameEnd = place;
      skipSpaces(place);
      if (at(place) != ':') return;
      const int value = ++place;
      skipValue(place);
      if (place >= m_Json.size()) return;
      m_Values[m_Json.mid(name + 1, nameEnd - name - 2)] =
          QByteArray::fromRawData(m_Json.constData() + value, place - value);
    } while (at(place) == ',');
    if (at(place) == '}') m_End = place;
  }

  const QByteArray& m_Json;
  QMap<QByteArray, QByteArray> m_Values;
  int m_End = -1;
};

/// What must be otherwise follows at the end, where it takes the place of what the file has: so what is damaged is told
/// by where it stands there.
QByteArray mended(const QByteArray& json) {
  const Members members(json);
  if (members.end() < 0) return json;
  QByteArray changed;
  const auto change = [&changed](const QByteArray& name, const QJsonArray& value) {
    changed += ",\"" + name + "\":" + QJsonDocument(value).toJson(QJsonDocument::Compact);
  };
  if (members.text("meshes").contains(Draco)) change("meshes", withoutPackedIndices(members.array("meshes")));
  if (members.has("buffers")) change("buffers", withContent(members.array("buffers")));
  if (members.has("images")) change("images", withPlaces(members.array("images")));
  return QByteArray(json).insert(members.end(), changed);
}

}  // namespace

void mend(std::vector<unsigned char>& json, bool isBinary) {
  const auto names = [&](const std::string& extension) {
    return std::search(json.begin(), json.end(), extension.begin(), extension.end()) != json.end();
  };
  if (!isBinary && !names(Draco) && !names("_meshopt_compression")) return;
  const QByteArray changed =
      mended(QByteArray::fromRawData(reinterpret_cast<const char*>(json.data()), int(json.size())));
  json.assign(changed.begin(), changed.end());
}

}  // namespace nubo::reader
