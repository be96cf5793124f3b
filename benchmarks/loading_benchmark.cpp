// Reads a model, and tells how long that takes and how much memory, the reading process's with it.
#include <malloc.h>

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QThread>
#include <atomic>
#include <cstdio>
#include <thread>

#include "module_scene/io/importer.h"

using namespace nubo;

namespace {

QByteArray content(const QString& name) {
  QFile file(name);
  return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// In MB. Memory that processes share counts once.
double memoryOf(const QByteArray& process) {
  for (const QByteArray& line : content("/proc/" + process + "/smaps_rollup").split('\n'))
    if (line.startsWith("Pss:")) return line.mid(4).simplified().split(' ').first().toDouble() * 1024 / 1e6;
  return 0;
}

double memoryOfAll() {
  double sum = memoryOf("self");
  const QByteArray own = QByteArray::number(QCoreApplication::applicationPid());
  for (const QByteArray& child : content("/proc/" + own + "/task/" + own + "/children").simplified().split(' '))
    if (!child.isEmpty()) sum += memoryOf(child);
  return sum;
}

/// The most that was taken while this lives.
class Peak {
 public:
  ~Peak() { end(); }
  double end() {
    m_Ended = true;
    if (m_Thread.joinable()) m_Thread.join();
    return m_Most;
  }

 private:
  void watch() {
    constexpr unsigned long Pause = 5;  // milliseconds
    for (; !m_Ended; QThread::msleep(Pause)) m_Most = std::max(m_Most, memoryOfAll());
  }

  std::atomic<bool> m_Ended{false};
  double m_Most = 0;
  std::thread m_Thread{&Peak::watch, this};
};

}  // namespace

int main(int argc, char** argv) {
  const QCoreApplication application(argc, argv);
  const QString name = application.arguments().value(1);
  const bool watches = application.arguments().contains(QStringLiteral("--memory"));
  const double before = memoryOfAll();
  std::unique_ptr<Peak> peak;
  if (watches) peak = std::make_unique<Peak>();
  QElapsedTimer timer;
  timer.start();
  const io::ImportResult result = io::importFile(name);
  const double seconds = double(timer.nsecsElapsed()) / 1e9;
  if (!result.root) qFatal("%s", qPrintable(result.error));
  QJsonObject told{{"seconds", seconds}};
  if (peak) {
    told["peak"] = peak->end() - before;
    malloc_trim(0);
    told["scene"] = memoryOfAll() - before;
  }
  std::puts(QJsonDocument(told).toJson(QJsonDocument::Compact).constData());
  return 0;
}
