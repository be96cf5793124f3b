#include "module_scene/io/stlreader.h"

#include <QtEndian>
#include <array>
#include <cstring>

#include "kernel/util/largememory.h"
#include "module_scene/io/filestream.h"
#include "module_scene/mesh/vertexjoin.h"

namespace nubo::io {
namespace {

constexpr std::size_t HeaderSize = 84, TriangleSize = 50, CornersOffset = 12, CornerSize = 12, ColorOffset = 48;

using Place = std::array<float, 3>;

std::uint32_t hashOf(const Place& place) {
  std::uint32_t words[3];
  std::memcpy(words, &place, sizeof words);
  scene::WordHash hash;
  for (const std::uint32_t word : words) hash.add(word);
  return hash.value();
}

/// Bit by bit, as they are hashed.
bool isSame(const void* a, const void* b) { return std::memcmp(a, b, sizeof(Place)) == 0; }

/// The corners of some triangles, for findRepresentatives.
class StlCorners {
 public:
  explicit StlCorners(const char* triangles) : mp_Triangles(triangles) {}
  const char* address(std::uint32_t corner) const {
    return mp_Triangles + std::size_t(corner / 3) * TriangleSize + CornersOffset + corner % 3 * CornerSize;
  }
  /// A negative zero is the same place as a positive one, and becomes it.
  Place position(std::uint32_t corner) const {
    Place p;
    qFromLittleEndian<float>(address(corner), 3, p.data());
    for (float& value : p) value += 0.0f;
    return p;
  }
  bool equal(std::uint32_t a, std::uint32_t b) const {
    const Place p = position(a), q = position(b);
    return isSame(&p, &q);
  }
  std::uint32_t hash(std::uint32_t corner) const { return hashOf(position(corner)); }

 private:
  const char* mp_Triangles;
};

/// The vertices so far, by their places: each is there once, however far from each other its triangles stand in the
/// file. What was left to be joined after reading would decide how much memory a file takes at the most.
class Vertices {
 public:
  /// Appends to `positions`, which must outlive this.
  explicit Vertices(std::vector<float>& positions) : m_Positions(positions) {}

  /// Sets numbers[corner] to the vertex of each of these corners, of which no two have the same place.
  void add(const StlCorners& corners, const std::vector<std::uint32_t>& different,
           std::vector<std::uint32_t>& numbers) {
    makeRoom(m_Positions.size() / 3 + different.size());
    // Nearly every access misses the caches, so a batch of them is under way at a time.
    constexpr std::size_t Batch = 16;
    std::array<std::size_t, Batch> places;
    for (std::size_t first = 0; first < different.size(); first += Batch) {
      const std::size_t n = std::min(Batch, different.size() - first);
      for (std::size_t k = 0; k < n; ++k) {
        places[k] = corners.hash(different[first + k]) & (m_Slots.size() - 1);
        __builtin_prefetch(&m_Slots[places[k]], 1);
      }
      for (std::size_t k = 0; k < n; ++k)
        if (const std::uint32_t found = m_Slots[places[k]]; found != Free)
          __builtin_prefetch(&m_Positions[std::size_t(found) * 3]);
      for (std::size_t k = 0; k < n; ++k)
        numbers[different[first + k]] = numberOf(corners.position(different[first + k]), places[k]);
    }
  }

 private:
  static constexpr std::uint32_t Free = 0xFFFFFFFFu;

  std::uint32_t numberOf(const Place& place, std::size_t slot) {
    for (; m_Slots[slot] != Free; slot = next(slot))
      if (isSame(&m_Positions[std::size_t(m_Slots[slot]) * 3], &place)) return m_Slots[slot];
    m_Slots[slot] = std::uint32_t(m_Positions.size() / 3);
    m_Positions.insert(m_Positions.end(), place.begin(), place.end());
    return m_Slots[slot];
  }
  std::size_t next(std::size_t slot) const { return (slot + 1) & (m_Slots.size() - 1); }
  void makeRoom(std::size_t vertices) {
    std::size_t size = std::max<std::size_t>(m_Slots.size(), 64);
    while (size < vertices + vertices / 3) size *= 2;
    if (size == m_Slots.size()) return;
    m_Slots = {};
    m_Slots.assign(size, Free);
    for (std::size_t v = 0; v < m_Positions.size() / 3; ++v) {
      Place place;
      std::copy_n(&m_Positions[v * 3], 3, place.begin());
      std::size_t slot = hashOf(place) & (size - 1);
      while (m_Slots[slot] != Free) slot = next(slot);
      m_Slots[slot] = std::uint32_t(v);
    }
  }

  std::vector<float>& m_Positions;
  std::vector<std::uint32_t> m_Slots;  ///< numbers of vertices, behind where their hashes point
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

void append(scene::Geometry& geometry, Vertices& vertices, const StlCorners& corners, std::size_t count) {
  const auto representatives = scene::findRepresentatives(count, corners);
  std::vector<std::uint32_t> different, numbers(count);
  for (std::uint32_t corner = 0; corner < count; ++corner)
    if (representatives[corner] == corner) different.push_back(corner);
  vertices.add(corners, different, numbers);
  for (const std::uint32_t corner : representatives) geometry.indices.push_back(numbers[corner]);
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
  geometry->positions = util::listWithRoom<float>(std::size_t(triangles) / 2 * 3);  // what closed meshes have
  Vertices vertices(geometry->positions);
  constexpr std::uint64_t AtOnce = 1 << 18;
  for (std::uint64_t first = 0; first < triangles; first += AtOnce) {
    const auto some = std::size_t(std::min(AtOnce, triangles - first));
    const char* bytes = file.take(some * TriangleSize);
    if (hasColors(bytes, some)) return nullptr;
    append(*geometry, vertices, StlCorners(bytes), some * 3);
  }
  return geometry;
}

}  // namespace nubo::io
