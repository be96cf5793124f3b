#include "module_scene/graph/scene.h"

#include <gtest/gtest.h>

#include <QSemaphore>
#include <future>
#include <thread>

#include "module_scene/builtin/builtinscene.h"
#include "support/quad.h"

namespace nubo::scene {
namespace {

using namespace std::chrono_literals;

class SceneLocks : public testing::Test {
 protected:
  using Work = std::future<void>;

  template <class Function>
  static Work start(Function function) {
    return std::async(std::launch::async, function);
  }
  Work lock(LOCKTYPE type) {
    return start([=] { const SceneLocker locker(scene, type); });
  }
  Work change(LOCKTYPE type) {
    return start([=] { const SceneChange self(scene, type); });
  }
  /// Long enough to get where it must not get; a fault shows nearly always, a correct program never fails.
  static bool waits(const Work& work) { return work.wait_for(50ms) == std::future_status::timeout; }
  static bool ends(const Work& work) { return work.wait_for(20s) == std::future_status::ready; }

  const util::YPointer<Scene> scene{new Scene};
};

TEST_F(SceneLocks, KeepOutChangesOfWhatTheyNameButNoReaders) {
  SceneLocker locker(scene, LockTransforms);
  EXPECT_TRUE(ends(lock(LockAll)));
  EXPECT_TRUE(ends(change(LockData)));
  const std::uint64_t before = scene->changeCount();
  const Work all = change(LockAll), moves = change(LockTransforms);
  EXPECT_TRUE(waits(all) && waits(moves));
  EXPECT_EQ(scene->changeCount(), before);
  locker.unlock();
  EXPECT_TRUE(ends(all) && ends(moves));
  EXPECT_EQ(scene->changeCount(), before + 2);
}

TEST_F(SceneLocks, ThreadThatHoldsALockTakesAnotherPastAWaitingChange) {
  QSemaphore held, goOn;
  const Work reader = start([&] {
    const SceneLocker outer(scene, LockAll);
    held.release();
    goOn.acquire();
    const SceneLocker inner(scene, LockStructure);  // would wait for ever if it queued
    EXPECT_NE(scene->getBackgroundColor(), QColor(Qt::red));
  });
  held.acquire();
  const Work changer = start([&] {
    const SceneChange self(scene, LockAll);
    const SceneChange nested(scene, LockData);
    scene->setBackground({Qt::red});  // a change of its own, inside
  });
  EXPECT_TRUE(waits(changer));
  goOn.release();
  EXPECT_TRUE(ends(reader) && ends(changer));
  EXPECT_EQ(scene->getBackgroundColor(), QColor(Qt::red));
}

TEST_F(SceneLocks, ChangesAreNotStarvedByReadersThatComeLater) {
  QSemaphore held, goOn;
  const Work reader = start([&] {
    const SceneLocker locker(scene, LockAll);
    held.release();
    goOn.acquire();
  });
  held.acquire();
  const Work changer = change(LockAll);
  EXPECT_TRUE(waits(changer));
  std::uint64_t changesBeforeLateReader = 0;
  const Work lateReader = start([&] {
    const SceneLocker locker(scene, LockAll);
    changesBeforeLateReader = scene->changeCount();
  });
  EXPECT_TRUE(waits(lateReader));
  { const SceneLocker applicationThread(scene, LockAll); }  // passes, although a change waits
  EXPECT_TRUE(waits(changer));
  goOn.release();
  EXPECT_TRUE(ends(reader) && ends(changer) && ends(lateReader));
  EXPECT_EQ(changesBeforeLateReader, 1u);
}

TEST_F(SceneLocks, ReadersOnManyThreadsNeverSeeHalfAChange) {
  int first = 0, second = 0;  // deliberately not atomic
  std::vector<Work> threads;
  for (int t = 0; t < 3; ++t) {
    threads.push_back(start([&] {
      for (int i = 0; i < 500; ++i) {
        const SceneChange change(scene, LockTransforms);
        ++first;
        std::this_thread::yield();
        ++second;
      }
    }));
    threads.push_back(start([&] {
      for (int i = 0; i < 500; ++i) {
        const SceneLocker locker(scene, LockAll);
        if (first != second) ADD_FAILURE() << first << " is not " << second;
      }
    }));
  }
  for (const Work& thread : threads) EXPECT_TRUE(ends(thread));
  EXPECT_EQ(first, 1500);
}

TEST(SceneElement, KnowsItsPlaceInTheTree) {
  const util::YPointer<SceneElement> root(new SceneElement(QStringLiteral("root")));
  const util::YPointer<SceneElement> arm(new SceneElement(QStringLiteral("arm")));
  const util::YPointer<SceneElement> hand(new SceneElement(QStringLiteral("hand")));
  hand->addGeometry(test::dots({{1, 0, 0}}));
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
