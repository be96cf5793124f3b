// A file's bytes without a copy.
#pragma once

#include <QFile>

#include "module_scene/io/importerror.h"

namespace nubo::io {

/// Maps a whole file into memory for as long as it lives; throws ImportError where that fails.
class MappedFile {
 public:
  explicit MappedFile(const QString& fileName) : m_File(fileName) {
    if (!m_File.open(QIODevice::ReadOnly)) throw ImportError(m_File.errorString());
    mp_Data = m_File.map(0, m_File.size());
    if (!mp_Data) throw ImportError(m_File.errorString());
  }
  const char* data() const { return reinterpret_cast<const char*>(mp_Data); }
  std::size_t size() const { return std::size_t(m_File.size()); }

 private:
  QFile m_File;
  uchar* mp_Data;
};

}  // namespace nubo::io
