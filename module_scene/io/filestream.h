// A file's bytes, one piece after the other.
#pragma once

#include <QFile>
#include <vector>

#include "module_scene/io/importcontrol.h"
#include "module_scene/io/importerror.h"

namespace nubo::io {

/// Reads a file from begin to end. A file that gets shorter meanwhile is an error like any other, which a mapping of it
/// would not survive.
class FileStream {
 public:
  /// Throws ImportError where the file cannot be opened. `control`, which must outlive this, is told how far it is, and
  /// ends it.
  FileStream(const QString& fileName, ImportControl& control);

  /// Of the whole file, as it was when it was opened.
  std::uint64_t size() const { return m_Size; }
  /// Bytes that take() may still be asked for.
  std::uint64_t left() const { return m_Size - m_Taken; }
  /// The next bytes; they stay there until the next call. Throws ImportError where there are not as many, or reading
  /// was cancelled.
  const char* take(std::uint64_t size) {
    if (size > m_End - m_Begin) fill(size);
    const char* taken = m_Buffer.data() + m_Begin;
    m_Begin += std::size_t(size);
    m_Taken += size;
    return taken;
  }

  /// Has the next call take what the last one took once more, or the last bytes of that.
  void giveBack(std::uint64_t size) {
    m_Begin -= std::size_t(size);
    m_Taken -= size;
  }

 private:
  void fill(std::uint64_t size);

  ImportControl& m_Control;
  QFile m_File;
  std::uint64_t m_Size, m_Taken = 0;
  std::vector<char> m_Buffer;
  std::size_t m_Begin = 0, m_End = 0;  ///< of what the buffer holds
};

}  // namespace nubo::io
