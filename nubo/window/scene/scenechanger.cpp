#include "nubo/window/scene/scenechanger.h"

#include <QTimer>
#include <algorithm>

namespace nubo::window {

namespace {

constexpr int PatienceMs = 1000;  // frames of a recording that take long are not worth a word

}  // namespace

SceneChanger::SceneChanger(QObject* parent) : QObject(parent), m_Thread([this] { run(); }) {}

SceneChanger::~SceneChanger() {
  {
    const std::lock_guard<std::mutex> lock(m_Mutex);
    m_Ending = true;
    m_Items.clear();
  }
  m_Changed.notify_all();
  m_Thread.join();
}

void SceneChanger::change(const QString& topic, std::function<void()> work) {
  {
    const std::lock_guard<std::mutex> lock(m_Mutex);
    const auto same = std::find_if(m_Items.begin(), m_Items.end(),
                                   [&](const Item& item) { return !topic.isEmpty() && item.topic == topic; });
    if (same == m_Items.end())
      m_Items.push_back({topic, std::move(work)});
    else
      same->work = std::move(work);
  }
  m_Changed.notify_all();
  checkLater();
}

void SceneChanger::finish() {
  std::unique_lock<std::mutex> lock(m_Mutex);
  m_Changed.wait(lock, [this] { return m_Items.empty() && !m_Working; });
}

bool SceneChanger::isIdle() const {
  const std::lock_guard<std::mutex> lock(m_Mutex);
  return m_Items.empty() && !m_Working;
}

void SceneChanger::run() {
  std::unique_lock<std::mutex> lock(m_Mutex);
  while (true) {
    m_Changed.wait(lock, [this] { return m_Ending || !m_Items.empty(); });
    if (m_Ending) return;
    const Item item = std::move(m_Items.front());
    m_Items.pop_front();
    m_Working = true;
    m_Patience.setRemainingTime(PatienceMs);
    lock.unlock();
    item.work();
    lock.lock();
    m_Working = false;
    m_Changed.notify_all();
    if (std::exchange(m_Reported, true)) continue;
    QMetaObject::invokeMethod(this, &SceneChanger::report, Qt::QueuedConnection);
  }
}

void SceneChanger::report() {
  {
    const std::lock_guard<std::mutex> lock(m_Mutex);
    m_Reported = false;
  }
  emit changed();
  if (m_ShowsWaiting) emit waiting(m_ShowsWaiting = false);
}

void SceneChanger::checkLater() {
  if (!std::exchange(m_CheckPending, true)) QTimer::singleShot(PatienceMs, this, &SceneChanger::checkWaiting);
}

void SceneChanger::checkWaiting() {
  m_CheckPending = false;
  {
    const std::lock_guard<std::mutex> lock(m_Mutex);
    if (m_ShowsWaiting || !m_Working) return;
    if (!m_Patience.hasExpired()) return checkLater();
  }
  emit waiting(m_ShowsWaiting = true);
}

}  // namespace nubo::window
