// What --report FILE has a run leave for programs to read.
#pragma once

#include <QElapsedTimer>
#include <QJsonArray>
#include <QJsonObject>
#include <QStringList>

namespace nubo::app {

/// Gathers what is told of a run, and writes it as JSON: what it was called with, what it was made of, how long that
/// took, what was said, and how it ended. Application thread.
class RunRecord {
 public:
  /// The run begins. `words` stood after the program's name.
  explicit RunRecord(const QStringList& words);

  void set(const QString& key, const QJsonValue& value) { m_Record[key] = value; }
  /// `kind` is "error" or "note".
  void addMessage(const QString& kind, const QString& text);
  void addFile(const QString& fileName);
  /// What was done since the last call, or since the beginning, ends here.
  void endPhase(const QString& name);
  QString json(int exitStatus) const;
  /// The empty text, or why the file has not been written; what stood there is then as it was.
  [[nodiscard]] QString write(const QString& fileName, int exitStatus) const;

 private:
  QElapsedTimer m_Clock;
  qint64 m_PhaseStart = 0;
  QJsonObject m_Record;
  QJsonObject m_Seconds;
  QJsonArray m_Messages;
  QJsonArray m_Files;
};

}  // namespace nubo::app
