#include "kernel/main/command.h"

#include <gmock/gmock.h>

#include <QCoreApplication>
#include <QSemaphore>
#include <QThread>
#include <QTimer>
#include <atomic>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <vector>

#include "kernel/main/commandmanager.h"
#include "kernel/main/overseer.h"
#include "kernel/main/parameter.h"
#include "kernel/util/delegate.h"
#include "kernel/util/functioncommand.h"
#include "support/logcollector.h"

using namespace nubo;
using main::Command;
using main::CommandProcessor;
using ::testing::ElementsAre;
using util::FunctionCommand;

namespace {

/// "text" (required), "width" (default 10000) and "scale" (may be missing).
class Resize : public Command {
 public:
  Resize() : Command(new main::CommandDescriptor("resizes", "resize"), nullptr) {
    main::ParameterSet set(4, QString());
    set.addParameter(new main::Parameter<QString>("text", "", "", true, nullptr));
    set.addParameter(new main::Parameter<int>("width", "", "", true, nullptr));
    set.addParameter(new main::Parameter<double>("scale", "", "", false, nullptr));
    (*set.getParameterList())[1]->setDefaultParameterForDefaultGUI("10000");
    m_ParameterSets.push_back(set);
  }
  static Command* create() { return new Resize; }
  void execute() override {}

  QStringList current() const {
    QStringList texts;
    if (!mp_CurrentParameterSet) return texts;
    for (const auto* parameter : mp_CurrentParameterSet->parameters()) texts << parameter->toString();
    return texts;
  }
};

/// Values as texts, null for a missing one.
main::ParameterSet values(int id, const QStringList& texts) {
  main::ParameterSet set(id, QString());
  for (const QString& text : texts) {
    auto* parameter = new main::Parameter<QString>("value", "", "", true, nullptr);
    if (!text.isNull()) parameter->castString(text);
    set.addParameter(parameter);
  }
  return set;
}

/// Runs until it is aborted, and does not hear the first aborts, like one that is still setting up.
class Recording : public Command {
 public:
  explicit Recording(int deafTo = 0) : Command(nullptr, nullptr), m_DeafTo(deafTo) { m_Abortable = true; }
  ~Recording() override { EXPECT_EQ(QThread::currentThread(), qApp->thread()); }
  void execute() override {
    begun.release();
    m_Stop.acquire();
    // What a command does at its end needs the application thread.
    util::WorkerDelegate::invokeSync(new util::FunctionDelegate([this] { cleanedUp = true; }));
  }
  void abort() override {
    if (m_DeafTo-- <= 0) m_Stop.release();
  }
  QSemaphore begun;
  std::atomic<bool> cleanedUp{false};

 private:
  std::atomic<int> m_DeafTo;
  QSemaphore m_Stop;
};

class CommandProcessorTest : public testing::Test {
 protected:
  main::Overseer overseer{QStringLiteral("unused.ini")};
  CommandProcessor& processor = *overseer.getCommandProcessor();

  void settle() {
    while (processor.isRunning()) QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
  }
};

}  // namespace

TEST(Command, TakesAllParametersOrNone) {
  Resize command;
  EXPECT_FALSE(command.setParameters(values(5, {"a", "1", "1"})));
  EXPECT_FALSE(command.setParameters(values(4, {"a", "1"})));
  EXPECT_TRUE(command.current().isEmpty());
  ASSERT_TRUE(command.setParameters(values(4, {"a", "20", "1.5"})));
  EXPECT_EQ(command.current(), QStringList({"a", "20", "1.5"}));
  EXPECT_FALSE(command.setParameters(values(4, {"b", "30", "much"})));
  EXPECT_FALSE(command.setParameters(values(4, {QString(), "30", "2"})));
  EXPECT_EQ(command.current(), QStringList({"a", "20", "1.5"}));
  ASSERT_TRUE(command.setParameters(values(4, {"b", QString(), QString()})));
  EXPECT_EQ(command.current(), QStringList({"b", "10000", QString()}));
}

TEST(Command, ClonesWithItsCurrentValues) {
  auto* manager = main::CommandManager::getInstance();
  EXPECT_EQ(std::unique_ptr<Command>(Resize().clone()), nullptr) << "not registered";
  ASSERT_TRUE(manager->add(new Resize, &Resize::create));
  const test::LogCollector recorder;
  EXPECT_FALSE(manager->add(new Resize, &Resize::create));
  EXPECT_EQ(recorder.messages(log::Failure).size(), 1U);

  Command* original = manager->find("resize");
  const std::unique_ptr<Command> empty(original->clone());
  EXPECT_TRUE(dynamic_cast<Resize&>(*empty).current().isEmpty());
  ASSERT_TRUE(original->setParameters(values(4, {"a", "20", QString()})));
  const std::unique_ptr<Command> clone(original->clone());
  ASSERT_TRUE(original->setParameters(values(4, {"b", "30", "3"})));
  EXPECT_EQ(dynamic_cast<Resize&>(*clone).current(), QStringList({"a", "20", QString()}));
  manager->removeOf({&Resize::create});
  EXPECT_EQ(manager->find("resize"), nullptr);
  EXPECT_EQ(clone->clone(), nullptr);
}

TEST_F(CommandProcessorTest, StartsInOrderAndSideBySide) {
  std::mutex mutex;
  std::vector<int> starts;
  Recording first;
  processor.processCommand(&first, CommandProcessor::Queued, true);
  std::vector<std::unique_ptr<FunctionCommand>> commands;
  for (int i = 0; i < 20; ++i) {
    commands.push_back(std::make_unique<FunctionCommand>([] {}, false, nullptr));
    QObject::connect(commands.back()->monitor(), &main::CommandMonitor::started, [&, i] {
      const std::lock_guard<std::mutex> lock(mutex);
      starts.push_back(i);
    });
  }
  for (const auto& command : commands) processor.processCommand(command.get(), CommandProcessor::Queued, true);
  FunctionCommand last([] {}, false, nullptr);
  EXPECT_TRUE(processor.processCommand(&last, CommandProcessor::Wait, true)) << "the first still runs";
  first.begun.acquire();
  EXPECT_TRUE(processor.isRunning());
  processor.abortAll();
  settle();
  EXPECT_TRUE(first.cleanedUp);
  ASSERT_EQ(starts.size(), commands.size());
  EXPECT_TRUE(std::is_sorted(starts.begin(), starts.end()));
}

TEST_F(CommandProcessorTest, NeverRunsOneObjectTwiceAtOnce) {
  std::atomic<int> inside{0};
  std::atomic<int> runs{0};
  FunctionCommand command(
      [&] {
        EXPECT_EQ(++inside, 1);
        QThread::msleep(5);
        --inside;
        ++runs;
      },
      false, nullptr);
  for (int i = 0; i < 4; ++i) processor.processCommand(&command, CommandProcessor::Queued, true);
  EXPECT_TRUE(processor.processCommand(&command, CommandProcessor::Wait, true));
  settle();
  EXPECT_EQ(runs, 5);
}

TEST_F(CommandProcessorTest, WaitsWhileTheApplicationThreadServes) {
  bool timerFired = false;
  QSemaphore fired;
  QTimer::singleShot(0, [&] {
    timerFired = true;
    fired.release();
  });
  Qt::HANDLE outer = nullptr;
  Qt::HANDLE inner = nullptr;
  auto* command = new FunctionCommand(
      [&] {
        fired.acquire();
        outer = QThread::currentThreadId();
        processor.processCommand(new FunctionCommand([&] { inner = QThread::currentThreadId(); }, true, nullptr),
                                 CommandProcessor::Wait, false);
        EXPECT_NE(inner, nullptr);
      },
      false, nullptr);
  EXPECT_TRUE(processor.processCommand(command, CommandProcessor::Wait, false));
  EXPECT_TRUE(timerFired);
  EXPECT_NE(outer, QThread::currentThreadId());
  EXPECT_EQ(inner, outer);
}

TEST_F(CommandProcessorTest, LogsWhatACommandThrows) {
  const test::LogCollector recorder;
  const auto fail = [] { throw std::runtime_error("out of paint"); };
  EXPECT_TRUE(processor.processCommand(new FunctionCommand(fail, false, new main::CommandDescriptor("", "paint")),
                                       CommandProcessor::Wait, false));
  EXPECT_THAT(recorder.texts(log::Failure), ElementsAre(R"(Command "paint" failed: out of paint)"));
}

TEST_F(CommandProcessorTest, ShutsDownWithCommandsUnderWay) {
  Recording recording;
  processor.processCommand(&recording, CommandProcessor::Queued, true);
  processor.processCommand(new Recording(2), CommandProcessor::Queued, false);
  recording.begun.acquire();
  bool unrun = false;
  FunctionCommand waiting([&] { unrun = true; }, false, nullptr);
  processor.processCommand(&recording, CommandProcessor::Queued, true);  // waits for its own first run
  processor.shutDown();
  EXPECT_FALSE(processor.isRunning());
  EXPECT_TRUE(recording.cleanedUp);
  EXPECT_EQ(recording.begun.available(), 0) << "what had not started stays unrun";
  EXPECT_FALSE(processor.processCommand(&waiting, CommandProcessor::Wait, true));
  EXPECT_FALSE(processor.processCommand(new Recording, CommandProcessor::Queued, false));
  EXPECT_FALSE(unrun);
}
