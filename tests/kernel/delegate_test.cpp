#include "kernel/util/delegate.h"

#include <gmock/gmock.h>

#include <QCoreApplication>
#include <QThread>
#include <atomic>
#include <future>
#include <memory>
#include <stdexcept>
#include <thread>
#include <vector>

#include "kernel/util/yprogressdialog.h"
#include "support/logcollector.h"

using namespace nubo;
using util::FunctionDelegate;
using util::WorkerDelegate;

namespace {

struct OpenWay {
  OpenWay() { WorkerDelegate::open(); }
  ~OpenWay() { WorkerDelegate::close(); }
};

template <class Condition>
void serveUntil(Condition reached) {
  while (!reached()) QCoreApplication::processEvents();
}

}  // namespace

TEST(WorkerDelegate, RunsOnTheApplicationThreadInOrder) {
  const OpenWay way;
  std::vector<int> order;
  struct Counter {
    std::vector<int>& order;
    void run() { order.push_back(2); }
  } counter{order};
  WorkerDelegate::invoke(new FunctionDelegate([&] { order.push_back(1); }));
  WorkerDelegate::invoke(new util::Delegate0<Counter>(&counter, &Counter::run));
  EXPECT_TRUE(order.empty());
  EXPECT_TRUE(WorkerDelegate::invokeSync(new FunctionDelegate([&] { order.push_back(0); }))) << "runs directly here";

  const test::LogCollector recorder;
  std::atomic<bool> ended{false};
  auto marker = std::make_shared<int>(0);
  std::thread worker([&] {
    WorkerDelegate::invoke(new FunctionDelegate([] { throw std::runtime_error("broken delegate"); }));
    EXPECT_TRUE(WorkerDelegate::invokeSync(new FunctionDelegate([&, marker] {
      EXPECT_EQ(QThread::currentThread(), qApp->thread());
      order.push_back(3);
    })));
    EXPECT_EQ(marker.use_count(), 1) << "the delegate is deleted before the caller goes on";
    ended = true;
  });
  serveUntil([&] { return ended.load(); });
  worker.join();
  EXPECT_EQ(order, (std::vector<int>{0, 1, 2, 3}));
  EXPECT_THAT(recorder.texts(log::Failure), testing::ElementsAre("A delegate failed: broken delegate"));
}

TEST(WorkerDelegate, ReleasesEverybodyWhenTheWayCloses) {
  WorkerDelegate::open();
  std::promise<void> queued;
  bool ran = false;
  std::thread waiting([&] {
    WorkerDelegate::invoke(new FunctionDelegate(
        [&] { EXPECT_FALSE(WorkerDelegate::invoke(new FunctionDelegate([] { FAIL() << "queued while closing"; }))); }));
    queued.set_value();
    EXPECT_TRUE(WorkerDelegate::invokeSync(new FunctionDelegate([&] { ran = true; })) == ran);
  });
  queued.get_future().wait();
  WorkerDelegate::close();
  waiting.join();

  auto marker = std::make_shared<int>(0);
  std::thread late([&] {
    EXPECT_FALSE(WorkerDelegate::invoke(new FunctionDelegate([marker] { FAIL(); })));
    EXPECT_FALSE(WorkerDelegate::invokeSync(new FunctionDelegate([marker] { FAIL(); })));
  });
  late.join();
  EXPECT_EQ(marker.use_count(), 1);

  WorkerDelegate::open();
  WorkerDelegate::invoke(new FunctionDelegate([marker] { ++*marker; }));
  WorkerDelegate::close();
  EXPECT_EQ(*marker, 1) << "what was queued before runs";
}

namespace {

struct Presenter : util::ProgressPresenter {
  void begin(const void* id, const QString& label, bool modal) override {
    calls << QString("begin %1 %2").arg(label).arg(modal);
    current = id;
  }
  void update(const void* id, int percent) override {
    EXPECT_EQ(id, current);
    calls << QString::number(percent);
  }
  void end(const void* id) override {
    EXPECT_EQ(id, current);
    calls << "end";
  }
  QStringList calls;
  const void* current = nullptr;
};

}  // namespace

TEST(YProgressDialog, ShowsTheLatestValueWithoutFloodingTheApplicationThread) {
  const OpenWay way;
  const auto presenter = std::make_shared<Presenter>();
  util::YProgressDialog::setPresenter(presenter);
  const auto work = [](int last) {
    std::thread([last] {
      util::YProgressDialog progress("Building Picture", false);
      for (int i = -5000; i <= last; ++i) progress.setValue(i / 1000);
    }).join();
  };
  work(75000);
  QCoreApplication::processEvents();
  EXPECT_EQ(presenter->calls, QStringList({"begin Building Picture 0", "75", "end"}));
  presenter->calls.clear();
  work(200000);
  QCoreApplication::processEvents();
  EXPECT_EQ(presenter->calls, QStringList({"begin Building Picture 0", "100", "end"}));
  util::YProgressDialog::setPresenter(nullptr);
  work(1000);
  QCoreApplication::processEvents();
  EXPECT_EQ(presenter->calls.size(), 3);
}
