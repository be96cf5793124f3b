#include "nubo/cli/runrecord.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QFileInfo>
#include <QJsonDocument>
#include <QSaveFile>
#include <utility>

namespace nubo::app {

namespace {

double secondsOf(qint64 milliseconds) { return double(milliseconds) / 1000.0; }

}  // namespace

RunRecord::RunRecord(const QStringList& words) {
  m_Clock.start();
  m_Record["call"] = QJsonArray::fromStringList(words);
  m_Record["started"] = QDateTime::currentDateTimeUtc().toString(Qt::ISODateWithMs);
}

void RunRecord::addMessage(const QString& kind, const QString& text) {
  m_Messages.append(QJsonObject{{"kind", kind}, {"text", text}});
}

void RunRecord::addFile(const QString& fileName) {
  const QFileInfo file(fileName);
  m_Files.append(QJsonObject{{"name", file.absoluteFilePath()}, {"bytes", file.size()}});
}

void RunRecord::endPhase(const QString& name) {
  const qint64 now = m_Clock.elapsed();
  m_Seconds[name] = secondsOf(now - std::exchange(m_PhaseStart, now));
}

QString RunRecord::json(int exitStatus) const {
  QJsonObject record = m_Record;
  QJsonObject seconds = m_Seconds;
  seconds["all"] = secondsOf(m_Clock.elapsed());
  record["seconds"] = seconds;
  record["messages"] = m_Messages;
  record["files"] = m_Files;
  record["exitStatus"] = exitStatus;
  return QString::fromUtf8(QJsonDocument(record).toJson());
}

QString RunRecord::write(const QString& fileName, int exitStatus) const {
  QSaveFile file(fileName);
  if (file.open(QIODevice::WriteOnly) && file.write(json(exitStatus).toUtf8()) >= 0 && file.commit()) return QString();
  return QStringLiteral("--report %1: %2").arg(fileName, file.errorString());
}

}  // namespace nubo::app
