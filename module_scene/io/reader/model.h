// What a reader makes of a file: plain data, without Qt and without OpenGL.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace nubo::reader {

/// A long row of values in memory that reader and program share. The reader has it from Output::array; to the program
/// its values are only to be read.
template <class T>
class Array {
 public:
  Array() = default;
  Array(T* data, std::size_t size) : mp_Data(data), m_Size(size) {}

  T* data() const { return mp_Data; }
  std::size_t size() const { return m_Size; }
  bool empty() const { return m_Size == 0; }
  T& operator[](std::size_t i) const { return mp_Data[i]; }
  T* begin() const { return mp_Data; }
  T* end() const { return mp_Data + m_Size; }
  /// Leaves out the values from `size` on.
  void shrink(std::size_t size) {
    if (size < m_Size) m_Size = size;
  }

 private:
  T* mp_Data = nullptr;
  std::size_t m_Size = 0;
};

/// Numbers that stand in the model's own file as they are in memory, one after the other: the program reads them there.
struct Stored {
  std::uint64_t offset = 0;  ///< bytes
  std::uint64_t count = 0;   ///< numbers; 0: there are none
  std::uint8_t width = 4;    ///< bytes of a number: 4, or 2 for indices
};

/// An index that names nothing.
constexpr std::int32_t None = -1;

enum class Primitive : std::uint8_t { Points, Lines, Triangles };
enum class Wrap : std::uint8_t { Repeat, Mirror, Clamp };
enum class AlphaMode : std::uint8_t { Blend, Mask, Opaque };
enum class Path : std::uint8_t { Translation, Rotation, Scale, Weights };
enum class Interpolation : std::uint8_t { Step, Linear, Cubic };

/// A picture: one of the three, the first that is there.
struct Image {
  std::string name;             ///< as messages are to call it; empty: as `file`
  Array<std::uint8_t> encoded;  ///< the bytes of a file of any format that Qt reads
  std::string file;             ///< a path as the model's file has it; it is looked for near that
  std::uint32_t width = 0, height = 0;
  Array<std::uint8_t> pixels;  ///< red, green, blue, alpha (not multiplied), the top row first
};

struct Texture {
  std::int32_t image = None;
  Wrap across = Wrap::Repeat, up = Wrap::Repeat;  ///< what lies beyond the borders
  bool smooth = true;                             ///< false: enlarged pixels keep their corners
};

struct TextureUse {
  std::int32_t texture = None;
  std::uint32_t coordinates = 0;  ///< 0: Mesh::texCoords, 1: secondTexCoords
  /// u' = t[0] u + t[1] v + t[2], v' = t[3] u + t[4] v + t[5]; v counts upwards.
  std::array<float, 6> transform{1, 0, 0, 0, 1, 0};
};

/// What a surface does to light, by metallic and roughness; factors lie in 0 to 1 and multiply their textures.
struct PhysicalMaterial {
  std::array<float, 4> baseColor{1, 1, 1, 1};
  float metallic = 1, roughness = 1;
  float normalScale = 1, occlusionStrength = 1;
  std::array<float, 3> emissive{0, 0, 0};
  float emissiveStrength = 1;
  TextureUse baseColorTexture, metallicRoughnessTexture, normalTexture, occlusionTexture, emissiveTexture;
};

/// Colours are as they are shown (encoded as sRGB), never linear: red, green, blue, alpha in 0 to 1.
struct Material {
  std::string name;
  bool lit = true;  ///< false: the colour as it is
  AlphaMode alphaMode = AlphaMode::Blend;
  float alphaCutoff = 0.5f;
  bool doubleSided = true;
  /// Where it is there, the values below it are made of it by the program.
  std::optional<PhysicalMaterial> physical;
  std::array<float, 4> diffuse{0.8f, 0.8f, 0.8f, 1}, specular{0, 0, 0, 1}, emissive{0, 0, 0, 1};
  float shininess = 0;                ///< exponent, 0 to 128
  TextureUse texture;                 ///< multiplied with the diffuse colour
  bool textureReplacesColor = false;  ///< but for its alpha; the colour is for where the texture cannot be had
};

/// How a mesh changes towards another form: differences that are added with a weight.
struct Shape {
  std::string name;
  Array<float> positions;  ///< x y z per vertex
  Array<float> normals;    ///< x y z per vertex, or empty
};

struct Mesh {
  Primitive primitive = Primitive::Triangles;
  Array<float> positions;        ///< x y z per vertex
  Array<float> normals;          ///< x y z per vertex, or empty: they are computed
  Array<std::uint8_t> colors;    ///< r g b a per vertex, or empty; they stand in the place of the material's
  Array<float> texCoords;        ///< u v per vertex, v counting upwards, or empty
  Array<float> secondTexCoords;  ///< the same
  Array<std::uint32_t> indices;  ///< 3 per triangle, 2 per line, 1 per point
  /// In the place of the arrays that are called so. Primitives whose indices name vertices that are not there are left
  /// out.
  Stored storedPositions, storedNormals, storedIndices;
  std::int32_t material = None;
  float width = 1;            ///< pixels: size of points, width of lines
  std::int32_t edges = None;  ///< of triangles: a mesh of lines, drawn only where edges are, and in the place of others
  std::vector<Shape> shapes;
  std::vector<float> shapeWeights;  ///< per shape, at rest
  std::uint32_t influences = 0;     ///< bones per vertex; 0: no skin moves it
  Array<std::uint16_t> bones;       ///< `influences` per vertex: into Skin::bones
  Array<float> boneWeights;         ///< `influences` per vertex; their sum counts as 1
};

struct Bone {
  std::int32_t node = None;
  std::array<double, 16> toBone{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};  ///< from the mesh's space, by columns
};
struct Skin {
  std::vector<Bone> bones;
};

/// A use of a mesh.
struct Instance {
  std::int32_t mesh = None;
  std::int32_t skin = None;  ///< whose bones move it; the node's own place does not matter then
};

/// Of a tree; a parent stands before its children.
struct Node {
  std::string name;
  std::int32_t parent = None;
  std::array<double, 16> transform{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};  ///< to the parent's, by columns
  std::vector<Instance> instances;
  std::vector<float> shapeWeights;  ///< instead of the meshes' own, or empty
  std::int32_t camera = None;
};

/// How one node moves. A node's transform is translation * rotation * scale where a track sets any of them.
struct Track {
  std::int32_t node = None;
  Path path = Path::Translation;
  Interpolation interpolation = Interpolation::Linear;
  Array<float> times;  ///< seconds, sorted
  /// Per key 3 (translation, scale), 4 (rotation: x y z w) or one per shape; for Cubic three times that: the tangent
  /// before, the value, the tangent after.
  Array<float> values;
};
struct Animation {
  std::string name;
  std::vector<Track> tracks;
};

/// Looks along the negative z axis of its node, with y upwards.
struct Camera {
  std::string name;
  bool orthographic = false;
  float height = 0.8f;  ///< angle of view from bottom to top in radians; orthographic: length
  float aspect = 0;     ///< width by height; 0: as the view has it
};

/// A choice of other materials for some meshes, under one name.
struct Variant {
  std::string name;
  struct Use {
    std::int32_t mesh = None, material = None;
  };
  std::vector<Use> uses;
};

/// How a part of a machine moves: by its value, around an axis of its node (radians), or along it (metres), before the
/// node's own transform.
struct Joint {
  std::string name;
  std::int32_t node = None;
  bool turns = true;                    ///< false: slides
  std::array<double, 3> axis{1, 0, 0};  ///< of length 1
  double lower = 0, upper = 0;          ///< limits of the value, where they differ
  std::string follows;                  ///< another joint, whose value * multiplier + offset is this one's; or empty
  double multiplier = 1, offset = 0;
};

/// Another model file, whose content is to stand in a node. The program reads it as it would any other, but not the
/// files that it names in turn.
struct Reference {
  std::int32_t node = None;
  std::string file;              ///< an absolute path
  std::int32_t material = None;  ///< of what has none in the file
};

/// All of a file. z is up in the scene: `upright` turns what stands otherwise in the file.
struct Model {
  std::array<double, 16> upright{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};  ///< by columns
  std::vector<Image> images;
  std::vector<Texture> textures;
  std::vector<Material> materials;
  std::vector<Mesh> meshes;
  std::vector<Skin> skins;
  std::vector<Node> nodes;
  std::vector<Animation> animations;
  std::vector<Camera> cameras;
  std::vector<Variant> variants;
  std::vector<Joint> joints;
  std::vector<Reference> references;
};

}  // namespace nubo::reader
