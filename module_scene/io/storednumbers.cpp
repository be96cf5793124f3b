#include "module_scene/io/storednumbers.h"

#include <unistd.h>

#include <cerrno>

#include "module_scene/io/importerror.h"
#include "module_scene/mesh/readylist.h"

namespace nubo::io {

template <class T>
std::vector<T> StoredNumbers::read(const reader::Stored& place) {
  std::uint64_t left = m_Left;
  do
    if (place.count > left / sizeof(T)) throw reader::BadRecord("far more stored numbers are named than there are");
  while (!m_Left.compare_exchange_weak(left, left - place.count * sizeof(T)));
  const std::uint64_t size = place.count * sizeof(T);
  std::call_once(m_Opened, [this] { open(); });
  // Before memory is taken for what is not there.
  if (place.offset > m_FileSize || size > m_FileSize - place.offset) throwShort();
  std::vector<T> numbers = scene::readyList<T>(std::size_t(place.count));
  numbers.resize(std::size_t(place.count));
  char* const bytes = reinterpret_cast<char*>(numbers.data());
  constexpr std::size_t WorthAThread = 1 << 20;
  scene::parallelRanges(
      std::size_t(size),
      [&](std::size_t begin, std::size_t end, std::size_t) {
        while (begin < end) {
          const ssize_t some = pread(m_File.handle(), bytes + begin, end - begin, off_t(place.offset + begin));
          if (some < 0 && errno == EINTR) continue;
          if (some <= 0) throwShort();
          begin += std::size_t(some);
        }
      },
      WorthAThread);
  return numbers;
}

void StoredNumbers::open() {
  if (!m_File.open(QIODevice::ReadOnly | QIODevice::Unbuffered)) throw ImportError(m_File.errorString());
  m_FileSize = std::uint64_t(m_File.size());
}

void StoredNumbers::throwShort() { throw ImportError(ImportError::tr("the file was cut short while it was read")); }

template std::vector<float> StoredNumbers::read(const reader::Stored& place);
template std::vector<std::uint32_t> StoredNumbers::read(const reader::Stored& place);

}  // namespace nubo::io
