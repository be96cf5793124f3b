// The values of a glTF file's accessors.
#pragma once

#include <tiny_gltf.h>

#include <map>
#include <memory>

#include "plugins/readers/gltf/container.h"

namespace nubo::reader {

/// The element of a list that an index names; throws Refusal where there is none.
template <class T>
const T& elementOf(const std::vector<T>& list, int index) {
  if (index < 0 || std::size_t(index) >= list.size())
    throw Refusal("the file is damaged: it names what it does not have");
  return list[std::size_t(index)];
}

/// Reads accessors of all types, normalised or not, sparse or not, also from views that meshopt has packed. Throws
/// Refusal for what is not there.
class Accessors {
 public:
  /// All must outlive this. The first buffer of a binary file has its bytes in `container`.
  Accessors(const tinygltf::Model& source, Container& container, Output& output)
      : m_Source(source), m_Container(container), m_Output(output) {}

  std::size_t count(int accessor) const { return elementOf(m_Source.accessors, accessor).count; }
  /// How many numbers each value has.
  int components(int accessor) const;
  /// `each` numbers of each value; those that an accessor lacks are `missing`.
  Array<float> floats(int accessor, int each, float missing = 0);
  /// Whole numbers, one of each value.
  Array<std::uint32_t> integers(int accessor);
  /// Where an accessor's numbers are in the file as a program has them in memory, if there are `each` of this type in a
  /// value.
  Stored stored(int accessor, int each, int componentType);
  /// The same of whole numbers, which may be short.
  Stored storedIndices(int accessor);
  struct Bytes {
    const unsigned char* data = nullptr;
    std::size_t size = 0;
    std::shared_ptr<const std::vector<unsigned char>> owner = nullptr;  ///< null: they stay as long as this
  };
  /// The bytes of a view.
  Bytes view(int bufferView) { return view(bufferView, 0, sizeOf(bufferView)); }

 private:
  std::size_t sizeOf(int bufferView);
  Bytes view(int bufferView, std::size_t offset, std::size_t size);
  bool isInContainer(int buffer) const;
  std::size_t sizeOfBuffer(int buffer) const;
  Bytes buffer(int number, std::size_t offset, std::size_t size);
  Bytes unpacked(int bufferView, const tinygltf::Value& packing);
  template <class Put>
  void visit(int accessor, const Put& put);

  const tinygltf::Model& m_Source;
  Container& m_Container;
  Output& m_Output;
  std::map<int, std::vector<unsigned char>> m_Unpacked;  ///< by view
};

/// A number of a glTF component as a number: a share of its type's greatest, where it is normalised.
double componentAt(const unsigned char* bytes, int componentType, bool normalized);

}  // namespace nubo::reader
