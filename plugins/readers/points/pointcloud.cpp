#include "plugins/readers/points/pointcloud.h"

#include <cmath>

namespace nubo::reader {
namespace {

constexpr float PointSize = 2;  // pixels
constexpr double Greatest = 255;

std::uint8_t byteOf(double value) {
  return std::isfinite(value) ? std::uint8_t(std::lround(std::clamp(value, 0.0, Greatest))) : std::uint8_t(Greatest);
}

/// Red, green and blue from the lowest byte upwards: blue, green, red.
void unpack(double value, bool isFloat, std::array<double, 3>& color) {
  std::uint32_t bits = 0;
  if (isFloat) {
    const auto number = float(value);
    std::memcpy(&bits, &number, sizeof bits);
  } else if (value >= 0 && value <= double(UINT32_MAX)) {
    bits = std::uint32_t(value);
  }
  for (unsigned part = 0; part < 3; ++part) color[part] = bits >> (16 - 8 * part) & 0xFF;
}

template <class T>
void put(const std::vector<T>& values, const Array<T>& to, std::size_t at) {
  std::copy(values.begin(), values.end(), to.begin() + at);
}

}  // namespace

void Stretch::add(const double* values) {
  std::array<double, 3> position{NAN, NAN, NAN}, normal{}, color{Greatest, Greatest, Greatest};
  double intensity = 0;
  for (std::size_t c = 0; c < m_Layout.columns.size(); ++c) {
    const Meaning meaning = m_Layout.columns[c];
    const auto part = std::size_t(meaning);
    if (meaning == Meaning::Nothing) continue;
    if (meaning <= Meaning::Z)
      position[part - std::size_t(Meaning::X)] = values[c] - m_Layout.origin[part - std::size_t(Meaning::X)];
    else if (meaning <= Meaning::NormalZ)
      normal[part - std::size_t(Meaning::NormalX)] = values[c];
    else if (meaning <= Meaning::Blue)
      color[part - std::size_t(Meaning::Red)] = values[c] * m_Layout.colorScale;
    else if (meaning == Meaning::Packed)
      unpack(values[c], m_Layout.packedAsFloat, color);
    else
      intensity = values[c];
  }
  if (!std::all_of(position.begin(), position.end(), [](double v) { return std::isfinite(float(v)); })) {
    ++nowhere;
    return;
  }
  positions.insert(positions.end(), {float(position[0]), float(position[1]), float(position[2])});
  if (m_HasNormals) normals.insert(normals.end(), {float(normal[0]), float(normal[1]), float(normal[2])});
  if (m_HasColors) colors.insert(colors.end(), {byteOf(color[0]), byteOf(color[1]), byteOf(color[2]), 255});
  if (m_HasIntensities) intensities.push_back(std::isfinite(intensity) ? float(intensity) : 0);
}

PointCloud::PointCloud(const Layout& layout, std::size_t most, Output& output) : m_Layout(layout), m_Output(output) {
  m_Mesh.primitive = Primitive::Points;
  m_Mesh.width = PointSize;
  m_Mesh.positions = output.array<float>(most * 3);
  if (layout.hasNormals()) m_Mesh.normals = output.array<float>(most * 3);
  if (layout.hasColors() || layout.has(Meaning::Intensity)) m_Mesh.colors = output.array<std::uint8_t>(most * 4);
}

void PointCloud::append(const Stretch& stretch) {
  if (stretch.positions.size() > m_Mesh.positions.size() - m_Count * 3)
    throw Refusal("the file is damaged: it holds more points than it announces");
  put(stretch.positions, m_Mesh.positions, m_Count * 3);
  put(stretch.normals, m_Mesh.normals, m_Count * 3);
  put(stretch.colors, m_Mesh.colors, m_Count * 4);
  m_Intensities.insert(m_Intensities.end(), stretch.intensities.begin(), stretch.intensities.end());
  m_Count += stretch.positions.size() / 3;
  m_Nowhere += stretch.nowhere;
  m_Strange += stretch.strange;
  m_Announced += stretch.announced;
}

/// Scanners count intensities in ways of their own. What is no share and no byte spans from black to white.
void PointCloud::makeGrey() {
  const auto [least, most] = std::minmax_element(m_Intensities.begin(), m_Intensities.end());
  const bool isShare = *least >= 0 && *most <= 1, isByte = *least >= 0 && *most <= 255;
  const double from = isByte ? 0 : double(*least);
  const double span = isShare ? 1 : isByte ? 255 : double(*most) - double(*least);
  for (std::size_t i = 0; i < m_Count; ++i) {
    std::fill_n(m_Mesh.colors.begin() + i * 4, 3, byteOf((double(m_Intensities[i]) - from) / span * Greatest));
    m_Mesh.colors[i * 4 + 3] = 255;
  }
}

void PointCloud::finish(std::uint64_t announced) {
  const std::uint64_t found = m_Count + m_Nowhere;
  if (found < announced)
    throw Refusal("the file is truncated: it announces %1 points, but has %2",
                  {std::to_string(announced), std::to_string(found)});
  if (m_Count == 0) throw Refusal("it holds no geometry");
  if (m_Nowhere > 0) m_Output.warning(text("%1 points have no place, and are left out", {std::to_string(m_Nowhere)}));
  if (m_Strange > 0) m_Output.warning(text("%1 lines hold no point, and are left out", {std::to_string(m_Strange)}));
  if (!m_Intensities.empty()) makeGrey();
  m_Mesh.positions.shrink(m_Count * 3);
  m_Mesh.normals.shrink(m_Count * 3);
  m_Mesh.colors.shrink(m_Count * 4);
  m_Mesh.indices = m_Output.array<std::uint32_t>(m_Count);
  for (std::size_t i = 0; i < m_Count; ++i) m_Mesh.indices[i] = std::uint32_t(i);
  Node node;
  std::copy(m_Layout.origin.begin(), m_Layout.origin.end(), node.transform.begin() + 12);
  node.instances.push_back({0, None});
  m_Output.model.meshes.push_back(std::move(m_Mesh));
  m_Output.model.nodes.push_back(std::move(node));
}

}  // namespace nubo::reader
