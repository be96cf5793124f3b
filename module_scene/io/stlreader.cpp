#include "module_scene/io/stlreader.h"

#include <QtEndian>
#include <array>
#include <cstring>

#include "module_scene/io/filestream.h"
#include "module_scene/mesh/vertexjoin.h"

namespace nubo::io {
namespace {

constexpr std::size_t HeaderSize = 84, TriangleSize = 50, CornersOffset = 12, CornerSize = 12, ColorOffset = 48;

/// The corners of some triangles, for findRepresentatives.
class StlCorners {
 public:
  explicit StlCorners(const char* triangles) : mp_Triangles(triangles) {}
  const char* address(std::uint32_t corner) const {
    return mp_Triangles + std::size_t(corner / 3) * TriangleSize + CornersOffset + corner % 3 * CornerSize;
  }
  /// A negative zero is the same place as a positive one, and becomes it.
  std::array<float, 3> position(std::uint32_t corner) const {
    std::array<float, 3> p;
    qFromLittleEndian<float>(address(corner), 3, p.data());
    for (float& value : p) value += 0.0f;
    return p;
  }
  bool equal(std::uint32_t a, std::uint32_t b) const {
    const auto p = position(a), q = position(b);
    return std::memcmp(&p, &q, sizeof p) == 0;  // NOLINT: bit by bit, as they are hashed
  }
  std::uint32_t hash(std::uint32_t corner) const {
    const auto p = position(corner);
    std::uint32_t words[3];
    std::memcpy(words, &p, sizeof words);
    scene::WordHash hash;
    for (const std::uint32_t word : words) hash.add(word);
    return hash.value();
  }

 private:
  const char* mp_Triangles;
};

std::uint64_t announcedTriangles(const char* header) { return qFromLittleEndian<quint32>(header + 80); }

std::uint64_t announcedSize(const char* header) { return HeaderSize + announcedTriangles(header) * TriangleSize; }

/// Throws ImportError for what is neither binary nor text.
bool isBinary(const QString& fileName, ImportControl& control) {
  FileStream file(fileName, control);
  if (file.size() < HeaderSize) return false;
  const auto known = std::size_t(std::min<std::uint64_t>(file.size(), 512));
  const char* header = file.take(known);
  const bool looksLikeText = std::memcmp(header, "solid", 5) == 0 && std::memchr(header, 0, known) == nullptr;
  if (file.size() == announcedSize(header)) return true;
  if (looksLikeText) return false;
  if (file.size() > announcedSize(header)) return true;
  throw ImportError(
      ImportError::tr("the file is no STL file, or it is truncated: it announces %1 triangles, which take "
                      "%2 bytes, but has %3 bytes")
          .arg(announcedTriangles(header))
          .arg(announcedSize(header))
          .arg(file.size()));
}

/// Some programs keep a face's colour in what should be an unused word, and set its upper bit.
bool hasColors(const char* triangles, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i)
    if (triangles[i * TriangleSize + ColorOffset + 1] & 0x80) return true;
  return false;
}

void append(scene::Geometry& geometry, const StlCorners& corners, std::size_t count) {
  // A vertex takes its number where its corner stands for itself, which may be behind others that name it.
  constexpr std::uint32_t None = 0xFFFFFFFFu;
  const std::vector<std::uint32_t> representatives = scene::findRepresentatives(count, corners);
  std::vector<std::uint32_t> numbers(count, None);
  for (const std::uint32_t corner : representatives) {
    if (numbers[corner] == None) {
      numbers[corner] = std::uint32_t(geometry.vertexCount());
      const auto position = corners.position(corner);
      geometry.positions.insert(geometry.positions.end(), position.begin(), position.end());
    }
    geometry.indices.push_back(numbers[corner]);
  }
}

}  // namespace

bool hasSizeOfBinaryStl(const QByteArray& firstBytes, qint64 size) {
  return firstBytes.size() >= int(HeaderSize) && announcedTriangles(firstBytes.constData()) > 0 &&
         announcedSize(firstBytes.constData()) == std::uint64_t(size);
}

util::YPointer<scene::Geometry> readBinaryStl(const QString& fileName, ImportControl& control) {
  if (!isBinary(fileName, control)) return nullptr;
  FileStream file(fileName, control);
  const std::uint64_t triangles = announcedTriangles(file.take(HeaderSize));
  if (triangles * 3 >= 0x7FFFFFFF) throw ImportError(ImportError::tr("it has too many triangles"));
  util::YPointer<scene::Geometry> geometry(new scene::Geometry);
  geometry->indices.reserve(std::size_t(triangles) * 3);
  // Neighbours mostly stand close to each other in the file, so that little is left to be joined later.
  constexpr std::uint64_t AtOnce = 1 << 18;
  for (std::uint64_t first = 0; first < triangles; first += AtOnce) {
    const auto some = std::size_t(std::min(AtOnce, triangles - first));
    const char* bytes = file.take(some * TriangleSize);
    if (hasColors(bytes, some)) return nullptr;
    append(*geometry, StlCorners(bytes), some * 3);
  }
  return geometry;
}

}  // namespace nubo::io
