// Functions that the kernel calls for others, event functions and observers of the log, withdrawn while they run.
#include <gtest/gtest.h>

#include <QSemaphore>
#include <atomic>
#include <future>
#include <memory>
#include <thread>

#include "kernel/events/eventhandler.h"
#include "kernel/events/eventmanager.h"
#include "kernel/log/logger.h"
#include "kernel/main/overseer.h"
#include "kernel/util/delegate.h"
#include "support/waiting.h"

using namespace nubo;
using events::EventManager;

namespace {

class Withdrawal : public testing::TestWithParam<bool> {
 protected:
  void add(int owner, const std::function<void()>& function) {
    if (m_IsLog)
      m_Owners[owner] = log::Logger::getInstance()->addObserver([function](const log::Record&) { function(); });
    else
      m_Events.registerEventFunction(m_Type, new EventManager::Function([function](auto*) { function(); }),
                                     &m_Owners[owner], nullptr);
  }
  void remove(int owner) {
    if (m_IsLog)
      log::Logger::getInstance()->removeObserver(m_Owners[owner]);
    else
      m_Events.unregisterAllEventFunctionsOf(&m_Owners[owner]);
  }
  void call() const {
    if (m_IsLog)
      NUBO_LOG(log::Debug, "test", "an occasion");
    else
      m_Events.fireEvent(main::Event(m_Type, nullptr, nullptr, false));
  }
  /// Calls on another thread. A function tells by isThere() which of the calls is this one's.
  std::future<void> callElsewhere() {
    return std::async(std::launch::async, [this] {
      m_There = std::this_thread::get_id();
      call();
    });
  }
  bool isThere() const { return m_There == std::this_thread::get_id(); }
  /// For functions that wait until the test lets them go.
  void stay() {
    m_Entered.release();
    m_Leave.acquire();
  }

  const main::Overseer m_Overseer{QStringLiteral("unused.ini")};
  QSemaphore m_Entered, m_Leave;

 private:
  const bool m_IsLog = GetParam();
  EventManager& m_Events = *EventManager::getInstance();
  const unsigned long m_Type = events::EventHandler::getInstance()->addEvent("Test", "OCCASION");
  int m_Owners[2] = {};
  std::atomic<std::thread::id> m_There{};
};

}  // namespace

TEST_P(Withdrawal, WaitsForWhatRunsAndFreesTheFunction) {
  bool left = false;
  int calls = 0;
  const auto marker = std::make_shared<int>(0);
  add(0, [&, marker] {
    stay();
    left = true;
  });
  const auto other = callElsewhere();
  m_Entered.acquire();
  add(1, [&] { ++calls; });  // while the first one runs
  std::thread releaser([&] { m_Leave.release(); });
  remove(0);
  EXPECT_TRUE(left);
  EXPECT_EQ(marker.use_count(), 1);
  call();
  EXPECT_EQ(calls, 1);
  remove(1);
  call();
  EXPECT_EQ(calls, 1);
  releaser.join();
}

TEST_P(Withdrawal, FreesAFunctionThatADeliveryUnderWayStillKnows) {
  const auto marker = std::make_shared<int>(0);
  add(0, [&] { stay(); });
  add(1, [marker] { ADD_FAILURE() << "called after its removal"; });
  const auto other = callElsewhere();
  m_Entered.acquire();
  remove(1);
  EXPECT_EQ(marker.use_count(), 1);
  m_Leave.release();
  remove(0);
}

TEST_P(Withdrawal, FromInsideReturnsAtOnce) {
  int calls = 0;
  add(0, [&] {
    ++calls;
    remove(0);
    throw std::runtime_error("nobody suffers");
  });
  call();
  call();
  EXPECT_EQ(calls, 1);
}

TEST_P(Withdrawal, OfEachOtherOnTwoThreadsEnds) {
  add(0, [&] {
    if (!isThere()) return;
    stay();
    remove(1);
  });
  add(1, [&] {
    if (isThere()) return;
    stay();
    remove(0);
  });
  const auto other = callElsewhere();
  std::thread second([&] { call(); });
  m_Entered.acquire(2);
  m_Leave.release(2);
  second.join();
}

TEST_P(Withdrawal, ServesDelegatesOnTheApplicationThread) {
  bool worked = false;
  add(0, [&] {
    if (!isThere()) return;
    m_Entered.release();
    util::WorkerDelegate::invokeSync(new util::FunctionDelegate([&] { worked = true; }));
  });
  const auto other = callElsewhere();
  m_Entered.acquire();
  call();  // goes by the function that waits
  EXPECT_FALSE(worked);
  remove(0);
  EXPECT_TRUE(worked);
}

TEST_P(Withdrawal, InWorkThatTheFunctionWaitsForReturnsAtOnce) {
  add(0, [&] { util::WorkerDelegate::invokeSync(new util::FunctionDelegate([&] { remove(0); })); });
  const auto other = callElsewhere();
  EXPECT_TRUE(test::waitUntil([&] { return other.wait_for(std::chrono::seconds(0)) == std::future_status::ready; }));
}

INSTANTIATE_TEST_SUITE_P(, Withdrawal, testing::Bool(),
                         [](const auto& info) { return info.param ? "OfLogObservers" : "OfEventFunctions"; });
