#include "module_scene/io/storednumbers.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <type_traits>

#include "module_scene/io/importerror.h"
#include "module_scene/mesh/readylist.h"

namespace nubo::io {

namespace {

constexpr std::size_t BytesWorthAThread = 1 << 20;

}  // namespace

template <class T>
std::vector<T> StoredNumbers::read(const reader::Stored& place) {
  const bool areShort = place.width == sizeof(std::uint16_t) && std::is_same_v<T, std::uint32_t>;
  if (place.width != sizeof(T) && !areShort) throw reader::BadRecord("stored numbers have a width of no known type");
  std::uint64_t left = m_Left;
  do
    if (place.count > left / sizeof(T)) throw reader::BadRecord("far more stored numbers are named than there are");
  while (!m_Left.compare_exchange_weak(left, left - place.count * sizeof(T)));
  const std::uint64_t size = place.count * place.width;
  std::call_once(m_Opened, [this] { open(); });
  // Before memory is taken for what is not there.
  if (place.offset > m_FileSize || size > m_FileSize - place.offset) throwShort();
  std::vector<T> numbers = scene::readyList<T>(std::size_t(place.count));
  numbers.resize(std::size_t(place.count));
  scene::parallelRanges(
      numbers.size(),
      [&](std::size_t begin, std::size_t end, std::size_t) {
        if constexpr (std::is_same_v<T, std::uint32_t>)
          if (areShort) return widen(place.offset, numbers.data(), begin, end);
        readBytes(place.offset + begin * sizeof(T), numbers.data() + begin, (end - begin) * sizeof(T));
      },
      BytesWorthAThread / sizeof(T));
  return numbers;
}

/// Reads the numbers from `begin` to `end` of a row of short ones.
void StoredNumbers::widen(std::uint64_t offset, std::uint32_t* numbers, std::size_t begin, std::size_t end) {
  std::array<std::uint16_t, 8192> some;
  while (begin < end) {
    const std::size_t count = std::min(some.size(), end - begin);
    readBytes(offset + begin * sizeof(std::uint16_t), some.data(), count * sizeof(std::uint16_t));
    std::copy_n(some.begin(), count, numbers + begin);
    begin += count;
  }
}

void StoredNumbers::readBytes(std::uint64_t offset, void* to, std::size_t size) {
  for (char* bytes = static_cast<char*>(to); size > 0;) {
    const ssize_t some = pread(m_File.handle(), bytes, size, off_t(offset));
    if (some < 0 && errno == EINTR) continue;
    if (some <= 0) throwShort();
    bytes += some;
    offset += std::uint64_t(some);
    size -= std::size_t(some);
  }
}

void StoredNumbers::open() {
  if (!m_File.open(QIODevice::ReadOnly | QIODevice::Unbuffered)) throw ImportError(m_File.errorString());
  m_FileSize = std::uint64_t(m_File.size());
}

void StoredNumbers::throwShort() { throw ImportError(ImportError::tr("the file was cut short while it was read")); }

template std::vector<float> StoredNumbers::read(const reader::Stored& place);
template std::vector<std::uint32_t> StoredNumbers::read(const reader::Stored& place);

}  // namespace nubo::io
