#include "module_scene/graph/scene.h"

#include <gmock/gmock.h>

#include <QSemaphore>
#include <atomic>
#include <thread>

#include "module_scene/builtin/builtinscene.h"
#include "module_scene/mesh/preparation.h"

namespace nubo::scene {
namespace {

using ScenePointer = util::YPointer<Scene>;

// Long enough for another thread to get where it must not get; a fault shows nearly always, a correct program
// never fails.
void giveTime() { std::this_thread::sleep_for(std::chrono::milliseconds(50)); }

TEST(SceneLocks, KeepOutChangesOfWhatTheyNameButNoReaders) {
  const ScenePointer scene(new Scene);
  std::atomic<bool> changed{false};
  SceneLocker lock(scene, LockTransforms);

  std::thread([&] { const SceneLocker other(scene, LockAll); }).join();
  std::thread([&] { const SceneChange other(scene, LockData); }).join();
  std::thread change([&] {
    const SceneChange self(scene, LockAll);
    changed = true;
  });
  giveTime();
  EXPECT_FALSE(changed);
  lock.unlock();
  change.join();
  EXPECT_TRUE(changed);
}

TEST(SceneLocks, ThreadThatHoldsALockTakesAnotherPastAWaitingChange) {
  const ScenePointer scene(new Scene);
  std::atomic<bool> changed{false};
  QSemaphore held, goOn;
  std::thread reader([&] {
    const SceneLocker outer(scene, LockAll);
    held.release();
    goOn.acquire();
    const SceneLocker inner(scene, LockStructure);  // would wait for ever if it queued
    EXPECT_FALSE(changed);
  });
  held.acquire();
  std::thread changer([&] {
    const SceneChange self(scene, LockAll);
    const SceneChange nested(scene, LockData);
    scene->setBackgroundColor(Qt::red);  // a change of its own, inside
    changed = true;
  });
  giveTime();
  goOn.release();
  reader.join();
  changer.join();
  EXPECT_EQ(scene->getBackgroundColor(), QColor(Qt::red));
}

TEST(SceneLocks, ChangesAreNotStarvedByReadersThatComeLater) {
  const ScenePointer scene(new Scene);
  std::atomic<bool> changed{false}, changedBeforeLateReader{false};
  QSemaphore held, goOn;
  std::thread reader([&] {
    const SceneLocker lock(scene, LockAll);
    held.release();
    goOn.acquire();
  });
  held.acquire();
  std::thread changer([&] {
    const SceneChange self(scene, LockAll);
    changed = true;
  });
  giveTime();
  std::thread lateReader([&] {
    const SceneLocker lock(scene, LockAll);
    changedBeforeLateReader = changed.load();
  });
  giveTime();
  { const SceneLocker applicationThread(scene, LockAll); }  // passes, although a change waits
  EXPECT_FALSE(changed);
  goOn.release();
  for (std::thread* thread : {&reader, &changer, &lateReader}) thread->join();
  EXPECT_TRUE(changedBeforeLateReader);
}

TEST(SceneLocks, ReadersOnManyThreadsNeverSeeHalfAChange) {
  const ScenePointer scene(new Scene);
  int first = 0, second = 0;  // deliberately not atomic
  std::atomic<int> torn{0};
  std::vector<std::thread> threads;
  for (int t = 0; t < 3; ++t) {
    threads.emplace_back([&] {
      for (int i = 0; i < 500; ++i) {
        const SceneChange change(scene, LockTransforms);
        ++first;
        std::this_thread::yield();
        ++second;
      }
    });
    threads.emplace_back([&] {
      for (int i = 0; i < 500; ++i) {
        const SceneLocker lock(scene, LockAll);
        if (first != second) ++torn;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(torn, 0);
  EXPECT_EQ(first, 1500);
}

TEST(Scene, ReplacedRootLivesAsLongAsSomebodyHoldsIt) {
  const ScenePointer scene(new Scene);
  EXPECT_FALSE(scene->getRootNode());
  scene->setRootNode(new SceneElement(QStringLiteral("old")));
  const auto old = scene->getRootNode();
  scene->setRootNode(nullptr);
  EXPECT_FALSE(scene->getRootNode());
  EXPECT_EQ(old->getName(), QStringLiteral("old"));
  EXPECT_EQ(old->referenceCount(), 1);
}

TEST(SceneElement, KnowsItsPlaceInTheTree) {
  const util::YPointer<SceneElement> root(new SceneElement(QStringLiteral("root")));
  const util::YPointer<SceneElement> arm(new SceneElement(QStringLiteral("arm")));
  const util::YPointer<SceneElement> hand(new SceneElement(QStringLiteral("hand")));
  util::YPointer<Geometry> point(new Geometry);
  point->kind = KindPoints;
  point->positions = {1, 0, 0};
  point->indices = {0};
  prepare(*point);
  hand->addGeometry(point);
  root->setTransform(math::scaling(2, 2, 2));
  arm->setTransform(math::translation(0, 3, 0));
  root->addChild(hand);
  root->addChild(arm);
  arm->addChild(hand);  // from root
  EXPECT_EQ(root->getChildren().size(), 1u);
  EXPECT_EQ(root->find(QStringLiteral("hand")), hand.get());
  EXPECT_EQ(math::transformPoint(hand->getGlobalTransform(), {1, 0, 0}), (math::Vector3{2, 6, 0}));
  EXPECT_EQ(root->getBoundingBox().max, (math::Vector3{2, 6, 0}));
  arm->setVisible(false);
  EXPECT_TRUE(root->getBoundingBox().isEmpty());
  arm->removeChild(hand.get());
  EXPECT_EQ(hand->getParent(), nullptr);
}

// Solids of the scene without a file must be closed and look outwards, or their inside shows.
TEST(BuiltinScene, IsMadeOfSoundSolidsWithJointsToMove) {
  const auto root = createBuiltinScene();
  for (const char* name : {"gear.large", "gear.small", "arm.base", "arm.shoulder", "arm.elbow", "arm.wrist", "wheel"})
    EXPECT_NE(root->find(QString::fromLatin1(name)), nullptr) << name;
  for (const char* name : {"gear.large", "arm.elbow", "wheel", "balls"})
    for (const auto& geometry : root->find(QString::fromLatin1(name))->getGeometries())
      EXPECT_TRUE(geometry->closed) << name;
  EXPECT_TRUE(root->find(QStringLiteral("glass"))->getGeometries().back()->transparent);
}

}  // namespace
}  // namespace nubo::scene
