// How a model travels from the reading process: all of it but the arrays, as a row of bytes.
#pragma once

#include <cstring>
#include <stdexcept>
#include <type_traits>

#include "module_scene/io/reader/model.h"

namespace nubo::reader {

/// The greatest value of an enumeration.
template <class E>
constexpr E last();
template <>
constexpr Primitive last() {
  return Primitive::Triangles;
}
template <>
constexpr Wrap last() {
  return Wrap::Clamp;
}
template <>
constexpr AlphaMode last() {
  return AlphaMode::Opaque;
}
template <>
constexpr Path last() {
  return Path::Weights;
}
template <>
constexpr Interpolation last() {
  return Interpolation::Cubic;
}

// The members of each structure, in the order in which they travel.
template <class A>
void describe(A& a, Image& x) {
  a(x.name, x.encoded, x.file, x.width, x.height, x.pixels);
}
template <class A>
void describe(A& a, Texture& x) {
  a(x.image, x.across, x.up, x.smooth);
}
template <class A>
void describe(A& a, TextureUse& x) {
  a(x.texture, x.coordinates, x.transform);
}
template <class A>
void describe(A& a, PhysicalMaterial& x) {
  a(x.baseColor, x.metallic, x.roughness, x.normalScale, x.occlusionStrength, x.emissive, x.emissiveStrength,
    x.baseColorTexture, x.metallicRoughnessTexture, x.normalTexture, x.occlusionTexture, x.emissiveTexture);
}
template <class A>
void describe(A& a, Material& x) {
  a(x.name, x.lit, x.alphaMode, x.alphaCutoff, x.doubleSided, x.physical, x.diffuse, x.specular, x.emissive,
    x.shininess, x.texture, x.textureReplacesColor);
}
template <class A>
void describe(A& a, Shape& x) {
  a(x.name, x.positions, x.normals);
}
template <class A>
void describe(A& a, Stored& x) {
  a(x.offset, x.count, x.width);
}
template <class A>
void describe(A& a, Mesh& x) {
  a(x.primitive, x.positions, x.normals, x.colors, x.texCoords, x.secondTexCoords, x.indices, x.storedPositions,
    x.storedNormals, x.storedIndices, x.material, x.width, x.edges, x.shapes, x.shapeWeights, x.influences, x.bones,
    x.boneWeights);
}
template <class A>
void describe(A& a, Bone& x) {
  a(x.node, x.toBone);
}
template <class A>
void describe(A& a, Skin& x) {
  a(x.bones);
}
template <class A>
void describe(A& a, Instance& x) {
  a(x.mesh, x.skin);
}
template <class A>
void describe(A& a, Node& x) {
  a(x.name, x.parent, x.transform, x.instances, x.shapeWeights, x.camera);
}
template <class A>
void describe(A& a, Track& x) {
  a(x.node, x.path, x.interpolation, x.times, x.values);
}
template <class A>
void describe(A& a, Animation& x) {
  a(x.name, x.tracks);
}
template <class A>
void describe(A& a, Camera& x) {
  a(x.name, x.orthographic, x.height, x.aspect);
}
template <class A>
void describe(A& a, Variant::Use& x) {
  a(x.mesh, x.material);
}
template <class A>
void describe(A& a, Variant& x) {
  a(x.name, x.uses);
}
template <class A>
void describe(A& a, Joint& x) {
  a(x.name, x.node, x.turns, x.axis, x.lower, x.upper, x.follows, x.multiplier, x.offset);
}
template <class A>
void describe(A& a, Reference& x) {
  a(x.node, x.file, x.material);
}
template <class A>
void describe(A& a, Model& x) {
  a(x.upright, x.images, x.textures, x.materials, x.meshes, x.skins, x.nodes, x.animations, x.cameras, x.variants,
    x.joints, x.references);
}

/// Where an array lies.
struct Place {
  std::uint32_t block = 0;
  std::uint64_t offset = 0;  ///< in bytes
};

/// Visits all members of structures, lists and choices down to what `Archive` has a `one` for. `Archive` says with
/// `count` how long a list is.
template <class Archive>
class Visitor {
 public:
  template <class... T>
  void operator()(T&... values) {
    (visit(values), ...);
  }

 private:
  template <class T>
  void visit(T& value) {
    if constexpr (std::is_arithmetic_v<T> || std::is_enum_v<T>)
      self().one(value);
    else
      describe(*this, value);
  }
  void visit(std::string& value) { self().one(value); }
  template <class T>
  void visit(Array<T>& value) {
    self().one(value);
  }
  template <class T, std::size_t N>
  void visit(std::array<T, N>& values) {
    for (T& value : values) visit(value);
  }
  template <class T>
  void visit(std::vector<T>& values) {
    // One by one: a length that is not true runs out of bytes before it takes memory.
    const std::size_t size = self().count(values.size());
    for (std::size_t i = 0; i < size; ++i) {
      if (i == values.size()) values.emplace_back();
      visit(values[i]);
    }
  }
  template <class T>
  void visit(std::optional<T>& value) {
    bool there = value.has_value();
    visit(there);
    if (there && !value) value.emplace();
    if (there) visit(*value);
  }
  Archive& self() { return static_cast<Archive&>(*this); }
};

/// Writes a record. `Places` finds the Place of an address.
template <class Places>
class RecordWriter : public Visitor<RecordWriter<Places>> {
 public:
  explicit RecordWriter(const Places& places) : m_Places(places) {}
  const std::string& bytes() const { return m_Bytes; }

  template <class T>
  void one(T& value) {
    m_Bytes.append(reinterpret_cast<const char*>(&value), sizeof value);
  }
  void one(std::string& value) {
    count(value.size());
    m_Bytes += value;
  }
  template <class T>
  void one(Array<T>& value) {
    count(value.size());
    if (value.empty()) return;
    Place place = m_Places(value.data());
    one(place.block), one(place.offset);
  }
  std::size_t count(std::uint64_t size) {
    one(size);
    return std::size_t(size);
  }

 private:
  const Places& m_Places;
  std::string m_Bytes;
};

/// Thrown for a record that cannot have been written by a RecordWriter, or whose parts do not go together.
struct BadRecord : std::runtime_error {
  explicit BadRecord(const char* what = "the record is damaged") : std::runtime_error(what) {}
};

/// What an index of a record names; throws BadRecord where that is not there.
template <class T>
const T& named(const std::vector<T>& list, std::int32_t index) {
  if (index < 0 || std::size_t(index) >= list.size())
    throw BadRecord("an index names a mesh, material or the like that is not there");
  return list[std::size_t(index)];
}

/// Reads a record that anybody may have written. `Blocks` hands out the memory of `size` bytes (not 0) at a Place, at
/// a multiple of `alignment`, or throws.
template <class Blocks>
class RecordReader : public Visitor<RecordReader<Blocks>> {
 public:
  RecordReader(const char* bytes, std::size_t size, Blocks& blocks)
      : mp_At(bytes), mp_End(bytes + size), m_Blocks(blocks) {}

  template <class T>
  void one(T& value) {
    if constexpr (std::is_same_v<T, bool>) {
      std::uint8_t byte = 0;
      one(byte);
      value = byte != 0;
    } else if constexpr (std::is_enum_v<T>) {
      std::underlying_type_t<T> number{};
      one(number);
      if (number > std::underlying_type_t<T>(last<T>())) throw BadRecord();
      value = T(number);
    } else {
      std::memcpy(&value, take(sizeof value), sizeof value);
    }
  }
  void one(std::string& value) {
    constexpr std::size_t Longest = 1 << 16;
    const std::size_t size = count(0);
    if (size > Longest) throw BadRecord();
    value.assign(take(size), size);
  }
  template <class T>
  void one(Array<T>& value) {
    const std::size_t size = count(0);
    if (size == 0) return;
    Place place;
    one(place.block), one(place.offset);
    if (size > std::size_t(-1) / sizeof(T)) throw BadRecord();
    value = {static_cast<T*>(m_Blocks.find(place, size * sizeof(T), alignof(T))), size};
  }
  std::size_t count(std::uint64_t) {
    std::uint64_t size = 0;
    one(size);
    return std::size_t(size);
  }

 private:
  const char* take(std::size_t size) {
    if (size > std::size_t(mp_End - mp_At)) throw BadRecord();
    const char* taken = mp_At;
    mp_At += size;
    return taken;
  }

  const char* mp_At;
  const char* mp_End;
  Blocks& m_Blocks;
};

}  // namespace nubo::reader
