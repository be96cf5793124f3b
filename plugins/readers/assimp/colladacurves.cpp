#include "plugins/readers/assimp/colladacurves.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <iterator>
#include <map>
#include <sstream>
#include <string>
#include <vector>

namespace nubo::reader {
namespace {

using pugi::xml_node;

/// What a key says of the curve's way to the next one.
enum class Kind { Linear, Step, Bezier, Hermite };

Kind kindOf(const std::string& name) {
  return name == "STEP"      ? Kind::Step
         : name == "BEZIER"  ? Kind::Bezier
         : name == "HERMITE" ? Kind::Hermite
                             : Kind::Linear;
}

template <class Value>
std::vector<Value> valuesOf(const xml_node& array) {
  std::istringstream text(array.text().get());
  return {std::istream_iterator<Value>(text), std::istream_iterator<Value>()};
}

double bezier(double a, double b, double c, double d, double t) {
  const double s = 1 - t;
  return s * s * s * a + 3 * s * s * t * b + 3 * s * t * t * c + t * t * t * d;
}

/// Where between 0 and 1 a curve that goes up, as its points in the middle lie between its ends, has that value.
double placeOf(double value, double a, double b, double c, double d) {
  constexpr int Halvings = 40;
  double low = 0, high = 1;
  for (int i = 0; i < Halvings; ++i) {
    const double middle = (low + high) / 2;
    (bezier(a, b, c, d, middle) < value ? low : high) = middle;
  }
  return low;
}

struct Curve {
  std::vector<float> times, values;  ///< so many values for each time as all have
  std::vector<float> before, after;  ///< tangents: pairs of time and value for each value, or the value alone
  std::vector<Kind> kinds;

  std::size_t each() const { return values.size() / times.size(); }
  bool isSound() const {
    return !times.empty() && !values.empty() && values.size() % times.size() == 0 && kinds.size() == times.size() &&
           std::is_sorted(times.begin(), times.end());
  }
  bool hasTangents() const {
    const std::size_t size = after.size();
    return before.size() == size && (size == values.size() || size == 2 * values.size());
  }
  bool isBent(std::size_t key) const { return kinds[key] > Kind::Step && hasTangents(); }
  bool isStraight() const {
    for (std::size_t key = 0; key + 1 < times.size(); ++key)
      if (kinds[key] == Kind::Step || isBent(key)) return false;
    return true;
  }

  /// The value of that number, from a key to the next.
  double valueAt(std::size_t key, std::size_t number, double time) const {
    const std::size_t here = key * each() + number, next = here + each();
    const double begin = double(times[key]), end = double(times[key + 1]), third = (end - begin) / 3;
    const bool hasTimes = after.size() == 2 * values.size();
    const double sign = kinds[key] == Kind::Hermite ? 1.0 / 3 : 0;
    // A Hermite curve's tangents lead away from its ends, by three times as much as to a Bézier curve's points.
    const auto point = [&](const std::vector<float>& tangents, std::size_t at, double to, double from) {
      return sign == 0 ? double(tangents[at]) : from + to * sign * double(tangents[at]);
    };
    const std::size_t y = hasTimes ? 1 : 0, pair = hasTimes ? 2 : 1;
    const double b = point(after, here * pair + y, 1, double(values[here]));
    const double c = point(before, next * pair + y, -1, double(values[next]));
    const double bTime = hasTimes ? std::clamp(point(after, here * pair, 1, begin), begin, end) : begin + third;
    const double cTime = hasTimes ? std::clamp(point(before, next * pair, -1, end), begin, end) : end - third;
    return bezier(double(values[here]), b, c, double(values[next]), placeOf(time, begin, bTime, cTime, end));
  }

  Curve straightened() const {
    constexpr std::size_t MostKeys = 4096, MostPieces = 32;
    constexpr float Jump = 1e-4f;  // seconds that a step takes
    const std::size_t pieces = std::clamp<std::size_t>(MostKeys / times.size(), 1, MostPieces);
    Curve result;
    const auto add = [&](float time, const auto& valueOf) {
      result.times.push_back(time);
      for (std::size_t i = 0; i < each(); ++i) result.values.push_back(float(valueOf(i)));
    };
    for (std::size_t key = 0; key < times.size(); ++key) {
      const auto here = [&](std::size_t i) { return values[key * each() + i]; };
      add(times[key], here);
      const float length = key + 1 < times.size() ? times[key + 1] - times[key] : 0;
      if (kinds[key] == Kind::Step && length > Jump) add(times[key + 1] - Jump, here);
      for (std::size_t piece = 1; length > 0 && isBent(key) && piece < pieces; ++piece) {
        const float time = times[key] + length * float(piece) / float(pieces);
        add(time, [&](std::size_t i) { return valueAt(key, i, double(time)); });
      }
    }
    return result;
  }
};

class Straightener {
 public:
  explicit Straightener(pugi::xml_document& document) : m_Document(document) {
    for (const pugi::xpath_node& found : document.select_nodes("//animation/source"))
      m_Sources.emplace(found.node().attribute("id").value(), found.node());
  }

  void straighten() {
    for (const pugi::xpath_node& sampler : m_Document.select_nodes("//animation/sampler")) straighten(sampler.node());
  }

 private:
  static xml_node inputOf(const xml_node& sampler, const char* semantic) {
    return sampler.find_child_by_attribute("input", "semantic", semantic);
  }
  xml_node sourceOf(const xml_node& sampler, const char* semantic) const {
    const char* name = inputOf(sampler, semantic).attribute("source").value();
    const auto found = m_Sources.find(*name == '#' ? name + 1 : name);
    return found == m_Sources.end() ? xml_node() : found->second;
  }

  void straighten(const xml_node& sampler) {
    Curve curve;
    const auto numbersOf = [&](const char* semantic) {
      return valuesOf<float>(sourceOf(sampler, semantic).child("float_array"));
    };
    for (const std::string& name : valuesOf<std::string>(sourceOf(sampler, "INTERPOLATION").child("Name_array")))
      curve.kinds.push_back(kindOf(name));
    if (std::all_of(curve.kinds.begin(), curve.kinds.end(), [](Kind kind) { return kind == Kind::Linear; })) return;
    curve.times = numbersOf("INPUT");
    curve.values = numbersOf("OUTPUT");
    curve.before = numbersOf("IN_TANGENT");
    curve.after = numbersOf("OUT_TANGENT");
    if (!curve.isSound() || curve.isStraight()) return;
    const Curve straight = curve.straightened();
    const std::size_t keys = straight.times.size();
    replace(sampler, "INPUT", "float_array", keys, 1, textOf(straight.times));
    replace(sampler, "OUTPUT", "float_array", keys, straight.each(), textOf(straight.values));
    std::string kinds;
    for (std::size_t key = 0; key < keys; ++key) kinds += "LINEAR ";
    replace(sampler, "INTERPOLATION", "Name_array", keys, 1, kinds);
  }

  static std::string textOf(const std::vector<float>& numbers) {
    std::string text;
    char number[32];
    for (const float each : numbers) text.append(number, std::size_t(std::snprintf(number, 32, "%.9g ", double(each))));
    return text;
  }

  /// Gives the sampler a source of its own.
  void replace(const xml_node& sampler, const char* semantic, const char* kind, std::size_t count, std::size_t each,
               const std::string& text) {
    xml_node original = sourceOf(sampler, semantic);
    const std::string id = "nubo curve " + std::to_string(++m_Made);
    xml_node copy = original.parent().insert_copy_after(original, original);
    copy.attribute("id").set_value(id.c_str());
    xml_node array = copy.child(kind), accessor = copy.child("technique_common").child("accessor");
    array.attribute("id").set_value((id + " values").c_str());
    array.attribute("count").set_value(count * each);
    array.text().set(text.c_str());
    accessor.attribute("source").set_value(('#' + id + " values").c_str());
    accessor.attribute("count").set_value(count);
    inputOf(sampler, semantic).attribute("source").set_value(('#' + id).c_str());
  }

  pugi::xml_document& m_Document;
  std::map<std::string, xml_node> m_Sources;  ///< by id
  int m_Made = 0;
};

}  // namespace

void straightenCurves(pugi::xml_document& document) { Straightener(document).straighten(); }

}  // namespace nubo::reader
