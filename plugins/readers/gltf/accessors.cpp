#include "plugins/readers/gltf/accessors.h"

#include <meshoptimizer.h>

#include <QtEndian>
#include <algorithm>

#include "plugins/readers/gltf/mending.h"

namespace nubo::reader {
namespace {

[[noreturn]] void throwDamaged() { throw Refusal("the file is damaged: it has fewer bytes than its parts need"); }

std::size_t sizeOfComponent(int componentType) {
  const std::int32_t size = tinygltf::GetComponentSizeInBytes(std::uint32_t(componentType));
  if (size <= 0) throw Refusal("the file is damaged: its numbers are of no known type");
  return std::size_t(size);
}

/// Whether `count` values from `offset` on, `stride` apart, lie within `size` bytes.
bool fits(std::size_t size, std::size_t offset, std::size_t count, std::size_t stride, std::size_t each) {
  if (count == 0) return true;
  if (offset > size || each > size - offset) return false;
  return stride == 0 || count - 1 <= (size - offset - each) / stride;
}

template <class T>
double number(const unsigned char* bytes, double greatest) {
  T value;
  std::memcpy(&value, bytes, sizeof value);
  return greatest > 0 ? std::max(double(value) / greatest, -1.0) : double(value);
}

/// Any number is made a whole one.
std::uint32_t indexAt(const unsigned char* bytes, int componentType) {
  constexpr double Most = 0xFFFFFFFF;
  return std::uint32_t(std::clamp(componentAt(bytes, componentType, false), 0.0, Most));
}

double numberOf(const tinygltf::Value& value, const char* key) {
  const tinygltf::Value& member = value.Get(key);
  return member.IsNumber() ? member.GetNumberAsDouble() : -1;
}

/// How meshopt has packed a view; null: it has not.
const tinygltf::Value* packingOf(const tinygltf::BufferView& view) {
  for (const char* name : {"EXT_meshopt_compression", "KHR_meshopt_compression"})
    if (const auto found = view.extensions.find(name); found != view.extensions.end()) return &found->second;
  return nullptr;
}

}  // namespace

double componentAt(const unsigned char* bytes, int componentType, bool normalized) {
  switch (componentType) {
    case TINYGLTF_COMPONENT_TYPE_BYTE:
      return number<std::int8_t>(bytes, normalized ? 127 : 0);
    case TINYGLTF_COMPONENT_TYPE_UNSIGNED_BYTE:
      return number<std::uint8_t>(bytes, normalized ? 255 : 0);
    case TINYGLTF_COMPONENT_TYPE_SHORT:
      return number<std::int16_t>(bytes, normalized ? 32767 : 0);
    case TINYGLTF_COMPONENT_TYPE_UNSIGNED_SHORT:
      return number<std::uint16_t>(bytes, normalized ? 65535 : 0);
    case TINYGLTF_COMPONENT_TYPE_INT:
      return number<std::int32_t>(bytes, 0);
    case TINYGLTF_COMPONENT_TYPE_UNSIGNED_INT:
      return number<std::uint32_t>(bytes, 0);
    case TINYGLTF_COMPONENT_TYPE_FLOAT:
      return number<float>(bytes, 0);
    case TINYGLTF_COMPONENT_TYPE_DOUBLE:
      return number<double>(bytes, 0);
  }
  return 0;
}

int Accessors::components(int accessor) const {
  const int count = tinygltf::GetNumComponentsInType(std::uint32_t(elementOf(m_Source.accessors, accessor).type));
  if (count <= 0) throw Refusal("the file is damaged: its values are of no known type");
  return count;
}

bool Accessors::isInContainer(int buffer) const {
  return buffer == 0 && m_Container.isBinary() && elementOf(m_Source.buffers, buffer).uri == NoContent;
}

std::size_t Accessors::sizeOfBuffer(int buffer) const {
  return isInContainer(buffer) ? m_Container.contentSize() : elementOf(m_Source.buffers, buffer).data.size();
}

Accessors::Bytes Accessors::buffer(int number, std::size_t offset, std::size_t size) {
  const std::size_t all = sizeOfBuffer(number);
  if (offset > all || size > all - offset) throwDamaged();
  if (!isInContainer(number)) return {elementOf(m_Source.buffers, number).data.data() + offset, size};
  const auto owner = std::make_shared<const std::vector<unsigned char>>(m_Container.content(offset, size));
  return {owner->data(), size, owner};
}

std::size_t Accessors::sizeOf(int bufferView) {
  const tinygltf::BufferView& source = elementOf(m_Source.bufferViews, bufferView);
  if (const tinygltf::Value* packing = packingOf(source)) return unpacked(bufferView, *packing).size;
  return source.byteLength;
}

Accessors::Bytes Accessors::view(int bufferView, std::size_t offset, std::size_t size) {
  const tinygltf::BufferView& source = elementOf(m_Source.bufferViews, bufferView);
  if (const tinygltf::Value* packing = packingOf(source)) return {unpacked(bufferView, *packing).data + offset, size};
  const std::size_t all = sizeOfBuffer(source.buffer);
  if (source.byteOffset > all || source.byteLength > all - source.byteOffset) throwDamaged();
  return buffer(source.buffer, source.byteOffset + offset, size);
}

Accessors::Bytes Accessors::unpacked(int bufferView, const tinygltf::Value& packing) {
  std::vector<unsigned char>& result = m_Unpacked[bufferView];
  if (!result.empty()) return {result.data(), result.size()};
  const auto from = int(numberOf(packing, "buffer"));
  const double offset = std::max(0.0, numberOf(packing, "byteOffset")), length = numberOf(packing, "byteLength");
  const double count = numberOf(packing, "count"), stride = numberOf(packing, "byteStride");
  constexpr double Most = 4e9, WidestStride = 256;
  if (!(count > 0 && count < Most && stride > 0 && stride <= WidestStride && length > 0 &&
        offset + length <= double(sizeOfBuffer(from))))
    throwDamaged();
  const auto values = std::size_t(count), each = std::size_t(stride);
  const std::string mode = packing.Get("mode").IsString() ? packing.Get("mode").Get<std::string>() : "";
  const bool isIndex = mode != "ATTRIBUTES";
  if ((isIndex && each != 2 && each != 4) || (!isIndex && each % 4 != 0) || (mode == "TRIANGLES" && values % 3 != 0))
    throwDamaged();
  const Bytes packed = buffer(from, std::size_t(offset), std::size_t(length));
  result.resize(values * each);
  int error = 1;
  if (mode == "ATTRIBUTES") error = meshopt_decodeVertexBuffer(result.data(), values, each, packed.data, packed.size);
  if (mode == "TRIANGLES") error = meshopt_decodeIndexBuffer(result.data(), values, each, packed.data, packed.size);
  if (mode == "INDICES") error = meshopt_decodeIndexSequence(result.data(), values, each, packed.data, packed.size);
  if (error != 0) throwDamaged();
  const std::string filter = packing.Get("filter").IsString() ? packing.Get("filter").Get<std::string>() : "";
  if (filter == "OCTAHEDRAL" && (each == 4 || each == 8)) meshopt_decodeFilterOct(result.data(), values, each);
  if (filter == "QUATERNION" && each == 8) meshopt_decodeFilterQuat(result.data(), values, each);
  if (filter == "EXPONENTIAL") meshopt_decodeFilterExp(result.data(), values, each);
  m_Output.progress(-1);
  return {result.data(), result.size()};
}

/// Calls put(value, component's bytes) for each value, and again for those that a sparse accessor replaces.
template <class Put>
void Accessors::visit(int number, const Put& put) {
  const tinygltf::Accessor& accessor = elementOf(m_Source.accessors, number);
  const std::size_t each = sizeOfComponent(accessor.componentType) * std::size_t(components(number));
  if (accessor.bufferView >= 0) {
    constexpr std::size_t AtOnce = 1 << 16;
    const std::size_t stated = m_Source.bufferViews[std::size_t(accessor.bufferView)].byteStride;
    const std::size_t stride = stated > 0 ? stated : each;
    if (!fits(sizeOf(accessor.bufferView), accessor.byteOffset, accessor.count, stride, each)) throwDamaged();
    for (std::size_t first = 0; first < accessor.count; first += AtOnce) {
      const std::size_t some = std::min(AtOnce, accessor.count - first);
      const Bytes bytes = view(accessor.bufferView, accessor.byteOffset + first * stride, (some - 1) * stride + each);
      for (std::size_t i = 0; i < some; ++i) put(first + i, bytes.data + i * stride);
    }
  }
  if (!accessor.sparse.isSparse || accessor.sparse.count <= 0) return;
  const auto& sparse = accessor.sparse;
  const auto count = std::size_t(sparse.count);
  const Bytes places = view(sparse.indices.bufferView), values = view(sparse.values.bufferView);
  const std::size_t width = sizeOfComponent(sparse.indices.componentType);
  const auto firstPlace = std::size_t(std::max(0, sparse.indices.byteOffset));
  const auto firstValue = std::size_t(std::max(0, sparse.values.byteOffset));
  if (!fits(places.size, firstPlace, count, width, width) || !fits(values.size, firstValue, count, each, each))
    throwDamaged();
  for (std::size_t i = 0; i < count; ++i) {
    const double place = componentAt(places.data + firstPlace + i * width, sparse.indices.componentType, false);
    if (!(place >= 0 && place < double(accessor.count))) throwDamaged();
    put(std::size_t(place), values.data + firstValue + i * each);
  }
}

Array<float> Accessors::floats(int number, int each, float missing) {
  const tinygltf::Accessor& accessor = elementOf(m_Source.accessors, number);
  const int there = std::min(components(number), each);
  const std::size_t width = sizeOfComponent(accessor.componentType);
  const Array<float> result = m_Output.array<float>(accessor.count * std::size_t(each));
  if (there < each && missing != 0) std::fill(result.begin(), result.end(), missing);
  const bool isPlain = accessor.componentType == TINYGLTF_COMPONENT_TYPE_FLOAT && there == each;
  visit(number, [&](std::size_t i, const unsigned char* bytes) {
    if (isPlain) std::memcpy(&result[i * std::size_t(each)], bytes, std::size_t(each) * sizeof(float));
    for (int k = 0; k < there && !isPlain; ++k)
      result[i * std::size_t(each) + std::size_t(k)] =
          float(componentAt(bytes + std::size_t(k) * width, accessor.componentType, accessor.normalized));
  });
  m_Output.progress(-1);
  return result;
}

Array<std::uint32_t> Accessors::integers(int number) {
  const tinygltf::Accessor& accessor = elementOf(m_Source.accessors, number);
  constexpr std::size_t MostValues = std::size_t(1) << 32;
  if (accessor.count > MostValues) throwDamaged();
  const Array<std::uint32_t> result = m_Output.array<std::uint32_t>(accessor.count);
  // A loop of its own for each of the types that indices have nearly always.
  const auto take = [&](auto value) {
    visit(number, [&](std::size_t i, const unsigned char* bytes) {
      std::memcpy(&value, bytes, sizeof value);
      result[i] = value;
    });
  };
  const int type = accessor.componentType;
  if (type == TINYGLTF_COMPONENT_TYPE_UNSIGNED_SHORT)
    take(std::uint16_t());
  else if (type == TINYGLTF_COMPONENT_TYPE_UNSIGNED_INT)
    take(std::uint32_t());
  else
    visit(number, [&](std::size_t i, const unsigned char* bytes) { result[i] = indexAt(bytes, type); });
  return result;
}

Stored Accessors::stored(int number, int each, int componentType) {
  const tinygltf::Accessor& accessor = elementOf(m_Source.accessors, number);
  if (Q_BYTE_ORDER != Q_LITTLE_ENDIAN || accessor.componentType != componentType || components(number) != each ||
      accessor.normalized || accessor.sparse.isSparse || accessor.bufferView < 0)
    return {};
  const tinygltf::BufferView& view = elementOf(m_Source.bufferViews, accessor.bufferView);
  const std::size_t size = sizeOfComponent(componentType) * std::size_t(each);
  if ((view.byteStride != 0 && view.byteStride != size) || packingOf(view) || !isInContainer(view.buffer)) return {};
  const std::size_t all = m_Container.contentSize();
  if (view.byteOffset > all || view.byteLength > all - view.byteOffset ||
      !fits(view.byteLength, accessor.byteOffset, accessor.count, size, size))
    throwDamaged();
  return {m_Container.contentOffset() + view.byteOffset + accessor.byteOffset, accessor.count * std::size_t(each),
          std::uint8_t(sizeOfComponent(componentType))};
}

Stored Accessors::storedIndices(int number) {
  const int type = elementOf(m_Source.accessors, number).componentType;
  const bool isShort = type == TINYGLTF_COMPONENT_TYPE_UNSIGNED_SHORT;
  return stored(number, 1, isShort ? type : TINYGLTF_COMPONENT_TYPE_UNSIGNED_INT);
}

}  // namespace nubo::reader
