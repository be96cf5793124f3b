#include "module_scene/io/animationbuilder.h"

#include <QHash>
#include <algorithm>

#include "module_scene/io/importerror.h"
#include "module_scene/io/plaindata.h"

namespace nubo::io {
namespace {

/// What a transform does to the axes, taken apart; a mirrored one has a negative scale.
struct Placement {
  math::Vector3 translation{0, 0, 0}, scale{1, 1, 1};
  QQuaternion rotation;

  explicit Placement(const math::Matrix4& m) : translation{m(0, 3), m(1, 3), m(2, 3)} {
    QMatrix3x3 axes;
    for (int column = 0; column < 3; ++column) {
      const double length =
          std::sqrt(m(0, column) * m(0, column) + m(1, column) * m(1, column) + m(2, column) * m(2, column));
      scale[std::size_t(column)] = length;
      for (int row = 0; row < 3; ++row) axes(row, column) = float(length > 0 ? m(row, column) / length : row == column);
    }
    const float determinant = axes(0, 0) * (axes(1, 1) * axes(2, 2) - axes(1, 2) * axes(2, 1)) -
                              axes(0, 1) * (axes(1, 0) * axes(2, 2) - axes(1, 2) * axes(2, 0)) +
                              axes(0, 2) * (axes(1, 0) * axes(2, 1) - axes(1, 1) * axes(2, 0));
    if (determinant < 0) {
      scale[0] = -scale[0];
      for (int row = 0; row < 3; ++row) axes(row, 0) = -axes(row, 0);
    }
    rotation = QQuaternion::fromRotationMatrix(axes).normalized();
  }
};

math::Vector3 vectorAt(const float* v) { return {double(v[0]), double(v[1]), double(v[2])}; }
QQuaternion quaternionAt(const float* v) { return {v[3], v[0], v[1], v[2]}; }
QQuaternion rotationAt(const float* v) { return quaternionAt(v).normalized(); }

/// The keys of a track that make sense, in order; `convert` makes a value of `each` numbers, `tangent` its change.
template <class Value, class Convert, class Tangent>
scene::Curve<Value> curveOf(const reader::Track& track, std::size_t each, const Convert& convert,
                            const Tangent& tangent) {
  const bool isCubic = track.interpolation == reader::Interpolation::Cubic;
  const std::size_t stride = isCubic ? each * 3 : each;
  require(track.times.size() <= track.values.size() / stride, "a track has fewer values than its times need");
  scene::Curve<Value> curve;
  curve.interpolation = scene::Interpolation(track.interpolation);
  for (std::size_t i = 0; i < track.times.size(); ++i) {
    const float* all = &track.values[i * stride];
    const bool isFinite = std::all_of(all, all + stride, [](float v) { return std::isfinite(v); });
    if (!isFinite || !std::isfinite(track.times[i])) continue;
    scene::KeyFrame<Value> key{std::max(0.0, double(track.times[i])), convert(isCubic ? all + each : all)};
    if (isCubic) {
      key.before = tangent(all);
      key.after = tangent(all + 2 * each);
    }
    curve.push_back(key);
  }
  std::stable_sort(curve.begin(), curve.end(), [](const auto& a, const auto& b) { return a.time < b.time; });
  return curve;
}

/// The most shapes that a mesh of the node has.
std::size_t shapesOf(const reader::Model& model, const reader::Node& node) {
  std::size_t most = 0;
  for (const reader::Instance& instance : node.instances)
    most = std::max(most, reader::named(model.meshes, instance.mesh).shapes.size());
  return most;
}

void addKeys(const reader::Model& model, const reader::Track& source, scene::AnimationTrack& track) {
  switch (source.path) {
    case reader::Path::Translation:
      track.translations = curveOf<math::Vector3>(source, 3, vectorAt, vectorAt);
      return;
    case reader::Path::Rotation:
      track.rotations = curveOf<QQuaternion>(source, 4, rotationAt, quaternionAt);
      return;
    case reader::Path::Scale:
      track.scales = curveOf<math::Vector3>(source, 3, vectorAt, vectorAt);
      return;
    case reader::Path::Weights:
      const std::size_t shapes = shapesOf(model, model.nodes[std::size_t(source.node)]);
      if (shapes == 0) return;
      const auto weightsAt = [shapes](const float* v) { return std::vector<float>(v, v + shapes); };
      track.shapeWeights = curveOf<std::vector<float>>(source, shapes, weightsAt, weightsAt);
  }
}

template <class Value>
double endOf(const scene::Curve<Value>& curve) {
  return curve.empty() ? 0 : curve.back().time;
}

/// Puts what the track does not move where it is at rest. Returns when its last key is.
double complete(scene::AnimationTrack& track) {
  const Placement rest(track.element->getTransform());
  if (track.translations.empty()) track.translations = {{0, rest.translation}};
  if (track.rotations.empty()) track.rotations = {{0, rest.rotation}};
  if (track.scales.empty()) track.scales = {{0, rest.scale}};
  return std::max({endOf(track.translations), endOf(track.rotations), endOf(track.scales), endOf(track.shapeWeights)});
}

scene::Animation build(const reader::Model& model, const reader::Animation& source,
                       const std::vector<util::YPointer<scene::SceneElement>>& elements,
                       const std::vector<bool>& seen) {
  scene::Animation animation;
  QHash<std::int32_t, std::size_t> known;  // places in the list of tracks, by node
  for (const reader::Track& track : source.tracks) {
    const auto& element = reader::named(elements, track.node);
    if (track.times.empty() || !seen[std::size_t(track.node)]) continue;
    if (!known.contains(track.node)) {
      known[track.node] = animation.tracks.size();
      animation.tracks.emplace_back();
      animation.tracks.back().element = element;
    }
    addKeys(model, track, animation.tracks[known[track.node]]);
  }
  for (scene::AnimationTrack& track : animation.tracks)
    animation.duration = std::max(animation.duration, complete(track));
  return animation;
}

}  // namespace

QString uniqueName(const QString& name, const QString& unnamed, QSet<QString>& taken) {
  const QString wanted = name.isEmpty() ? unnamed : name;
  QString unique = wanted;
  for (int number = 2; taken.contains(unique); ++number) unique = QStringLiteral("%1#%2").arg(wanted).arg(number);
  taken.insert(unique);
  return unique;
}

std::vector<scene::Animation> buildAnimations(const reader::Model& model,
                                              const std::vector<util::YPointer<scene::SceneElement>>& elements,
                                              const std::vector<bool>& seen) {
  std::vector<scene::Animation> animations;
  QSet<QString> taken;
  for (const reader::Animation& source : model.animations) {
    scene::Animation animation = build(model, source, elements, seen);
    if (animation.tracks.empty()) continue;
    animation.name =
        uniqueName(QString::fromUtf8(source.name.c_str()).simplified(), ImportError::tr("Animation"), taken);
    animations.push_back(std::move(animation));
  }
  return animations;
}

}  // namespace nubo::io
