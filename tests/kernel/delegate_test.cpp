#include "kernel/util/delegate.h"

#include <gmock/gmock.h>

#include <QCoreApplication>
#include <QThread>
#include <future>
#include <memory>
#include <stdexcept>

#include "kernel/util/yprogressdialog.h"
#include "support/logcollector.h"
#include "support/waiting.h"

using namespace nubo;
using ::testing::ElementsAre;
using util::FunctionDelegate;
using util::WorkerDelegate;

namespace {

struct OpenWay {
  OpenWay() { WorkerDelegate::open(); }
  ~OpenWay() { WorkerDelegate::close(); }
};

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
  EXPECT_THAT(order, ElementsAre());
  EXPECT_TRUE(WorkerDelegate::invokeSync(new FunctionDelegate([&] { order.push_back(0); }))) << "runs directly here";

  const test::LogCollector recorder;
  const auto marker = std::make_shared<int>(0);
  const auto worker = std::async(std::launch::async, [&] {
    WorkerDelegate::invoke(new FunctionDelegate([] { throw std::runtime_error("broken delegate"); }));
    EXPECT_TRUE(WorkerDelegate::invokeSync(new FunctionDelegate([&, marker] {
      EXPECT_EQ(QThread::currentThread(), qApp->thread());
      order.push_back(3);
    })));
    EXPECT_EQ(marker.use_count(), 1) << "the delegate is deleted before the caller goes on";
  });
  EXPECT_TRUE(test::waitUntil([&] { return worker.wait_for(std::chrono::seconds(0)) == std::future_status::ready; }));
  EXPECT_THAT(order, ElementsAre(0, 1, 2, 3));
  EXPECT_THAT(recorder.texts(log::Failure), ElementsAre("A delegate failed: broken delegate"));
}

TEST(WorkerDelegate, ReleasesEverybodyWhenTheWayCloses) {
  WorkerDelegate::open();
  std::promise<void> queued;
  bool ran = false;
  const auto waiting = std::async(std::launch::async, [&] {
    WorkerDelegate::invoke(new FunctionDelegate([&] {
      EXPECT_FALSE(WorkerDelegate::invoke(new FunctionDelegate([] { FAIL() << "queued while closing"; })));
      EXPECT_TRUE(WorkerDelegate::invokeSync(new FunctionDelegate([&] { ran = true; }))) << "refused while closing";
    }));
    queued.set_value();
    bool served = false;
    EXPECT_TRUE(WorkerDelegate::invokeSync(new FunctionDelegate([&] { served = true; })) == served);
  });
  queued.get_future().wait();
  WorkerDelegate::close();
  waiting.wait();
  EXPECT_TRUE(ran) << "what was queued before runs";

  const auto marker = std::make_shared<int>(0);
  std::async(std::launch::async, [&] {
    EXPECT_FALSE(WorkerDelegate::invoke(new FunctionDelegate([marker] { FAIL(); })));
    EXPECT_FALSE(WorkerDelegate::invokeSync(new FunctionDelegate([marker] { FAIL(); })));
  }).wait();
  EXPECT_EQ(marker.use_count(), 1);
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
  const auto callsFor = [&](int last) {
    presenter->calls.clear();
    std::async(std::launch::async, [last] {
      util::YProgressDialog progress("Building Picture", false);
      for (int i = -5000; i <= last; ++i) progress.setValue(i / 1000);
    }).wait();
    WorkerDelegate::runQueued();
    return presenter->calls;
  };
  util::YProgressDialog::setPresenter(presenter);
  EXPECT_EQ(callsFor(75000), QStringList({"begin Building Picture 0", "75", "end"}));
  EXPECT_EQ(callsFor(200000), QStringList({"begin Building Picture 0", "100", "end"}));
  util::YProgressDialog::setPresenter(nullptr);
  EXPECT_EQ(callsFor(1000), QStringList());
}
