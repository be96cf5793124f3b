#include "module_scene/draw/environment.h"

#include <algorithm>
#include <cmath>

#include "module_scene/graph/scene.h"
#include "module_scene/mesh/parallel.h"
#include "module_scene/mesh/surface.h"

namespace nubo::scene {

namespace {

constexpr float Pi = 3.14159265f;

float dot(const Direction& a, const Direction& b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }

Direction cross(const Direction& a, const Direction& b) {
  return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

Direction normalized(const Direction& d) {
  const float length = std::sqrt(dot(d, d));
  return {d[0] / length, d[1] / length, d[2] / length};
}

float signOf(float value) { return value < 0 ? -1.0f : 1.0f; }

/// Where an octahedron with corners at distance 1 has a place of the square from (-1, -1) to (1, 1) into which its
/// faces are folded out.
Direction onOctahedron(float x, float y) {
  const float z = 1 - std::abs(x) - std::abs(y);
  if (z >= 0) return {x, y, z};
  return {(1 - std::abs(y)) * signOf(x), (1 - std::abs(x)) * signOf(y), z};
}

std::array<float, 2> foldedOut(const Direction& d) {
  const float sum = std::abs(d[0]) + std::abs(d[1]) + std::abs(d[2]);
  const float x = d[0] / sum, y = d[1] / sum;
  if (d[2] >= 0) return {x, y};
  return {(1 - std::abs(y)) * signOf(x), (1 - std::abs(x)) * signOf(y)};
}

float placeOf(int texel, int size) { return 2 * float(texel) / float(size - 1) - 1; }

/// Light from all directions, on an octahedron folded out. The outermost texels lie on the square's edges, so that each
/// direction lies between four.
class Square {
 public:
  template <class Function>  // gives a light for the place (x, y) of each texel
  Square(int size, const Function& function) : m_Size(size), m_Texels(std::size_t(size) * size) {
    parallelRanges(m_Texels.size(), [&](std::size_t begin, std::size_t end, std::size_t) {
      for (std::size_t i = begin; i < end; ++i) m_Texels[i] = function(place(int(i) % m_Size), place(int(i) / m_Size));
    });
  }

  int size() const { return m_Size; }
  const std::vector<Light>& texels() const { return m_Texels; }
  float place(int index) const { return placeOf(index, m_Size); }
  Light operator()(const Direction& d) const {
    const auto [x, y] = foldedOut(d);
    const float column = (x + 1) / 2 * float(m_Size - 1), row = (y + 1) / 2 * float(m_Size - 1);
    const int i = std::min(int(column), m_Size - 2), j = std::min(int(row), m_Size - 2);
    const float u = column - float(i), v = row - float(j);
    const Light *low = &m_Texels[std::size_t(j) * m_Size + i], *high = low + m_Size;
    Light result;
    for (int c = 0; c < 3; ++c)
      result[c] = (low[0][c] * (1 - u) + low[1][c] * u) * (1 - v) + (high[0][c] * (1 - u) + high[1][c] * u) * v;
    return result;
  }

 private:
  int m_Size;
  std::vector<Light> m_Texels;
};

/// The same light with half as many texels along each side.
Square halved(const Square& source) {
  const float quarter = 1 / float(source.size() - 1);
  return Square(source.size() / 2, [&](float x, float y) {
    Light sum{};
    for (const float dx : {-quarter, quarter})
      for (const float dy : {-quarter, quarter}) {
        const Light light = source(onOctahedron(std::clamp(x + dx, -1.0f, 1.0f), std::clamp(y + dy, -1.0f, 1.0f)));
        for (int c = 0; c < 3; ++c) sum[c] += light[c] / 4;
      }
    return sum;
  });
}

/// The directions in which a surface of some roughness mirrors a view along its normal, the z axis, each with its share
/// of the light and the level of detail at which it stands for all around it.
class Lobe {
 public:
  explicit Lobe(float roughness, int size) {
    constexpr int Count = 32;
    const float a2 = std::pow(roughness, 4.0f);
    float sum = 0;
    for (int i = 0; i < Count; ++i) {
      float reversed = 0, digit = 0.5f;
      for (int bits = i; bits; bits >>= 1, digit /= 2) reversed += digit * float(bits & 1);
      const float share = (float(i) + 0.5f) / Count, angle = 2 * Pi * reversed;
      const float cosine2 = (1 - share) / (1 + (a2 - 1) * share);  // of the angle to the half vector, squared
      const float cosine = std::sqrt(cosine2), sine = std::sqrt(1 - cosine2);
      const Direction d{2 * cosine * sine * std::cos(angle), 2 * cosine * sine * std::sin(angle), 2 * cosine2 - 1};
      if (d[2] <= 0) continue;
      const float fall = cosine2 * (a2 - 1) + 1;
      const float density = a2 / (Pi * fall * fall) / 4;
      const float texels = float(size) * float(size) / (4 * Pi) / (Count * density);  // that it stands for
      m_Samples.push_back({d, d[2], std::max(0.0f, 0.5f * std::log2(texels) + 1)});
      sum += d[2];
    }
    for (Sample& sample : m_Samples) sample.share /= sum;
  }

  Light around(const Direction& axis, const std::vector<Square>& details) const {
    const Direction helper = std::abs(axis[2]) < 0.9f ? Direction{0, 0, 1} : Direction{1, 0, 0};
    const Direction right = normalized(cross(helper, axis)), up = cross(axis, right);
    Light sum{};
    for (const Sample& sample : m_Samples) {
      Direction d;
      for (int i = 0; i < 3; ++i)
        d[i] = right[i] * sample.direction[0] + up[i] * sample.direction[1] + axis[i] * sample.direction[2];
      const std::size_t detail = std::min(details.size() - 1, std::size_t(std::lround(sample.detail)));
      const Light light = details[detail](d);
      for (int c = 0; c < 3; ++c) sum[c] += light[c] * sample.share;
    }
    return sum;
  }

 private:
  struct Sample {
    Direction direction;
    float share, detail;
  };
  std::vector<Sample> m_Samples;
};

/// By spherical harmonics up to the second order, each weakened as a matte surface does, as a polynomial.
Environment::Quadric irradianceOf(const Square& square) {
  // Each is a harmonic without its factor; the factor's square and the weakening stand beside it.
  const auto harmonics = [](const Direction& d) {
    const auto [x, y, z] = d;
    return std::array<float, 9>{1, x, y, z, x * y, y * z, z * x, 3 * z * z - 1, x * x - y * y};
  };
  constexpr float First = 3 / (4 * Pi) * 2 / 3, Second = 15 / (4 * Pi) / 4;
  constexpr std::array<float, 9> Factors{1 / (4 * Pi), First,  First,       First,     Second,
                                         Second,       Second, Second / 12, Second / 4};
  std::array<std::array<double, 3>, 9> sums{};
  double whole = 0;
  for (std::size_t i = 0; i < square.texels().size(); ++i) {
    const int column = int(i) % square.size(), row = int(i) / square.size();
    const auto half = [&](int index) { return index == 0 || index == square.size() - 1 ? 0.5 : 1.0; };
    const Direction place = onOctahedron(square.place(column), square.place(row));
    const double weight = half(column) * half(row) * std::pow(double(dot(place, place)), -1.5);
    const auto values = harmonics(normalized(place));
    whole += weight;
    for (std::size_t k = 0; k < values.size(); ++k)
      for (int c = 0; c < 3; ++c) sums[k][c] += weight * values[k] * square.texels()[i][c];
  }
  Environment::Quadric result{};
  for (int c = 0; c < 3; ++c) {
    std::array<float, 9> f;
    for (std::size_t k = 0; k < f.size(); ++k) f[k] = float(sums[k][c] / whole) * 4 * Pi * Factors[k];
    const std::array<float, 10> terms{f[0] - f[7], f[1], f[2], f[3], f[8], -f[8], 3 * f[7], f[4], f[5], f[6]};
    for (std::size_t k = 0; k < terms.size(); ++k) result[k][c] = terms[k];
  }
  return result;
}

}  // namespace

Environment::Environment(const std::function<Light(const Direction&)>& radiance) {
  std::vector<Square> details{Square(Size, [&](float x, float y) { return radiance(normalized(onOctahedron(x, y))); })};
  while (details.back().size() > 8) details.push_back(halved(details.back()));
  m_Irradiance = irradianceOf(details[1]);
  for (const Light& light : details[0].texels()) m_Brightest = std::max({m_Brightest, light[0], light[1], light[2]});

  m_Reflections.reserve(std::size_t(Size) * Size * Levels * 3);
  addLevel(details[0]);
  for (int level = 1; level < Levels; ++level) {
    const Lobe lobe(float(level) / (Levels - 1), Size);
    const int size = Size >> std::min(level - 1, 2);  // what is blurred needs few texels of its own
    addLevel(Square(size, [&](float x, float y) { return lobe.around(normalized(onOctahedron(x, y)), details); }));
  }
}

template <class Source>
void Environment::addLevel(const Source& source) {
  for (int row = 0; row < Size; ++row)
    for (int column = 0; column < Size; ++column)
      for (const float value : source(onOctahedron(placeOf(column, Size), placeOf(row, Size))))
        m_Reflections.push_back(std::uint16_t(std::lround(65535 * std::sqrt(value / m_Brightest))));
}

Environment::~Environment() = default;

math::Matrix4 environmentFrame(const math::Matrix4& view) {
  math::Vector3 up{view(0, 2), view(1, 2), view(2, 2)};
  up = std::hypot(up[0], up[1], up[2]) > 0 ? normalized(up) : math::Vector3{0, 1, 0};
  constexpr double Steep = 0.98;
  const math::Vector3 away =
      std::abs(up[2]) < Steep ? math::Vector3{0, 0, -1} : math::Vector3{0, up[2] > 0 ? 1.0 : -1.0, 0};
  const math::Vector3 right = normalized(cross(away, up)), level = cross(up, right);
  math::Matrix4 result;
  for (int i = 0; i < 3; ++i) {
    result(0, i) = right[std::size_t(i)];
    result(1, i) = level[std::size_t(i)];
    result(2, i) = up[std::size_t(i)];
  }
  return result;
}

Environment::Quadric turned(const Environment::Quadric& source, const math::Matrix4& m) {
  constexpr int Square[3][3] = {{4, 7, 9}, {7, 5, 8}, {9, 8, 6}};  // where x, y and z times each other stand
  Environment::Quadric result{};
  result[0] = source[0];
  for (int c = 0; c < 3; ++c)
    for (int i = 0; i < 3; ++i)
      for (int j = 0; j < 3; ++j) {
        result[1 + i][c] += source[1 + j][c] * float(m(j, i));
        if (j < i) continue;
        double sum = 0;
        for (int k = 0; k < 3; ++k)
          for (int l = 0; l < 3; ++l) sum += m(k, i) * m(l, j) * source[Square[k][l]][c] * (k == l ? 1 : 0.5);
        result[Square[i][j]][c] = float(i == j ? sum : 2 * sum);
      }
  return result;
}

util::YPointer<Environment> environmentOf(const Scene& scene) {
  const util::YPointer<util::YObject> environment = scene.getEnvironment();
  return static_cast<Environment*>(environment.get());
}

}  // namespace nubo::scene
