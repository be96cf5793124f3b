// Keeps two recordings from writing one file.
#pragma once

#include <QString>
#include <memory>

namespace nubo::grab {

/// A file that one recording of all that run on this machine writes, under whatever name. The claim lasts until it is
/// destroyed, or until the process ends in any way, and leaves nothing behind.
class OutputClaim {
 public:
  explicit OutputClaim(const QString& fileName);
  ~OutputClaim();
  OutputClaim(const OutputClaim&) = delete;
  OutputClaim& operator=(const OutputClaim&) = delete;

  /// True if another recording has the file. A file that cannot be opened, or that is no ordinary one, is nobody's.
  [[nodiscard]] bool isRefused() const { return m_Refused; }

 private:
  struct Private;
  std::unique_ptr<Private> d;
  bool m_Refused = false;
};

}  // namespace nubo::grab
