#include <gmock/gmock.h>

#include <QCoreApplication>
#include <QThread>
#include <memory>
#include <thread>

#include "kernel/events/eventhandler.h"
#include "kernel/events/eventmanager.h"
#include "kernel/main/overseer.h"
#include "support/logcollector.h"

using namespace nubo;
using events::EventHandler;
using events::EventManager;
using main::Event;
using ::testing::ElementsAre;

namespace {

/// Notes the events of one type by their first object.
class Listener {
 public:
  explicit Listener(unsigned long type, EventManager::Filter* filter = nullptr) {
    const auto note = [this](const Event* event) {
      EXPECT_EQ(QThread::currentThread(), qApp->thread());
      seen.push_back(event->first());
    };
    EventManager::getInstance()->registerEventFunction(type, new EventManager::Function(note), this, filter);
  }
  ~Listener() { EventManager::getInstance()->unregisterAllEventFunctionsOf(this); }
  std::vector<QObject*> seen;
};

void fire(unsigned long type, QObject* first = nullptr, bool deferred = false) {
  EventManager::getInstance()->fireEvent(Event(type, first, nullptr, deferred));
}

}  // namespace

TEST(Events, ReachThoseWhoListen) {
  const auto type = EventHandler::getInstance()->addEvent("Test", "HAPPENED");
  EXPECT_EQ(EventHandler::getInstance()->addEvent("Test", std::string("HAPPENED").c_str()), type);
  const auto other = EventHandler::getInstance()->addEvent("Other", "HAPPENED");
  EXPECT_NE(other, type);
  QObject object;
  const test::LogCollector recorder;
  const Listener refusing(type, new EventManager::Filter([](const Event*) -> bool { throw std::runtime_error("no"); }));
  const Listener filtering(type, new EventManager::Filter([](const Event* event) { return event->first(); }));
  const Listener all(type);
  fire(other, &object);
  fire(type, &object);
  { const Listener passing(type); }
  fire(type);
  EXPECT_THAT(filtering.seen, ElementsAre(&object));
  EXPECT_THAT(all.seen, ElementsAre(&object, nullptr));
  EXPECT_THAT(recorder.texts(log::Failure),
              ElementsAre("An event function failed: no", "An event function failed: no"));
}

TEST(Events, OfAWithdrawnCategoryAreNotDelivered) {
  auto* handler = EventHandler::getInstance();
  const auto type = handler->addEvent("Module", "DONE");
  const Listener listener(type);
  const auto fireAndCount = [&] {
    fire(type);
    return listener.seen.size();
  };
  EXPECT_EQ(fireAndCount(), 1u) << "a category needs no registration";
  handler->registerEventTypes("Module");
  EXPECT_EQ(fireAndCount(), 2u);
  handler->unregisterEventTypes("Module");
  EXPECT_EQ(fireAndCount(), 2u);
  handler->registerEventTypes("Module");
  EXPECT_EQ(fireAndCount(), 3u);
}

TEST(Events, DeferredOnesComeToTheApplicationThread) {
  const main::Overseer overseer(QStringLiteral("unused.ini"));
  const auto type = EventHandler::getInstance()->addEvent("Test", "DEFERRED");
  const Listener listener(type);
  auto gone = std::make_unique<QObject>();
  QObject living;
  std::thread([&] {
    fire(type, &living, true);
    fire(type, gone.get(), true);
  }).join();
  EXPECT_THAT(listener.seen, ElementsAre());
  gone.reset();
  QCoreApplication::processEvents();
  EXPECT_THAT(listener.seen, ElementsAre(&living, nullptr));
}
