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

  /// Throws reader::BadRecord where that is too much, or of another width than T's and 2 bytes for whole numbers, and
  /// ImportError where the file ends before.
  template <class T>
  std::vector<T> read(const reader::Stored& place);

 private:
  [[noreturn]] static void throwShort();
  void open();
  void widen(std::uint64_t offset, std::uint32_t* numbers, std::size_t begin, std::size_t end);
  void readBytes(std::uint64_t offset, void* to, std::size_t size);

  QFile m_File;
  std::once_flag m_Opened;
  std::uint64_t m_FileSize = 0;
  std::atomic<std::uint64_t> m_Left;
};

}  // namespace nubo::io
