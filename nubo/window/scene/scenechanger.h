// Changes of the scene that the user asks for while others may hold it still.
#pragma once

#include <QDeadlineTimer>
#include <QObject>
#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>

namespace nubo::window {

/// Makes changes one after the other on a thread of its own, where waiting for a scene lock (a long picture holds
/// one) keeps nobody from using the window. Used on the application thread.
class SceneChanger : public QObject {
  Q_OBJECT
 public:
  explicit SceneChanger(QObject* parent = nullptr);
  /// Waits for the change that has begun, and drops the others. No command may be running.
  ~SceneChanger() override;

  /// `work` takes the scene's lock itself. It replaces an earlier change with the same `topic` that has not begun;
  /// an empty topic replaces none.
  void change(const QString& topic, std::function<void()> work);
  /// Returns when all changes are made. Not while a command may hold the scene.
  void finish();
  bool isIdle() const;
  /// What waiting() told last.
  bool isWaiting() const { return m_ShowsWaiting; }

 signals:
  /// Some changes were made.
  void changed();
  /// A change has been waiting for a while (true), or is made (false).
  void waiting(bool isWaiting);

 private:
  struct Item {
    QString topic;
    std::function<void()> work;
  };
  void run();
  void report();
  void checkLater();
  void checkWaiting();

  mutable std::mutex m_Mutex;
  std::condition_variable m_Changed;
  std::deque<Item> m_Items;
  bool m_Working = false;
  QDeadlineTimer m_Patience;  ///< with the change that is being made, or was last
  bool m_Ending = false;
  bool m_Reported = false;  ///< a call of report() is on its way
  bool m_ShowsWaiting = false;
  bool m_CheckPending = false;
  std::thread m_Thread;
};

}  // namespace nubo::window
