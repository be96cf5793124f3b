// What waits on disk.
#pragma once

#include <QByteArray>
#include <QTemporaryFile>

namespace nubo::poster {

/// Bytes that are kept in a file without a name, which is gone with the process, until they are taken back, once each.
/// The file begins anew whenever nothing is left in it. One thread; throws Error.
class Scratch {
 public:
  struct Place {
    qint64 offset = 0;
    qint64 size = 0;
  };

  explicit Scratch(const QString& folder);
  Place keep(const QByteArray& bytes);
  QByteArray take(const Place& place);

 private:
  QTemporaryFile m_File;
  qint64 m_End = 0;
  qint64 m_Kept = 0;  ///< how many wait
};

}  // namespace nubo::poster
