#include "module_scene/io/plyreader.h"

#include <QtEndian>
#include <algorithm>
#include <cmath>
#include <cstring>

#include "module_scene/io/filestream.h"
#include "module_scene/mesh/parallel.h"
#include "module_scene/mesh/readylist.h"

namespace nubo::io {
namespace {

constexpr float PointSize = 2.0f;  // pixels

/// Thrown where a file needs a reader that knows more.
struct NotForUs {};

enum class Type { None, Int8, UInt8, Int16, UInt16, Int32, UInt32, Float, Double };

Type typeOf(const QByteArray& name) {
  static const std::pair<const char*, Type> names[]{
      {"char", Type::Int8},   {"int8", Type::Int8},     {"uchar", Type::UInt8},   {"uint8", Type::UInt8},
      {"short", Type::Int16}, {"int16", Type::Int16},   {"ushort", Type::UInt16}, {"uint16", Type::UInt16},
      {"int", Type::Int32},   {"int32", Type::Int32},   {"uint", Type::UInt32},   {"uint32", Type::UInt32},
      {"float", Type::Float}, {"float32", Type::Float}, {"double", Type::Double}, {"float64", Type::Double}};
  for (const auto& [known, type] : names)
    if (name == known) return type;
  throw ImportError(ImportError::tr("PLY: unknown type '%1'").arg(QString::fromLatin1(name.left(40))));
}

std::size_t sizeOf(Type type) {
  static constexpr std::size_t Sizes[]{0, 1, 1, 2, 2, 4, 4, 4, 8};
  return Sizes[int(type)];
}

struct Property {
  QByteArray name;
  Type type;
  Type countType;  ///< of a list's length; None: no list
};

struct Element {
  QByteArray name;
  std::uint64_t count;
  std::vector<Property> properties;

  bool hasLists() const {
    return std::any_of(properties.begin(), properties.end(),
                       [](const Property& p) { return p.countType != Type::None; });
  }
  std::size_t stride() const {
    std::size_t sum = 0;
    for (const Property& p : properties) sum += sizeOf(p.type);
    return sum;
  }
};

class PlyReader {
 public:
  PlyReader(const QString& fileName, ImportControl& control) : m_File(fileName, control) {}

  util::YPointer<scene::Geometry> read() {
    readHeader();
    m_Geometry = new scene::Geometry;
    for (const Element& element : m_Elements) {
      if (element.name == "vertex")
        readVertices(element);
      else
        readOthers(element);
    }
    if (!m_HasFaces) makePoints();
    return m_Geometry;
  }

 private:
  QByteArray readLine() {
    constexpr int Longest = 4096;
    QByteArray line;
    while (m_File.left() > 0) {
      const char c = *m_File.take(1);
      if (c == '\n') return line.simplified();
      if (line.size() < Longest) line += c;
    }
    throw ImportError(ImportError::tr("the file is truncated: its header does not end"));
  }

  void readHeader() {
    if (readLine() != "ply") throw NotForUs();
    for (QByteArray line = readLine(); line != "end_header"; line = readLine()) {
      const QByteArrayList words = line.split(' ');
      if (words[0] == "format")
        readFormat(words.value(1));
      else if (words[0] == "comment" && words.value(1).toLower() == "texturefile")
        throw NotForUs();
      else if (words[0] == "element" && words.size() == 3)
        m_Elements.push_back({words[1], words[2].toULongLong(), {}});
      else if (words[0] == "property" && !m_Elements.empty())
        readProperty(words);
    }
    if (!m_Binary) throw NotForUs();
  }

  void readFormat(const QByteArray& format) {
    const bool big = format == "binary_big_endian";
    m_Binary = big || format == "binary_little_endian";
    m_Swapped = big != (Q_BYTE_ORDER == Q_BIG_ENDIAN);
  }

  void readProperty(const QByteArrayList& words) {
    std::vector<Property>& properties = m_Elements.back().properties;
    if (words.size() == 5 && words[1] == "list")
      properties.push_back({words[4], typeOf(words[3]), typeOf(words[2])});
    else if (words.size() == 3)
      properties.push_back({words[2], typeOf(words[1]), Type::None});
    else
      throw ImportError(ImportError::tr("PLY: a property is not understood"));
  }

  template <class T>
  T load(const char* at) const {
    char bytes[sizeof(T)];
    std::memcpy(bytes, at, sizeof(T));
    if (m_Swapped) std::reverse(bytes, bytes + sizeof(T));
    T value;
    std::memcpy(&value, bytes, sizeof(T));
    return value;
  }

  double value(Type type, const char* at) const {
    switch (type) {
      case Type::Int8:
        return load<std::int8_t>(at);
      case Type::UInt8:
        return load<std::uint8_t>(at);
      case Type::Int16:
        return load<std::int16_t>(at);
      case Type::UInt16:
        return load<std::uint16_t>(at);
      case Type::Int32:
        return load<std::int32_t>(at);
      case Type::UInt32:
        return load<std::uint32_t>(at);
      case Type::Float:
        return double(load<float>(at));
      case Type::Double:
        return load<double>(at);
      case Type::None:
        break;
    }
    return 0;
  }

  struct Field {
    Type type = Type::None;
    std::size_t offset = 0;
  };
  /// Where the first of the properties of these names is in a record; of type None if there is none.
  static Field field(const Element& element, std::initializer_list<const char*> names) {
    Field found;
    std::size_t offset = 0;
    for (const Property& property : element.properties) {
      const bool wanted = std::find(names.begin(), names.end(), property.name) != names.end();
      if (wanted) return {property.type, offset};
      offset += sizeOf(property.type);
    }
    return found;
  }

  void readVertices(const Element& element) {
    const std::size_t stride = element.stride();
    if (element.hasLists() || stride == 0) throw NotForUs();
    if (element.count >= 0x7FFFFFFF) throw ImportError(ImportError::tr("it has too many vertices"));
    if (element.count > m_File.left() / stride)
      throw ImportError(ImportError::tr("the file is truncated: it announces %1 vertices, and has %2")
                            .arg(element.count)
                            .arg(m_File.left() / stride));
    const auto count = std::size_t(element.count);
    const Field place[]{field(element, {"x"}), field(element, {"y"}), field(element, {"z"})};
    const Field normal[]{field(element, {"nx"}), field(element, {"ny"}), field(element, {"nz"})};
    const Field color[]{field(element, {"red", "r", "diffuse_red"}), field(element, {"green", "g", "diffuse_green"}),
                        field(element, {"blue", "b", "diffuse_blue"}), field(element, {"alpha", "a", "diffuse_alpha"})};
    const auto has = [](const Field* fields) {
      return fields[0].type != Type::None && fields[1].type != Type::None && fields[2].type != Type::None;
    };
    if (!has(place)) throw ImportError(ImportError::tr("PLY: the vertices have no x, y and z"));
    scene::Geometry& g = *m_Geometry;
    g.positions = scene::readyList<float>(count * 3);
    if (has(normal)) g.normals = scene::readyList<float>(count * 3);
    if (has(color)) g.colors.resize(count * 4, 255);
    constexpr std::size_t AtOnce = 1 << 16;
    for (std::size_t first = 0; first < count; first += AtOnce) {
      const std::size_t some = std::min(AtOnce, count - first);
      const char* records = m_File.take(some * stride);
      g.positions.resize((first + some) * 3);
      if (has(normal)) g.normals.resize((first + some) * 3);
      scene::parallelRanges(some, [&](std::size_t begin, std::size_t end, std::size_t) {
        for (std::size_t i = begin; i < end; ++i) {
          const char* record = records + i * stride;
          readFloats(record, place, &g.positions[(first + i) * 3]);
          if (has(normal)) readFloats(record, normal, &g.normals[(first + i) * 3]);
          if (has(color)) readColor(record, color, &g.colors[(first + i) * 4]);
        }
      });
    }
  }

  void readFloats(const char* record, const Field* fields, float* result) const {
    for (std::size_t k = 0; k < 3; ++k)
      result[k] = fields[k].type == Type::Float ? load<float>(record + fields[k].offset)
                                                : float(value(fields[k].type, record + fields[k].offset));
  }

  void readColor(const char* record, const Field* fields, std::uint8_t* result) const {
    for (std::size_t k = 0; k < 4; ++k)
      if (fields[k].type != Type::None) result[k] = component(fields[k].type, record + fields[k].offset);
  }

  std::uint8_t component(Type type, const char* at) const {
    if (type == Type::UInt8) return std::uint8_t(*at);
    double v = value(type, at);
    if (type == Type::Float || type == Type::Double) v *= 255;
    if (type == Type::UInt16) v /= 257;
    return std::uint8_t(std::isfinite(v) ? std::lround(std::clamp(v, 0.0, 255.0)) : 0);
  }

  /// Faces, and whatever else there is, which is passed over.
  void readOthers(const Element& element) {
    if (element.name == "tristrips" && element.count > 0) throw NotForUs();
    if (!element.hasLists()) {
      // A count that overflows here is more than any file has.
      if (element.count > m_File.size()) throw ImportError(ImportError::tr("the file is truncated"));
      const std::size_t stride = element.stride();
      for (std::uint64_t i = 0; i < element.count && stride > 0; ++i) m_File.take(stride);
      return;
    }
    if (element.name == "face") {
      constexpr std::uint64_t LeastBytes = 4;  // of a triangle
      const std::uint64_t most = std::min(element.count, m_File.left() / LeastBytes);
      m_Geometry->indices = scene::readyList<std::uint32_t>(std::size_t(most) * 3);
    }
    std::vector<bool> areCorners;
    for (const Property& property : element.properties)
      areCorners.push_back(element.name == "face" &&
                           (property.name == "vertex_indices" || property.name == "vertex_index"));
    const bool isUsual = element.properties.size() == 1 && areCorners[0] && areTriangles(element.properties[0]);
    for (std::uint64_t i = 0; i < element.count; ++i) {
      if (isUsual && i % TrianglesAtOnce == 0 && addTriangles(element.count - i)) {
        i += TrianglesAtOnce - 1;
        continue;
      }
      for (std::size_t k = 0; k < element.properties.size(); ++k) {
        const Property& property = element.properties[k];
        const auto count =
            property.countType == Type::None
                ? 1u
                : std::uint32_t(std::max(0.0, value(property.countType, m_File.take(sizeOf(property.countType)))));
        const char* items = m_File.take(std::uint64_t(count) * sizeOf(property.type));
        if (areCorners[k]) addFace(items, property.type, count);
      }
    }
  }

  static constexpr std::size_t TrianglesAtOnce = 1 << 16, TriangleSize = 13;

  /// Whether they are so if there are three corners each: a byte that says so, and their numbers of four bytes.
  static bool areTriangles(const Property& property) {
    return sizeOf(property.countType) == 1 && (property.type == Type::Int32 || property.type == Type::UInt32);
  }

  /// Takes the next faces on all cores if they are triangles.
  bool addTriangles(std::uint64_t left) {
    constexpr std::size_t Size = TrianglesAtOnce * TriangleSize;
    if (left < TrianglesAtOnce || m_File.left() < Size) return false;
    const char* const records = m_File.take(Size);
    if (scene::isAny(TrianglesAtOnce, [&](std::size_t i) { return records[i * TriangleSize] != 3; })) {
      m_File.giveBack(Size);
      return false;
    }
    std::vector<std::uint32_t>& indices = m_Geometry->indices;
    const std::size_t first = indices.size(), vertices = m_Geometry->vertexCount();
    indices.resize(first + TrianglesAtOnce * 3);
    const auto isBroken = [&](std::size_t i) {
      bool broken = false;
      for (std::size_t k = 0; k < 3; ++k) {
        std::uint32_t& corner = indices[first + i * 3 + k];
        corner = load<std::uint32_t>(records + i * TriangleSize + 1 + k * sizeof corner);
        broken |= corner >= vertices;
      }
      return broken;
    };
    if (scene::isAny(TrianglesAtOnce, isBroken)) throwNoVertex();
    m_HasFaces = true;
    return true;
  }

  [[noreturn]] static void throwNoVertex() {
    throw ImportError(ImportError::tr("PLY: a face has a vertex that is not there"));
  }

  void addFace(const char* items, Type type, std::uint32_t count) {
    if (count > 4) throw NotForUs();
    std::uint32_t corners[4];
    m_HasFaces = true;
    for (std::uint32_t k = 0; k < count; ++k) {
      const char* item = items + k * sizeOf(type);
      // A negative number is as large as no vertex'.
      const bool isUsual = type == Type::Int32 || type == Type::UInt32;
      const double corner = isUsual ? double(load<std::uint32_t>(item)) : value(type, item);
      if (!(corner >= 0 && corner < double(m_Geometry->vertexCount()))) throwNoVertex();
      corners[k] = std::uint32_t(corner);
    }
    for (std::uint32_t k = 2; k < count; ++k)
      m_Geometry->indices.insert(m_Geometry->indices.end(), {corners[0], corners[k - 1], corners[k]});
  }

  void makePoints() {
    m_Geometry->kind = scene::KindPoints;
    m_Geometry->width = PointSize;
    m_Geometry->indices.resize(m_Geometry->vertexCount());
    for (std::size_t i = 0; i < m_Geometry->indices.size(); ++i) m_Geometry->indices[i] = std::uint32_t(i);
  }

  FileStream m_File;
  bool m_Binary = false, m_Swapped = false, m_HasFaces = false;
  std::vector<Element> m_Elements;
  util::YPointer<scene::Geometry> m_Geometry;
};

}  // namespace

util::YPointer<scene::Geometry> readBinaryPly(const QString& fileName, ImportControl& control) {
  try {
    return PlyReader(fileName, control).read();
  } catch (const NotForUs&) {
    return nullptr;
  }
}

}  // namespace nubo::io
