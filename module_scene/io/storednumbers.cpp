#include "module_scene/io/storednumbers.h"

#include "kernel/util/largememory.h"
#include "module_scene/io/importerror.h"

namespace nubo::io {

template <class T>
std::vector<T> StoredNumbers::read(const reader::Stored& place) {
  if (place.count > m_Left / sizeof(T)) throw reader::BadRecord();
  const std::uint64_t size = place.count * sizeof(T);
  m_Left -= size;
  if (!m_File.isOpen() && !m_File.open(QIODevice::ReadOnly | QIODevice::Unbuffered))
    throw ImportError(m_File.errorString());
  const auto whole = std::uint64_t(m_File.size());
  // Before memory is taken for what is not there.
  if (place.offset > whole || size > whole - place.offset) throwShort();
  std::vector<T> numbers = util::listWithRoom<T>(std::size_t(place.count));
  constexpr std::size_t AtOnce = 1 << 16;
  std::size_t done = 0;
  m_File.seek(qint64(place.offset));
  while (done < place.count) {
    numbers.resize(std::min(done + AtOnce, std::size_t(place.count)));
    const std::size_t some = (numbers.size() - done) * sizeof(T);
    if (m_File.read(reinterpret_cast<char*>(&numbers[done]), qint64(some)) != qint64(some)) throwShort();
    done = numbers.size();
  }
  return numbers;
}

void StoredNumbers::throwShort() { throw ImportError(ImportError::tr("the file was cut short while it was read")); }

template std::vector<float> StoredNumbers::read(const reader::Stored& place);
template std::vector<std::uint32_t> StoredNumbers::read(const reader::Stored& place);

}  // namespace nubo::io
