#include "kernel/events/eventmanager.h"

#include <QPointer>
#include <exception>
#include <map>
#include <memory>
#include <mutex>
#include <vector>

#include "kernel/events/eventhandler.h"
#include "kernel/log/logger.h"
#include "kernel/util/delegate.h"

namespace nubo::events {

using main::Event;

namespace {

struct Registration {
  std::unique_ptr<EventManager::Function> function;
  std::unique_ptr<boost::function<bool(const Event*)>> filter;
  const void* owner;
  bool active = true;
};

void logFailure(const char* reason) {
  log::Logger::getInstance()->log(log::Failure, "kernel/events/eventmanager", __LINE__,
                                  "nubo::events::EventManager::fireEvent", nullptr, "An event function failed: %s",
                                  reason);
}

void call(const Registration& registration, const Event& event) {
  try {
    if (!registration.filter || (*registration.filter)(&event)) (*registration.function)(&event);
  } catch (const std::exception& exception) {
    logFailure(exception.what());
  } catch (...) {
    logFailure("unknown exception");
  }
}

}  // namespace

struct EventManager::Private {
  void deliver(const Event& event);
  void deliverLater(const Event& event);

  std::recursive_mutex mutex;
  std::map<unsigned long, std::vector<std::shared_ptr<Registration>>> registrations;
};

void EventManager::Private::deliver(const Event& event) {
  if (!EventHandler::getInstance()->isDeliverable(event.type())) return;
  const std::lock_guard<std::recursive_mutex> lock(mutex);
  const auto found = registrations.find(event.type());
  if (found == registrations.end()) return;
  // The called functions may register and unregister, themselves too.
  const auto current = found->second;
  for (const auto& registration : current) {
    if (registration->active) call(*registration, event);
  }
}

void EventManager::Private::deliverLater(const Event& event) {
  const QPointer<QObject> first = event.first();
  const QPointer<QObject> second = event.second();
  util::WorkerDelegate::invoke(new util::FunctionDelegate(
      [this, type = event.type(), first, second] { deliver(Event(type, first.data(), second.data(), true)); }));
}

EventManager::EventManager() : d(new Private) {}

EventManager* EventManager::getInstance() {
  static auto* manager = new EventManager;
  return manager;
}

void EventManager::registerEventFunction(unsigned long type, Function* function, const void* owner,
                                         boost::function<bool(const Event*)>* filter) {
  auto registration = std::make_shared<Registration>();
  registration->function.reset(function);
  registration->filter.reset(filter);
  registration->owner = owner;
  const std::lock_guard<std::recursive_mutex> lock(d->mutex);
  d->registrations[type].push_back(std::move(registration));
}

void EventManager::unregisterAllEventFunctionsOf(const void* owner) {
  const std::lock_guard<std::recursive_mutex> lock(d->mutex);
  for (auto& [type, registrations] : d->registrations) {
    std::vector<std::shared_ptr<Registration>> kept;
    for (auto& registration : registrations) {
      if (registration->owner == owner) {
        registration->active = false;
      } else {
        kept.push_back(registration);
      }
    }
    registrations.swap(kept);
  }
}

void EventManager::fireEvent(const Event& event) {
  if (event.isDeferred()) {
    d->deliverLater(event);
  } else {
    d->deliver(event);
  }
}

}  // namespace nubo::events
