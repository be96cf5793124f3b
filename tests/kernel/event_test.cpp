#include <gtest/gtest.h>

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

namespace {

void listen(unsigned long type, const void* owner, const EventManager::Function& function,
            boost::function<bool(const Event*)>* filter = nullptr) {
  EventManager::getInstance()->registerEventFunction(type, new EventManager::Function(function), owner, filter);
}

void fire(unsigned long type, QObject* first = nullptr, bool deferred = false) {
  EventManager::getInstance()->fireEvent(Event(type, first, nullptr, deferred));
}

}  // namespace

TEST(Events, ReachThoseWhoListenUntilTheyAreUnregistered) {
  const auto type = EventHandler::getInstance()->addEvent("Test", "HAPPENED");
  EXPECT_EQ(EventHandler::getInstance()->addEvent("Test", std::string("HAPPENED").c_str()), type);
  const auto other = EventHandler::getInstance()->addEvent("Other", "HAPPENED");
  EXPECT_NE(other, type);

  QObject object;
  QStringList calls;
  const int owners[3] = {};
  listen(type, &owners[0], [&](const Event* event) {
    calls << (event->first() == &object ? "first" : "wrong object");
    EventManager::getInstance()->unregisterAllEventFunctionsOf(&owners[0]);
    listen(type, &owners[2], [&](const Event*) { calls << "late"; });
  });
  listen(type, &owners[0], [&](const Event*) { calls << "unregistered by the one before"; });
  listen(type, &owners[1], [&](const Event*) { throw std::runtime_error("wrong"); });
  listen(
      type, &owners[1], [&](const Event*) { calls << "second"; },
      new boost::function<bool(const Event*)>([&](const Event* event) { return event->first() != nullptr; }));
  const test::LogCollector recorder;
  fire(other, &object);
  fire(type, &object);
  EXPECT_EQ(calls, QStringList({"first", "second"}));
  EXPECT_EQ(recorder.messages(log::Failure).size(), 1U);
  calls.clear();
  fire(type);
  EXPECT_EQ(calls, QStringList({"late"}));
  for (const int& owner : owners) EventManager::getInstance()->unregisterAllEventFunctionsOf(&owner);
  fire(type);
  EXPECT_EQ(calls.size(), 1);
}

TEST(Events, OfAWithdrawnCategoryAreNotDelivered) {
  auto* handler = EventHandler::getInstance();
  const auto type = handler->addEvent("Module", "DONE");
  int calls = 0;
  const int owner = 0;
  listen(type, &owner, [&](const Event*) { ++calls; });
  fire(type);
  EXPECT_EQ(calls, 1) << "a category needs no registration";
  handler->registerEventTypes("Module");
  fire(type);
  handler->unregisterEventTypes("Module");
  fire(type);
  EXPECT_EQ(calls, 2);
  handler->registerEventTypes("Module");
  fire(type);
  EXPECT_EQ(calls, 3);
  EventManager::getInstance()->unregisterAllEventFunctionsOf(&owner);
}

TEST(Events, DeferredOnesComeToTheApplicationThread) {
  const main::Overseer overseer(QStringLiteral("unused.ini"));
  const auto type = EventHandler::getInstance()->addEvent("Test", "DEFERRED");
  std::vector<QObject*> seen;
  auto gone = std::make_unique<QObject>();
  QObject living;
  const int owner = 0;
  listen(type, &owner, [&](const Event* event) {
    EXPECT_EQ(QThread::currentThread(), qApp->thread());
    seen.push_back(event->first());
  });
  std::thread([&] {
    fire(type, &living, true);
    fire(type, gone.get(), true);
  }).join();
  EXPECT_TRUE(seen.empty());
  gone.reset();
  QCoreApplication::processEvents();
  EXPECT_EQ(seen, (std::vector<QObject*>{&living, nullptr}));
  EventManager::getInstance()->unregisterAllEventFunctionsOf(&owner);
}
