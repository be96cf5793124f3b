#include "kernel/main/command.h"

#include <gmock/gmock.h>

#include <QCoreApplication>
#include <QSemaphore>
#include <QThread>
#include <QTimer>
#include <atomic>
#include <deque>
#include <memory>
#include <mutex>
#include <stdexcept>

#include "kernel/main/commandmanager.h"
#include "kernel/main/overseer.h"
#include "kernel/util/delegate.h"
#include "kernel/util/functioncommand.h"
#include "support/logcollector.h"
#include "support/values.h"
#include "support/waiting.h"

using namespace nubo;
using main::Command;
using main::CommandProcessor;
using test::textValues;
using ::testing::ElementsAre;
using util::FunctionCommand;

namespace {

/// "text" (required), "width" (default 10000) and "scale" (may be missing).
struct Resize : Command {
  Resize() : Command(new main::CommandDescriptor("resizes", "resize"), nullptr) {
    main::ParameterSet set(4, QString());
    set.addParameter(new main::Parameter<QString>("text", "", "", true, nullptr));
    set.addParameter(new main::Parameter<int>("width", "", "", true, nullptr));
    set.addParameter(new main::Parameter<double>("scale", "", "", false, nullptr));
    set.parameters()[1]->setDefaultParameterForDefaultGUI("10000");
    m_ParameterSets.push_back(set);
  }
  static Command* create() { return new Resize; }
  void execute() override {}

  static std::string currentOf(const Command& command) {
    QStringList texts;
    if (const auto* set = dynamic_cast<const Resize&>(command).mp_CurrentParameterSet)
      for (const auto* parameter : set->parameters()) texts << parameter->toString();
    return texts.join(' ').toStdString();
  }
};

/// Runs until it is aborted, and does not hear the first aborts, like one that is still setting up.
class Recording : public Command {
 public:
  explicit Recording(int deafTo = 0) : Command(nullptr, nullptr), m_DeafTo(deafTo) {
    m_Abortable = true;
    ++alive;
  }
  ~Recording() override { alive -= QThread::currentThread() == qApp->thread(); }
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
  inline static int alive = 0;

 private:
  std::atomic<int> m_DeafTo;
  QSemaphore m_Stop;
};

class CommandProcessorTest : public testing::Test {
 protected:
  bool queue(Command& command) { return processor.processCommand(&command, CommandProcessor::Queued, true); }
  bool run(Command& command) { return processor.processCommand(&command, CommandProcessor::Wait, true); }
  bool settle() {
    return test::waitUntil([this] { return !processor.isRunning(); });
  }

  main::Overseer overseer{QStringLiteral("unused.ini")};
  CommandProcessor& processor = *overseer.getCommandProcessor();
};

}  // namespace

TEST(Command, TakesAllParametersOrNone) {
  const struct {
    int id;
    QStringList values;
    const char* current;  // null: refused
  } rows[] = {
      {5, {"a", "1", "1"}, nullptr},       {4, {"a", "1"}, nullptr},
      {4, {"a", "20", "1.5"}, "a 20 1.5"}, {4, {"b", "30", "much"}, nullptr},
      {4, {QString(), "3", "2"}, nullptr}, {4, {"b", QString(), QString()}, "b 10000 "},
  };
  Resize command;
  std::string current;
  for (const auto& row : rows) {
    SCOPED_TRACE(row.values.join(' ').toStdString());
    EXPECT_EQ(command.setParameters(textValues(row.id, row.values)), row.current != nullptr);
    if (row.current) current = row.current;
    EXPECT_EQ(Resize::currentOf(command), current);
  }
}

TEST(Command, ClonesWithItsCurrentValues) {
  auto* manager = main::CommandManager::getInstance();
  EXPECT_EQ(std::unique_ptr<Command>(Resize().clone()), nullptr) << "not registered";
  ASSERT_TRUE(manager->add(new Resize, &Resize::create));
  const test::LogCollector recorder;
  EXPECT_FALSE(manager->add(new Resize, &Resize::create));
  EXPECT_THAT(recorder.texts(log::Failure), ElementsAre("The command name \"resize\" is missing or taken"));

  Command* original = manager->find("resize");
  EXPECT_EQ(Resize::currentOf(*std::unique_ptr<Command>(original->clone())), "");
  ASSERT_TRUE(original->setParameters(textValues(4, {"a", "20", QString()})));
  const std::unique_ptr<Command> clone(original->clone());
  ASSERT_TRUE(original->setParameters(textValues(4, {"b", "30", "3"})));
  EXPECT_EQ(Resize::currentOf(*clone), "a 20 ");
  manager->removeOf({&Resize::create});
  EXPECT_EQ(manager->find("resize"), nullptr);
  EXPECT_EQ(clone->clone(), nullptr);
}

TEST_F(CommandProcessorTest, StartsInOrderAndSideBySide) {
  std::mutex mutex;
  std::vector<int> starts;
  Recording first;
  queue(first);
  std::deque<FunctionCommand> commands;
  for (int i = 0; i < 20; ++i) {
    QObject::connect(commands.emplace_back([] {}, false, nullptr).monitor(), &main::CommandMonitor::started, [&, i] {
      const std::lock_guard<std::mutex> lock(mutex);
      starts.push_back(i);
    });
    queue(commands.back());
  }
  FunctionCommand last([] {}, false, nullptr);
  EXPECT_TRUE(run(last)) << "the first still runs";
  first.begun.acquire();
  EXPECT_TRUE(processor.isRunning());
  processor.abortAll();
  EXPECT_TRUE(settle());
  EXPECT_TRUE(first.cleanedUp);
  EXPECT_EQ(starts.size(), commands.size());
  EXPECT_TRUE(std::is_sorted(starts.begin(), starts.end()));
}

TEST_F(CommandProcessorTest, WaitsWhileTheApplicationThreadServes) {
  QSemaphore fired;
  QTimer::singleShot(0, [&] { fired.release(); });
  QThread* outer = nullptr;
  QThread* inner = nullptr;
  FunctionCommand nested([&] { inner = QThread::currentThread(); }, true, nullptr);
  const auto work = [&] {
    fired.acquire();
    outer = QThread::currentThread();
    EXPECT_TRUE(run(nested));
    EXPECT_EQ(inner, outer);
  };
  FunctionCommand command(work, false, nullptr);
  EXPECT_TRUE(run(command));
  EXPECT_NE(outer, QThread::currentThread());
}

TEST_F(CommandProcessorTest, LogsWhatACommandThrows) {
  const test::LogCollector recorder;
  FunctionCommand command([] { throw std::runtime_error("out of paint"); }, false,
                          new main::CommandDescriptor("", "paint"));
  EXPECT_TRUE(run(command));
  EXPECT_THAT(recorder.texts(log::Failure), ElementsAre(R"(Command "paint" failed: out of paint)"));
}

TEST_F(CommandProcessorTest, ShutsDownWithCommandsUnderWay) {
  Recording kept;
  auto* owned = new Recording;
  queue(kept);
  queue(kept);  // waits for its own first run
  queue(*owned);
  processor.processCommand(owned, CommandProcessor::Queued, false);
  processor.processCommand(new Recording(2), CommandProcessor::Queued, false);
  kept.begun.acquire();
  owned->begun.acquire();
  processor.shutDown();
  EXPECT_FALSE(processor.isRunning());
  EXPECT_TRUE(kept.cleanedUp);
  EXPECT_EQ(kept.begun.available(), 0) << "what had not started stays unrun";
  EXPECT_FALSE(run(kept));
  EXPECT_FALSE(processor.processCommand(new Recording, CommandProcessor::Queued, false));
  EXPECT_EQ(kept.begun.available(), 0);
  EXPECT_EQ(Recording::alive, 1);
}
