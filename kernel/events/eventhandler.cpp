#include "kernel/events/eventhandler.h"

#include <map>
#include <mutex>
#include <set>
#include <utility>
#include <vector>

namespace nubo::events {

struct EventHandler::Private {
  mutable std::mutex mutex;
  std::map<std::pair<QByteArray, QByteArray>, unsigned long> ids;
  std::vector<QByteArray> categories;  // of the type with the id index + 1
  std::set<QByteArray> registered;
  std::set<QByteArray> withdrawn;
};

EventHandler::EventHandler() : d(new Private) {}

EventHandler* EventHandler::getInstance() {
  static auto* handler = new EventHandler;
  return handler;
}

unsigned long EventHandler::addEvent(const char* category, const char* name) {
  const std::lock_guard<std::mutex> lock(d->mutex);
  const auto [entry, isNew] = d->ids.emplace(std::make_pair(QByteArray(category), QByteArray(name)), 0UL);
  if (isNew) {
    d->categories.push_back(entry->first.first);
    entry->second = d->categories.size();
  }
  return entry->second;
}

void EventHandler::registerEventTypes(const char* category) {
  const std::lock_guard<std::mutex> lock(d->mutex);
  d->registered.insert(category);
  d->withdrawn.erase(category);
}

void EventHandler::unregisterEventTypes(const char* category) {
  const std::lock_guard<std::mutex> lock(d->mutex);
  if (d->registered.erase(category) > 0) d->withdrawn.insert(category);
}

bool EventHandler::isRegistered(const char* category) const {
  const std::lock_guard<std::mutex> lock(d->mutex);
  return d->registered.count(category) > 0;
}

bool EventHandler::isDeliverable(unsigned long type) const {
  const std::lock_guard<std::mutex> lock(d->mutex);
  return type > 0 && type <= d->categories.size() && d->withdrawn.count(d->categories[type - 1]) == 0;
}

}  // namespace nubo::events
