#include "kernel/events/eventmanager.h"

#include <QPointer>
#include <algorithm>
#include <map>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

#include "kernel/events/eventhandler.h"
#include "kernel/log/logger.h"
#include "kernel/util/callgate.h"
#include "kernel/util/delegate.h"
#include "kernel/util/exceptiontext.h"

namespace nubo::events {

using main::Event;

namespace {

struct Registration {
  std::unique_ptr<EventManager::Function> function;
  std::unique_ptr<EventManager::Filter> filter;
  const void* owner;
  util::CallGate gate;
};

void call(const Registration& registration, const Event& event) {
  try {
    if (!registration.filter || (*registration.filter)(&event)) (*registration.function)(&event);
  } catch (...) {
    NUBO_LOG(log::Failure, "nubo::events::EventManager::fireEvent",
             QStringLiteral("An event function failed: ") + util::exceptionText());
  }
}

}  // namespace

/// The mutex guards the registrations, but not the calls.
struct EventManager::Private {
  using Registrations = std::vector<std::shared_ptr<Registration>>;

  Registrations registrationsFor(unsigned long type) const;
  Registrations takeOf(const void* owner);
  void deliver(const Event& event) const;
  void deliverLater(const Event& event) const;

  mutable std::mutex mutex;
  std::map<unsigned long, Registrations> registrations;
};

EventManager::Private::Registrations EventManager::Private::registrationsFor(unsigned long type) const {
  const std::lock_guard<std::mutex> lock(mutex);
  const auto found = registrations.find(type);
  return found == registrations.end() ? Registrations() : found->second;
}

EventManager::Private::Registrations EventManager::Private::takeOf(const void* owner) {
  const std::lock_guard<std::mutex> lock(mutex);
  Registrations taken;
  for (auto& [type, all] : registrations) {
    const auto first =
        std::stable_partition(all.begin(), all.end(), [owner](const auto& entry) { return entry->owner != owner; });
    taken.insert(taken.end(), first, all.end());
    all.erase(first, all.end());
  }
  return taken;
}

void EventManager::Private::deliver(const Event& event) const {
  if (!EventHandler::getInstance()->isDeliverable(event.type())) return;
  for (const auto& registration : registrationsFor(event.type()))
    registration->gate.pass([&] { call(*registration, event); });
}

void EventManager::Private::deliverLater(const Event& event) const {
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

void EventManager::registerEventFunction(unsigned long type, Function* function, const void* owner, Filter* filter) {
  auto registration = std::make_shared<Registration>();
  registration->function.reset(function);
  registration->filter.reset(filter);
  registration->owner = owner;
  const std::lock_guard<std::mutex> lock(d->mutex);
  d->registrations[type].push_back(std::move(registration));
}

void EventManager::unregisterAllEventFunctionsOf(const void* owner) {
  for (const auto& registration : d->takeOf(owner)) {
    if (!registration->gate.close()) continue;
    // A delivery under way may keep the registration for longer than the function's library is loaded.
    registration->function.reset();
    registration->filter.reset();
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
