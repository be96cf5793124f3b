// Numbers that a reader leaves where they are in the file.
#pragma once

#include <QFile>
#include <vector>

#include "module_scene/io/reader/record.h"

namespace nubo::io {

/// Reads them, on all cores: a mapping of a file that gets shorter would end the program. Used on one thread.
class StoredNumbers {
 public:
  /// No more than `limit` bytes are read in all.
  StoredNumbers(const QString& fileName, std::uint64_t limit) : m_File(fileName), m_Left(limit) {}

  /// Throws reader::BadRecord where that is too much, and ImportError where the file ends before.
  template <class T>
  std::vector<T> read(const reader::Stored& place);

 private:
  [[noreturn]] static void throwShort();

  QFile m_File;
  std::uint64_t m_Left;
};

}  // namespace nubo::io
