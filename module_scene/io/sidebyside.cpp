#include "module_scene/io/sidebyside.h"

#include <unistd.h>

#include <QFileInfo>
#include <QThread>
#include <algorithm>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>

#include "module_scene/io/importerror.h"

namespace nubo::io {
namespace {

constexpr std::chrono::milliseconds Glance(50);  // between looks at what others want, and at how far all are

/// What reading a file of this size takes at its height, by what is usual; a file that takes more finds its own limit.
double expectedMemory(qint64 fileSize) {
  constexpr double Least = 256 << 20, PerByte = 30;
  return Least + PerByte * double(fileSize);
}

double memoryForAll() {
  constexpr double Share = 0.75;
  return Share * double(sysconf(_SC_PHYS_PAGES)) * double(sysconf(_SC_PAGESIZE));
}

/// A file on its way. What it holds is the reading thread's until `isDone`.
struct Reading {
  Reading(const QString& name, const ImportSettings& settings)
      : file(name), size(QFileInfo(name).size()), control(settings) {}

  const QString file;
  const qint64 size;
  ImportControl control;
  ImportResult result;
  std::thread thread;
  bool isDone = false;
};

/// Used on the thread that waits for all.
class Readings {
 public:
  Readings(const QStringList& files, ImportControl& control, Others others, const Read& read)
      : m_Control(control), m_Others(others), m_Read(read) {
    for (const QString& file : files) m_All.emplace_back(file, control);
    m_End = m_All.size();
  }
  ~Readings() {
    for (Reading& reading : m_All)
      if (reading.thread.joinable()) reading.thread.join();
  }
  Readings(const Readings&) = delete;
  Readings& operator=(const Readings&) = delete;

  std::vector<ImportResult> run() {
    std::unique_lock<std::mutex> lock(m_Mutex);
    while (true) {
      endUnwanted();
      while (m_Begun < m_End && hasRoom()) begin();
      m_Control.percent = percent();
      if (running() == 0) break;
      m_Changed.wait_for(lock, Glance);
    }
    std::vector<ImportResult> results;
    for (Reading& reading : m_All) results.push_back(std::move(reading.result));
    return results;
  }

 private:
  void begin() {
    Reading& reading = m_All[m_Begun++];
    reading.thread = std::thread([this, &reading] {
      reading.result = m_Read(reading.file, reading.control);
      const std::lock_guard<std::mutex> lock(m_Mutex);
      reading.isDone = true;
      m_Changed.notify_one();
    });
  }

  void endUnwanted() {
    for (std::size_t i = 0; m_Others == Others::AreGivenUp && i < m_Begun; ++i)
      if (m_All[i].isDone && !m_All[i].result.root) m_End = std::min(m_End, i + 1);
    for (std::size_t i = 0; i < m_Begun; ++i)
      if (m_Control.cancelled || i >= m_End) m_All[i].control.cancelled = true;
    if (!m_Control.cancelled) return;
    m_End = std::min(m_End, m_Begun);
    for (std::size_t i = m_Begun; i < m_All.size(); ++i)
      m_All[i].result.error =
          ImportError::tr("cannot read '%1': %2").arg(m_All[i].file, ImportError::tr("reading was cancelled"));
  }

  std::size_t running() const {
    return std::size_t(
        std::count_if(m_All.begin(), m_All.begin() + std::ptrdiff_t(m_Begun), [](auto& one) { return !one.isDone; }));
  }

  /// One that no room is left for beside others is read alone.
  bool hasRoom() const {
    const std::size_t others = running();
    if (others == 0) return true;
    if (others >= std::size_t(QThread::idealThreadCount())) return false;
    double memory = expectedMemory(m_All[m_Begun].size);
    for (std::size_t i = 0; i < m_Begun; ++i)
      if (!m_All[i].isDone) memory += expectedMemory(m_All[i].size);
    return memory <= memoryForAll();
  }

  /// Of all bytes; below 0 until one file knows.
  int percent() const {
    double done = 0, all = 0;
    bool isKnown = false;
    for (const Reading& reading : m_All) {
      const int own = reading.isDone ? 100 : reading.control.percent.load();
      isKnown = isKnown || own >= 0;
      done += double(reading.size) * std::max(0, own);
      all += double(reading.size);
    }
    return isKnown && all > 0 ? int(done / all) : -1;
  }

  ImportControl& m_Control;
  const Others m_Others;
  const Read& m_Read;
  std::deque<Reading> m_All;
  std::size_t m_Begun = 0;
  std::size_t m_End = 0;  ///< from where on none are read
  std::mutex m_Mutex;
  std::condition_variable m_Changed;  ///< one more is done
};

}  // namespace

std::vector<ImportResult> readSideBySide(const QStringList& files, ImportControl& control, Others others,
                                         const Read& read) {
  if (files.size() == 1) return {read(files.first(), control)};
  return Readings(files, control, others, read).run();
}

}  // namespace nubo::io
