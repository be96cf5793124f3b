#include "module_scene/draw/drawingturn.h"

#include <QCoreApplication>
#include <QThread>
#include <atomic>
#include <condition_variable>
#include <mutex>

namespace nubo::scene {

namespace {

std::mutex s_Mutex;  // guards the two numbers
std::condition_variable s_Changed;
unsigned s_Next = 0, s_Serving = 0;
std::atomic<bool> s_Shared{false};

}  // namespace

DrawingTurn::DrawingTurn() {
  std::unique_lock<std::mutex> lock(s_Mutex);
  const unsigned ticket = s_Next++;
  s_Changed.wait(lock, [ticket] { return s_Serving == ticket; });
}

DrawingTurn::~DrawingTurn() {
  const std::lock_guard<std::mutex> lock(s_Mutex);
  ++s_Serving;
  s_Changed.notify_all();
}

void DrawingTurn::setShared() { s_Shared = true; }

bool DrawingTurn::mustBeTaken() {
  return s_Shared && QCoreApplication::instance() && QThread::currentThread() != QCoreApplication::instance()->thread();
}

}  // namespace nubo::scene
