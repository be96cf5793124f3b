#include "nubo/cli/sceneinfo.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <cmath>
#include <map>
#include <mutex>
#include <set>

#include "module_scene/graph/joint.h"
#include "module_scene/io/sidebyside.h"
#include "nubo/cli/scenefile.h"

namespace nubo::app {

namespace {

constexpr double Degree = 3.14159265358979323846 / 180;

QJsonObject describe(const scene::Joint& joint) {
  QJsonObject object{{"name", joint.name}, {"kind", joint.turns ? "turns" : "slides"}};
  if (joint.lower < joint.upper) {
    object["lower"] = joint.lower;
    object["upper"] = joint.upper;
  }
  if (!joint.follows.isEmpty()) object["follows"] = joint.follows;
  return object;
}

/// Counts what a scene is made of. What elements share counts for each, but for materials and textures.
class Contents {
 public:
  explicit Contents(const scene::SceneElement& root) { add(root); }

  int elements = 0;
  std::size_t faces = 0, lines = 0, points = 0, vertices = 0;
  std::set<const scene::Material*> materials;
  std::set<const scene::Texture*> textures;
  QJsonArray joints;

 private:
  void add(const scene::SceneElement& element) {
    ++elements;
    if (const scene::Joint* joint = element.getJoint()) joints << describe(*joint);
    for (const auto& geometry : element.getGeometries()) {
      std::size_t& kind = geometry->kind == scene::KindFaces   ? faces
                          : geometry->kind == scene::KindLines ? lines
                                                               : points;
      kind += geometry->primitiveCount();
      vertices += geometry->vertexCount();
      if (geometry->material) add(*geometry->material);
    }
    for (const auto& child : element.getChildren()) add(*child);
  }
  void add(const scene::Material& material) {
    materials.insert(&material);
    const auto& physical = material.physical;
    if (material.texture) textures.insert(material.texture.get());
    if (!physical) return;
    for (const scene::TextureUse* use :
         {&physical->baseColorTexture, &physical->metallicRoughnessTexture, &physical->normalTexture,
          &physical->occlusionTexture, &physical->emissiveTexture})
      if (use->texture) textures.insert(use->texture.get());
  }
};

QJsonArray toArray(const math::Vector3& v) { return {v[0], v[1], v[2]}; }

QJsonObject describe(const scene::FileCamera& camera) {
  QJsonObject object{{"name", camera.name}, {"projection", camera.orthographic ? "orthographic" : "perspective"}};
  if (camera.orthographic)
    object["height"] = camera.height;
  else
    object["degrees"] = camera.height / Degree;
  return object;
}

QJsonObject describe(const QString& file, const io::ImportResult& result) {
  QJsonObject object{{"file", file}};
  if (!result.root) {
    object["error"] = result.error;
    return object;
  }
  const Contents contents(*result.root);
  const scene::BoundingBox box = result.root->getBoundingBox();
  object["format"] = result.format;
  object["reader"] = result.reader;
  object["min"] = toArray(box.min);
  object["max"] = toArray(box.max);
  object["size"] = toArray({box.max[0] - box.min[0], box.max[1] - box.min[1], box.max[2] - box.min[2]});
  object["elements"] = contents.elements;
  for (const auto& [name, count] : {std::pair("faces", contents.faces),
                                    {"lines", contents.lines},
                                    {"points", contents.points},
                                    {"vertices", contents.vertices},
                                    {"materials", contents.materials.size()},
                                    {"textures", contents.textures.size()}})
    object[QLatin1String(name)] = qint64(count);
  QJsonArray animations, cameras;
  for (const scene::Animation& animation : result.animations)
    animations << QJsonObject{{"name", animation.name}, {"seconds", animation.duration}};
  for (const scene::FileCamera& camera : result.cameras) cameras << describe(camera);
  object["animations"] = animations;
  object["cameras"] = cameras;
  object["joints"] = contents.joints;
  object["variants"] = QJsonArray::fromStringList(result.variants);
  object["messages"] = QJsonArray::fromStringList(result.warnings);
  return object;
}

QString line(const QString& name, const QString& value) {
  return QStringLiteral("  %1 %2\n").arg(name, -10).arg(value);
}

QString vectorText(const QJsonValue& vector) {
  QStringList texts;
  for (const QJsonValue value : vector.toArray()) texts << QString::number(value.toDouble());
  return texts.join(QStringLiteral(" x "));
}

/// The same for people; what there is none of is left out.
QString toText(const QJsonObject& object) {
  if (object.contains("error")) return QString();
  QString text = object["file"].toString() + '\n';
  text +=
      line("format", QStringLiteral("%1 (reader %2)").arg(object["format"].toString(), object["reader"].toString()));
  text += line("size", vectorText(object["size"]));
  for (const char* name : {"elements", "faces", "lines", "points", "vertices", "materials", "textures"})
    if (const qint64 count = object[QLatin1String(name)].toVariant().toLongLong(); count > 0)
      text += line(name, QString::number(count));
  for (const QJsonValue animation : object["animations"].toArray())
    text += line("animation",
                 QStringLiteral("%1, %2 s").arg(animation["name"].toString()).arg(animation["seconds"].toDouble()));
  for (const QJsonValue camera : object["cameras"].toArray())
    text += line("camera", QStringLiteral("%1, %2").arg(camera["name"].toString(), camera["projection"].toString()));
  for (const QJsonValue joint : object["joints"].toArray())
    text += line("joint", QStringLiteral("%1, %2").arg(joint["name"].toString(), joint["kind"].toString()));
  for (const QJsonValue variant : object["variants"].toArray()) text += line("variant", variant.toString());
  for (const QJsonValue message : object["messages"].toArray()) text += line("message", message.toString());
  return text;
}

}  // namespace

SceneInfo describeScenes(const QStringList& files, const io::ImportSettings& settings, bool json) {
  SceneInfo info;
  QJsonArray all;
  io::ImportControl control(settings);
  std::map<QString, QJsonObject> described;
  std::mutex mutex;
  // Of each file only what is told of it stays, so that many take no more memory than a few.
  const auto read = [&](const QString& file, io::ImportControl& own) {
    const QJsonObject object = describe(file, readScene(file, own));
    const std::lock_guard<std::mutex> lock(mutex);
    described[file] = object;
    return io::ImportResult();
  };
  static_cast<void>(io::readSideBySide(files, control, io::Others::AreRead, read));
  for (const QString& file : files) {
    all << described[file];
    if (described[file].contains("error")) info.errors << described[file]["error"].toString();
    info.text += toText(described[file]);
  }
  if (json) info.text = QString::fromUtf8(QJsonDocument(all).toJson());
  return info;
}

}  // namespace nubo::app
