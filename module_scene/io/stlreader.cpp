#include "module_scene/io/stlreader.h"

#include <QtEndian>
#include <atomic>
#include <cstring>

#include "module_scene/io/mappedfile.h"
#include "module_scene/mesh/vertexjoin.h"

namespace nubo::io {
namespace {

constexpr std::size_t HeaderSize = 84, TriangleSize = 50, CornersOffset = 12, CornerSize = 12, ColorOffset = 48;

/// The corners of all triangles of a mapped file, for findRepresentatives.
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

std::size_t announcedTriangles(const MappedFile& file) { return qFromLittleEndian<quint32>(file.data() + 80); }

/// Some programs keep a face's colour in what should be an unused word, and set its upper bit.
bool hasColors(const MappedFile& file) {
  std::atomic<bool> found{false};
  scene::parallelRanges(announcedTriangles(file), [&](std::size_t begin, std::size_t end, std::size_t) {
    for (std::size_t i = begin; i < end && !found.load(std::memory_order_relaxed); ++i)
      if (file.data()[HeaderSize + i * TriangleSize + ColorOffset + 1] & 0x80) found = true;
  });
  return found;
}

}  // namespace

bool isPlainBinaryStl(const QString& fileName) {
  const MappedFile file(fileName);
  if (file.size() < HeaderSize) return false;
  const std::size_t size = HeaderSize + announcedTriangles(file) * TriangleSize;
  const bool looksLikeText = std::memcmp(file.data(), "solid", 5) == 0 &&
                             std::memchr(file.data(), 0, std::min<std::size_t>(file.size(), 512)) == nullptr;
  if (file.size() == size || (file.size() > size && !looksLikeText)) return !hasColors(file);
  if (looksLikeText) return false;
  throw ImportError(
      ImportError::tr("the file is no STL file, or it is truncated: it announces %1 triangles, which take "
                      "%2 bytes, but has %3 bytes")
          .arg(announcedTriangles(file))
          .arg(size)
          .arg(file.size()));
}

util::YPointer<scene::Geometry> readStl(const QString& fileName) {
  const MappedFile file(fileName);
  const std::size_t corners = announcedTriangles(file) * 3;
  if (corners >= 0x7FFFFFFF) throw ImportError(ImportError::tr("it has too many triangles"));
  const StlCorners items(file.data() + HeaderSize);
  util::YPointer<scene::Geometry> geometry(new scene::Geometry);
  geometry->indices = scene::findRepresentatives(corners, items);

  // A vertex takes its number where its corner stands for itself; the numbers go to a list of their own,
  // since other corners still look for theirs.
  const std::size_t ranges = scene::rangeCount(corners);
  std::vector<std::uint32_t> first(ranges + 1);
  scene::parallelRanges(corners, [&](std::size_t begin, std::size_t end, std::size_t range) {
    std::uint32_t count = 0;
    for (std::size_t i = begin; i < end; ++i) count += geometry->indices[i] == i;
    first[range + 1] = count;
  });
  for (std::size_t range = 0; range < ranges; ++range) first[range + 1] += first[range];
  geometry->positions.resize(std::size_t(first[ranges]) * 3);
  std::vector<std::uint32_t> numbers(corners);
  scene::parallelRanges(corners, [&](std::size_t begin, std::size_t end, std::size_t range) {
    std::uint32_t number = first[range];
    for (std::size_t i = begin; i < end; ++i) {
      if (geometry->indices[i] != i) continue;
      const auto position = items.position(std::uint32_t(i));
      std::copy(position.begin(), position.end(), &geometry->positions[std::size_t(number) * 3]);
      numbers[i] = number++;
    }
  });
  scene::parallelRanges(corners, [&](std::size_t begin, std::size_t end, std::size_t) {
    for (std::size_t i = begin; i < end; ++i) geometry->indices[i] = numbers[geometry->indices[i]];
  });
  return geometry;
}

}  // namespace nubo::io
