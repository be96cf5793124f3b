// A reader at work, in a process of its own.
#pragma once

#include <QString>
#include <QStringList>
#include <chrono>

#include "module_scene/io/importcontrol.h"
#include "module_scene/io/reader/message.h"
#include "module_scene/io/readertable.h"
#include "module_scene/io/sharedblocks.h"

namespace nubo::io {

/// Starts the program nubo-read for one file. It ends with this object, or with the thread that made it. Used on one
/// thread.
class ReadingProcess {
 public:
  /// Throws ImportError where the program cannot be started.
  ReadingProcess(const ReaderChoice& choice, const QString& fileName, std::uint64_t memoryLimit,
                 const std::map<std::string, std::string>& options);
  ~ReadingProcess();
  ReadingProcess(const ReadingProcess&) = delete;
  ReadingProcess& operator=(const ReadingProcess&) = delete;

  /// Serves the reader until it has read all, and returns that, with the arrays in `blocks`. Throws ImportError for
  /// everything else that can happen to it.
  reader::Model run(SharedBlocks& blocks, ImportControl& control, QStringList& warnings);

 private:
  void checkTime(const ImportControl& control) const;
  bool waitForMessage() const;
  /// False: it was the last.
  bool handle(const reader::Message& message, const QString& text, SharedBlocks& blocks, ImportControl& control,
              QStringList& warnings);
  /// A descriptor of a new block; -1 where there is none.
  int add(std::uint64_t size, SharedBlocks& blocks);
  void answer(int descriptor) const;
  /// Returns the signal that ended the process, 0 for none; kills it where it has not ended.
  int end();
  QString endedUnexpectedly();

  using Clock = std::chrono::steady_clock;

  const QString m_ReaderName;
  int m_Socket = -1;
  int m_Process = 0;  ///< 0: ended
  std::uint64_t m_RecordSize = 0;
  double m_Work;  ///< what there is to do, in times that a reader may take without getting further
  const Clock::time_point m_Begin = Clock::now();
  Clock::time_point m_LastProgress = m_Begin;
};

}  // namespace nubo::io
