// Runs the program itself, the way a user does.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QImage>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>
#include <functional>
#include <map>

using testing::HasSubstr;

/// A test's own directory, in which models lie and the program runs.
class Program : public testing::Test {
 protected:
  Program() {
    write("triangle.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n");
    write("points.csv", "0,0,0\n1,0,0\n1,1,0\n1,1,1\n");
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"}) environment.remove(name);
    environment.insert("bin", NUBO_TEST_BIN_DIR);
    environment.insert("nubo", NUBO_TEST_BIN_DIR "/nubo --settings " + m_Settings.filePath("nubo.ini"));
    m_Process.setProcessEnvironment(environment);
    m_Process.setWorkingDirectory(m_Directory.path());
  }

  QString path(const QString& name) const { return m_Directory.filePath(name); }
  void write(const QString& name, const QByteArray& content) {
    QFile file(path(name));
    EXPECT_TRUE(file.open(QIODevice::WriteOnly) && file.write(content) == content.size());
  }

  /// Starts a line of the shell's. What it calls last takes the shell's place, and so the signals for that.
  void start(const QString& line) {
    m_Process.start("/bin/sh", {"-c", "exec " + line});
    EXPECT_TRUE(m_Process.waitForStarted(60000));
  }
  /// The line of that name in what the system tells of the process.
  QByteArray told(const QByteArray& name) const {
    QFile file(QStringLiteral("/proc/%1/status").arg(m_Process.processId()));
    const QByteArray text = file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    const int at = text.indexOf('\n' + name + ':') + name.size() + 2;
    return text.mid(at, text.indexOf('\n', at) - at).simplified();
  }
  void waitUntil(const std::function<bool()>& isSo) {
    while (!isSo() && m_Process.state() == QProcess::Running && !m_Process.waitForFinished(20)) continue;
  }
  /// The shell, whose place the program takes, has handlers of its own.
  void waitUntilItCatches(int signal) {
    waitUntil([&] { return told("Name") == "nubo" && told("SigCgt").toULongLong(nullptr, 16) >> (signal - 1) & 1; });
  }
  /// The exit status; -1 where it crashed or does not end.
  int wait() {
    const bool ended = m_Process.waitForFinished(120000) && m_Process.exitStatus() == QProcess::NormalExit;
    m_Output = QString::fromLocal8Bit(m_Process.readAllStandardOutput());
    m_Errors = QString::fromLocal8Bit(m_Process.readAllStandardError());
    return ended ? m_Process.exitCode() : -1;
  }
  int run(const QString& line) {
    m_Process.start("/bin/sh", {"-c", line});
    return wait();
  }

  /// What fails says so in one line on standard error, and leaves nothing behind.
  struct Failure {
    const char* line;
    int status;
    const char* part;
  };
  void expectFailure(const Failure& expected) {
    SCOPED_TRACE(expected.line);
    const std::string before = files();
    EXPECT_EQ(run(expected.line), expected.status) << m_Errors.toStdString();
    EXPECT_THAT(m_Errors.toStdString(), HasSubstr(expected.part));
    EXPECT_TRUE(m_Errors.startsWith("nubo: ")) << m_Errors.toStdString();
    EXPECT_EQ(m_Errors.count('\n'), 1) << m_Errors.toStdString();
    EXPECT_EQ(m_Output, "");
    EXPECT_EQ(files(), before);
  }
  std::string files() const {
    return QDir(m_Directory.path()).entryList(QDir::AllEntries | QDir::Hidden).join(' ').toStdString();
  }

  QJsonDocument recordOf(const QString& name) const {
    QFile file(path(name));
    EXPECT_TRUE(file.open(QIODevice::ReadOnly));
    return QJsonDocument::fromJson(file.readAll());
  }
  std::map<QString, double> measuredPicture(const QString& name) const {
    const QImage image(path(name));
    return {{"width", image.width()}, {"height", image.height()}};
  }
  /// As others see it.
  std::map<QString, double> measuredVideo(const QString& name) {
    EXPECT_EQ(run("ffprobe -v error -count_frames -show_entries stream=width,height,nb_read_frames:format=duration "
                  "-of csv=p=0 " +
                  name),
              0)
        << m_Errors.toStdString();
    const QStringList values = m_Output.simplified().replace(' ', ',').split(',', Qt::SkipEmptyParts);
    if (values.size() != 4) return {};
    return {{"width", values[0].toDouble()},
            {"height", values[1].toDouble()},
            {"frames", values[2].toDouble()},
            {"seconds", values[3].toDouble()}};
  }

  /// A Y4M file holds its frames uncompressed behind a line each.
  QByteArray video() const {
    QFile file(path("a.y4m"));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
  }
  int frames() const { return video().count("FRAME\n"); }

  QTemporaryDir m_Directory;
  QTemporaryDir m_Settings;
  QProcess m_Process;
  QString m_Output;
  QString m_Errors;
};
