// Numbers that a reader leaves where they are in the file.
#pragma once

#include <QFile>
#include <atomic>
#include <mutex>
#include <vector>

#include "module_scene/io/reader/record.h"

namespace nubo::io {

/// Reads them, long ones on all cores: a mapping of a file that gets shorter would end the program. On any thread.
class StoredNumbers {
 public:
  /// No more than `limit` bytes are read in all.
  StoredNumbers(const QString& fileName, std::uint64_t limit) : m_File(fileName), m_Left(limit) {}

  /// Throws reader::BadRecord where that is too much, and ImportError where the file ends before.
  template <class T>
  std::vector<T> read(const reader::Stored& place);

 private:
  [[noreturn]] static void throwShort();
  void open();

  QFile m_File;
  std::once_flag m_Opened;
  std::uint64_t m_FileSize = 0;
  std::atomic<std::uint64_t> m_Left;
};

}  // namespace nubo::io
