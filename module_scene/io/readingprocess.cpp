#include "module_scene/io/readingprocess.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <atomic>
#include <csignal>
#include <cstring>

#include "kernel/log/logger.h"
#include "kernel/util/libraryfile.h"
#include "module_scene/io/importerror.h"
#include "module_scene/io/readertexts.h"

namespace nubo::io {
namespace {

using reader::Message;

// What a reader may take in all, in times that it may get no further: a little longer, so that who is silent is told to
// be; and as long again for so many bytes, of which all that is sound reads many more in a minute.
constexpr double InAnyCase = 1.1, BytesRead = 8 << 20, BytesHandedOver = 64 << 20;

/// A reader's text in the user's language.
QString shown(const QString& text) {
  const QStringList parts = text.split(QLatin1Char('\x1f'));
  QString result = QCoreApplication::translate("ImportError", parts[0].toUtf8().constData());
  for (int i = 1; i < parts.size(); ++i) result.replace(QStringLiteral("%%1").arg(i), parts[i]);
  return result.simplified().left(300);
}

QByteArray helperProgram() {
  return QFile::encodeName(QDir::cleanPath(util::folderOfLibrary(reinterpret_cast<const void*>(&helperProgram)) +
                                           QStringLiteral("/../bin/nubo-read")));
}

struct SpawnActions {
  SpawnActions() { posix_spawn_file_actions_init(&actions); }
  ~SpawnActions() { posix_spawn_file_actions_destroy(&actions); }
  posix_spawn_file_actions_t actions;
};

/// Gives up where the socket's other end is closed. Returns how much was received.
ssize_t receive(int socket, Message& message, char* text) {
  iovec parts[]{{&message, sizeof message}, {text, reader::LongestText}};
  msghdr header{};
  header.msg_iov = parts;
  header.msg_iovlen = 2;
  ssize_t size = 0;
  do size = recvmsg(socket, &header, MSG_DONTWAIT);
  while (size < 0 && errno == EINTR);
  return size;
}

}  // namespace

ReadingProcess::ReadingProcess(const ReaderChoice& choice, const QString& fileName, std::uint64_t memoryLimit,
                               const std::map<std::string, std::string>& options)
    : m_ReaderName(choice.reader->name), m_Work(InAnyCase + double(QFileInfo(fileName).size()) / BytesRead) {
  int sockets[2];
  if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, sockets) != 0)
    throw ImportError(ImportError::tr("its reader cannot be started: %1").arg(qt_error_string(errno)));
  m_Socket = sockets[0];
  SpawnActions spawn;
  posix_spawn_file_actions_addopen(&spawn.actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_addopen(&spawn.actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
  // Which also clears the flag that closes it.
  posix_spawn_file_actions_adddup2(&spawn.actions, sockets[1], reader::HelperSocket);
  std::vector<QByteArray> words{helperProgram(), QFile::encodeName(choice.reader->library), QFile::encodeName(fileName),
                                choice.format.toUtf8(), QByteArray::number(qulonglong(memoryLimit))};
  for (const auto& [name, value] : options) words.push_back(QByteArray::fromStdString((name + '=').append(value)));
  std::vector<char*> arguments;
  arguments.reserve(words.size() + 1);
  for (QByteArray& word : words) arguments.push_back(word.data());
  arguments.push_back(nullptr);
  const int error = posix_spawn(&m_Process, arguments[0], &spawn.actions, nullptr, arguments.data(), environ);
  close(sockets[1]);
  if (error == 0) return;
  m_Process = 0;
  close(m_Socket);
  throw ImportError(ImportError::tr("its reader cannot be started: %1").arg(qt_error_string(error)));
}

ReadingProcess::~ReadingProcess() {
  end();
  close(m_Socket);
}

reader::Model ReadingProcess::run(SharedBlocks& blocks, ImportControl& control, QStringList& warnings) {
  char text[reader::LongestText];
  for (bool goesOn = true; goesOn;) {
    checkTime(control);
    if (!waitForMessage()) continue;
    Message message;
    const ssize_t size = receive(m_Socket, message, text);
    if (size < 0 && errno == EAGAIN) continue;
    if (size < ssize_t(sizeof message)) throw ImportError(endedUnexpectedly());
    goesOn = handle(message, QString::fromUtf8(text, int(size - ssize_t(sizeof message))), blocks, control, warnings);
  }
  end();
  blocks.seal();
  try {
    return blocks.readRecord(m_RecordSize);
  } catch (const reader::BadRecord&) {
    throw ImportError(ImportError::tr("its reader '%1' hands over what makes no sense").arg(m_ReaderName));
  }
}

bool ReadingProcess::waitForMessage() const {
  constexpr int Glance = 50;  // milliseconds between looks at what others want
  pollfd waiting{m_Socket, POLLIN, 0};
  return poll(&waiting, 1, Glance) > 0;
}

/// What a reader says beside its progress is none. One that goes on and on is ended, too, since damage may have a small
/// file describe work without end.
void ReadingProcess::checkTime(const ImportControl& control) const {
  if (control.cancelled) throw ImportError(ImportError::tr("reading was cancelled"));
  const std::chrono::duration<double> patience = control.patience, longest = m_Work * patience;
  const Clock::time_point now = Clock::now();
  if (now - m_LastProgress > patience)
    throw ImportError(ImportError::tr("its reader '%1' got no further for %2 s, and was ended")
                          .arg(m_ReaderName)
                          .arg(patience.count()));
  if (now - m_Begin > longest)
    throw ImportError(ImportError::tr("its reader '%1' was not done after %2 s, and was ended")
                          .arg(m_ReaderName)
                          .arg(longest.count(), 0, 'f', 0));
}

bool ReadingProcess::handle(const Message& message, const QString& text, SharedBlocks& blocks, ImportControl& control,
                            QStringList& warnings) {
  switch (message.kind) {
    case Message::Progress:
      m_LastProgress = std::chrono::steady_clock::now();
      control.percent = message.value <= 1000 ? int(message.value / 10) : -1;
      return true;
    case Message::Warning: {
      constexpr int Enough = 20;
      if (warnings.size() < Enough && !warnings.contains(shown(text))) warnings << shown(text);
      return true;
    }
    case Message::Unprotected: {
      static std::atomic<bool> told{false};
      if (!told.exchange(true)) NUBO_LOG(log::Note, "nubo::io::ReadingProcess::handle", text);
      return true;
    }
    case Message::Block:
      answer(add(message.value, blocks));
      return true;
    case Message::Done:
      m_RecordSize = message.value;
      return false;
    case Message::Refused:
      throw ImportError(text.trimmed().isEmpty() ? ImportError::tr("its reader '%1' does not say why").arg(m_ReaderName)
                                                 : shown(text));
  }
  throw ImportError(ImportError::tr("its reader '%1' hands over what makes no sense").arg(m_ReaderName));
}

int ReadingProcess::add(std::uint64_t size, SharedBlocks& blocks) {
  const int descriptor = blocks.add(size);
  if (descriptor >= 0) m_Work += double(size) / BytesHandedOver;
  return descriptor;
}

void ReadingProcess::answer(int descriptor) const {
  char byte = 0;
  iovec part{&byte, 1};
  alignas(cmsghdr) char control[CMSG_SPACE(sizeof(int))]{};
  msghdr header{};
  header.msg_iov = &part;
  header.msg_iovlen = 1;
  if (descriptor >= 0) {
    header.msg_control = control;
    header.msg_controllen = sizeof control;
    cmsghdr* attached = CMSG_FIRSTHDR(&header);
    attached->cmsg_level = SOL_SOCKET;
    attached->cmsg_type = SCM_RIGHTS;
    attached->cmsg_len = CMSG_LEN(sizeof(int));
    std::memcpy(CMSG_DATA(attached), &descriptor, sizeof(int));
  }
  // A reader that does not listen is ended when it gets no further.
  static_cast<void>(sendmsg(m_Socket, &header, MSG_NOSIGNAL | MSG_DONTWAIT));
}

int ReadingProcess::end() {
  if (m_Process == 0) return 0;
  int status = 0;
  kill(m_Process, SIGKILL);
  while (waitpid(m_Process, &status, 0) < 0 && errno == EINTR) {
  }
  m_Process = 0;
  return WIFSIGNALED(status) ? WTERMSIG(status) : 0;
}

QString ReadingProcess::endedUnexpectedly() {
  // Its end of the socket is closed before it is quite gone.
  constexpr int Most = 500;
  siginfo_t ended{};
  for (int i = 0; i < Most && ended.si_pid == 0; ++i) {
    if (waitid(P_PID, id_t(m_Process), &ended, WEXITED | WNOHANG | WNOWAIT) != 0) break;
    if (ended.si_pid == 0) usleep(1000);
  }
  const bool hadEnded = ended.si_pid != 0;
  const int signal = end();
  const QString line = ImportError::tr("its reader '%1' ended unexpectedly").arg(m_ReaderName);
  return hadEnded && signal != 0 ? line + QStringLiteral(" (%1)").arg(QString::fromLocal8Bit(strsignal(signal))) : line;
}

}  // namespace nubo::io
