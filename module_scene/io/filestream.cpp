#include "module_scene/io/filestream.h"

#include <algorithm>
#include <cstring>

namespace nubo::io {

FileStream::FileStream(const QString& fileName, ImportControl& control) : m_Control(control), m_File(fileName) {
  if (!m_File.open(QIODevice::ReadOnly | QIODevice::Unbuffered)) throw ImportError(m_File.errorString());
  m_Size = std::uint64_t(m_File.size());
}

void FileStream::fill(std::uint64_t size) {
  if (m_Control.cancelled) throw ImportError(ImportError::tr("reading was cancelled"));
  m_Control.percent = int(double(m_Taken) / double(std::max<std::uint64_t>(1, m_Size)) * 100);
  if (size > left()) throw ImportError(ImportError::tr("the file is truncated"));
  constexpr std::size_t AtOnce = 1 << 20;
  const std::size_t kept = m_End - m_Begin;
  if (kept > 0) std::memmove(m_Buffer.data(), m_Buffer.data() + m_Begin, kept);
  const auto wanted = std::size_t(std::min<std::uint64_t>(std::max<std::uint64_t>(size, AtOnce), left()));
  if (m_Buffer.size() < wanted) m_Buffer.resize(wanted);
  m_Begin = 0, m_End = kept;
  while (m_End < size) {
    const qint64 read = m_File.read(m_Buffer.data() + m_End, qint64(wanted - m_End));
    if (read <= 0) throw ImportError(ImportError::tr("the file was cut short while it was read"));
    m_End += std::size_t(read);
  }
}

}  // namespace nubo::io
