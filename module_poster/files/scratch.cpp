#include "module_poster/files/scratch.h"

#include "module_poster/files/error.h"
#include "module_poster/files/writeall.h"

namespace nubo::poster {

Scratch::Scratch(const QString& folder) : m_File(folder + QStringLiteral("/.nubo-XXXXXX")) {}

Scratch::Place Scratch::keep(const QByteArray& bytes) {
  if (!m_File.isOpen() && !m_File.open()) throw Error(m_File.errorString());
  const Place place{m_End, bytes.size()};
  if (!m_File.seek(m_End)) throw Error(m_File.errorString());
  writeAll(m_File, bytes);
  m_End += bytes.size();
  ++m_Kept;
  return place;
}

QByteArray Scratch::take(const Place& place) {
  if (!m_File.seek(place.offset)) throw Error(m_File.errorString());
  const QByteArray bytes = m_File.read(place.size);
  if (bytes.size() != place.size) throw Error(m_File.errorString());
  if (--m_Kept == 0) {
    m_End = 0;
    m_File.resize(0);
  }
  return bytes;
}

}  // namespace nubo::poster
