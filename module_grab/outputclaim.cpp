#include "module_grab/outputclaim.h"

#include <QFile>
#include <QFileInfo>

#ifdef Q_OS_UNIX
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#else
#include <QLockFile>
#endif

namespace nubo::grab {

#ifdef Q_OS_UNIX

/// The lock belongs to the file itself and to this descriptor, so that it also keeps out the same process and other
/// names of the file, and goes with the descriptor. Opening the file makes it, as the encoder would in a moment.
struct OutputClaim::Private {
  explicit Private(const QString& fileName) {
    const QFileInfo file(fileName);
    if (file.exists() && !file.isFile()) return;
    descriptor = open(QFile::encodeName(fileName).constData(), O_WRONLY | O_CREAT | O_CLOEXEC, 0666);
  }
  ~Private() {
    if (descriptor >= 0) close(descriptor);
  }
  Private(const Private&) = delete;
  Private& operator=(const Private&) = delete;
  bool isTaken() const { return descriptor >= 0 && flock(descriptor, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK; }

  int descriptor = -1;
};

#else

struct OutputClaim::Private {
  explicit Private(const QString& fileName) : lock(fileName + QLatin1String(".lock")) { lock.setStaleLockTime(0); }
  bool isTaken() { return !lock.tryLock(0) && lock.error() == QLockFile::LockFailedError; }

  QLockFile lock;
};

#endif

OutputClaim::OutputClaim(const QString& fileName) : d(std::make_unique<Private>(fileName)), m_Refused(d->isTaken()) {}

OutputClaim::~OutputClaim() = default;

}  // namespace nubo::grab
