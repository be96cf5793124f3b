// Reads model files without keeping the window waiting.
#pragma once

#include <QObject>
#include <QStringList>
#include <QThread>
#include <QTimer>
#include <memory>

#include "module_scene/io/importer.h"

namespace nubo::window {

/// Reads on a thread of its own, and makes what is read ready to be drawn. Used on the application thread.
class SceneLoader : public QObject {
  Q_OBJECT
 public:
  explicit SceneLoader(QObject* parent = nullptr);
  /// Ends what is being read.
  ~SceneLoader() override;

  /// Reads the files into one scene. What is being read meanwhile is given up.
  void load(const QStringList& files);
  /// Gives up what is being read, and what was to be read after it.
  void cancel();
  /// For the files that are loaded from now on.
  void setSettings(const io::ImportSettings& settings) { m_Settings = settings; }
  bool isLoading() const { return m_Thread != nullptr; }

 signals:
  void started(const QStringList& files);
  /// `files` make up the root; each that failed has a line in the warnings. Where all failed there is no root, and the
  /// error says why.
  void finished(const QStringList& files, const QStringList& failed, const nubo::io::ImportResult& result);
  /// In place of finished.
  void cancelled();
  /// Of the files that are being read; below 0: nobody knows.
  void progressed(int percent);

 private:
  void startNext();
  void end(const QStringList& files, const QStringList& failed, const std::shared_ptr<io::ImportResult>& result);

  class Uploader;
  std::unique_ptr<Uploader> m_Uploader;
  std::unique_ptr<QThread> m_Thread;             ///< there is one while a file is read
  std::unique_ptr<io::ImportControl> m_Control;  ///< of what is being read
  io::ImportSettings m_Settings;
  QTimer m_Glance;     ///< at how far it is
  QStringList m_Next;  ///< to be read when the present ones are done with
};

}  // namespace nubo::window
