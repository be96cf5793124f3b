#include "module_scene/graph/scene.h"

#include <QCoreApplication>
#include <QMutex>
#include <QThread>
#include <QWaitCondition>
#include <algorithm>
#include <array>
#include <list>
#include <map>

namespace nubo::scene {

namespace {

std::atomic<Scene*> s_GlobalScene{nullptr};

constexpr int TypeCount = 3;

struct Request {
  int types;
  bool isChange;

  bool conflictsWith(const Request& other) const { return (types & other.types) && (isChange || other.isChange); }
};

// What one thread holds, counted per type.
struct Holding {
  std::array<int, TypeCount> locks{};
  std::array<int, TypeCount> changes{};

  static int typesOf(const std::array<int, TypeCount>& counts) {
    int types = 0;
    for (int i = 0; i < TypeCount; ++i)
      if (counts[i] > 0) types |= 1 << i;
    return types;
  }
  int lockedTypes() const { return typesOf(locks); }
  int changedTypes() const { return typesOf(changes); }
  bool isEmpty() const { return !lockedTypes() && !changedTypes(); }
};

bool isApplicationThread() {
  return QCoreApplication::instance() && QCoreApplication::instance()->thread() == QThread::currentThread();
}

}  // namespace

struct Scene::Private {
  mutable QMutex mutex;
  QWaitCondition changed;
  std::map<Qt::HANDLE, Holding> holders;
  std::list<Request> waiting;  // in the order of arrival
  util::YPointer<SceneElement> root;
  Background background;
  util::YPointer<util::YObject> environment;
  util::YPointer<Section> section;
  std::uint64_t changeCount = 0;

  bool isHeldAgainst(const Request& request, Qt::HANDLE thread) const {
    return std::any_of(holders.begin(), holders.end(), [&](const auto& entry) {
      return entry.first != thread && ((request.types & entry.second.changedTypes()) ||
                                       (request.isChange && (request.types & entry.second.lockedTypes())));
    });
  }

  void acquire(const Request& request) {
    const QMutexLocker locker(&mutex);
    const Qt::HANDLE thread = QThread::currentThreadId();
    const bool mayPass = holders.count(thread) || (!request.isChange && isApplicationThread());
    const auto own = waiting.insert(waiting.end(), request);
    const auto mustWait = [&] {
      return isHeldAgainst(request, thread) || (!mayPass && std::any_of(waiting.begin(), own, [&](const Request& r) {
               return r.conflictsWith(request);
             }));
    };
    while (mustWait()) changed.wait(&mutex);
    waiting.erase(own);
    Holding& holding = holders[thread];
    auto& counts = request.isChange ? holding.changes : holding.locks;
    for (int i = 0; i < TypeCount; ++i)
      if (request.types & (1 << i)) ++counts[i];
    changed.wakeAll();
  }

  void release(const Request& request) {
    const QMutexLocker locker(&mutex);
    const auto held = holders.find(QThread::currentThreadId());
    Q_ASSERT_X(held != holders.end(), "nubo::scene::Scene", "unlocked by a thread that holds no lock");
    if (held == holders.end()) return;
    if (request.isChange) ++changeCount;
    auto& counts = request.isChange ? held->second.changes : held->second.locks;
    for (int i = 0; i < TypeCount; ++i)
      if ((request.types & (1 << i)) && counts[i] > 0) --counts[i];
    if (held->second.isEmpty()) holders.erase(held);
    changed.wakeAll();
  }
};

Scene::Scene() : d(std::make_unique<Private>()) {}
Scene::~Scene() = default;

util::YPointer<SceneElement> Scene::getRootNode() const {
  const QMutexLocker locker(&d->mutex);
  return d->root;
}

void Scene::setRootNode(const util::YPointer<SceneElement>& root) {
  util::YPointer<SceneElement> old = root;  // ends up with the old tree, which goes after the change
  beginChange(LockStructure);
  {
    const QMutexLocker locker(&d->mutex);
    std::swap(old, d->root);
  }
  endChange(LockStructure);
}

QColor Scene::getBackgroundColor() const { return getBackground().color; }

Background Scene::getBackground() const {
  const QMutexLocker locker(&d->mutex);
  return d->background;
}

void Scene::setBackground(const Background& background) {
  beginChange(LockData);
  {
    const QMutexLocker locker(&d->mutex);
    d->background = background;
  }
  endChange(LockData);
}

util::YPointer<util::YObject> Scene::getEnvironment() const {
  const QMutexLocker locker(&d->mutex);
  return d->environment;
}

void Scene::setEnvironment(const util::YPointer<util::YObject>& environment) {
  util::YPointer<util::YObject> old = environment;  // goes after the lock
  const QMutexLocker locker(&d->mutex);
  std::swap(old, d->environment);
}

util::YPointer<Section> Scene::getSection() const {
  const QMutexLocker locker(&d->mutex);
  return d->section;
}

void Scene::setSection(const util::YPointer<Section>& section) {
  util::YPointer<Section> old = section;  // goes after the lock
  const QMutexLocker locker(&d->mutex);
  std::swap(old, d->section);
}

void Scene::lock(LOCKTYPE type) { d->acquire({type, false}); }
void Scene::unlock(LOCKTYPE type) { d->release({type, false}); }

std::uint64_t Scene::changeCount() const {
  const QMutexLocker locker(&d->mutex);
  return d->changeCount;
}

void Scene::beginChange(LOCKTYPE type) { d->acquire({type, true}); }
void Scene::endChange(LOCKTYPE type) { d->release({type, true}); }

SceneLocker::SceneLocker(const util::YPointer<Scene>& scene, LOCKTYPE type) : m_Scene(scene), m_Type(type) {
  if (m_Scene) m_Scene->lock(m_Type);
}

SceneLocker::~SceneLocker() { unlock(); }

void SceneLocker::unlock() {
  if (!m_Scene) return;
  m_Scene->unlock(m_Type);
  m_Scene = nullptr;
}

SceneChange::SceneChange(const util::YPointer<Scene>& scene, LOCKTYPE type) : m_Scene(scene), m_Type(type) {
  if (m_Scene) m_Scene->beginChange(m_Type);
}

SceneChange::~SceneChange() {
  if (m_Scene) m_Scene->endChange(m_Type);
}

util::YPointer<Scene> _GlobalScene() { return s_GlobalScene.load(); }

void setGlobalScene(Scene* scene) { s_GlobalScene = scene; }

}  // namespace nubo::scene
