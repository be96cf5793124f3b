// A module that notes in the log what the host does with it; built several times, with faults that go by its name.
#include <QThread>
#include <stdexcept>

#include "kernel/log/logger.h"
#include "kernel/main/module.h"
#include "kernel/main/overseer.h"
#include "kernel/util/delegate.h"
#include "kernel/util/functioncommand.h"

using namespace nubo;

namespace {

const QString name = TEST_MODULE_NAME;

void note(const char* what) { NUBO_LOG(log::Note, "life", "%s %s", TEST_MODULE_NAME, what); }

struct Library {
  ~Library() { note("unloaded"); }
} library;

}  // namespace

#ifndef TEST_MODULE_CNOENTRY

namespace {

void noteLater(const char* what) {
  util::WorkerDelegate::invoke(new util::FunctionDelegate([what] { note(what); }));
}

/// Work that outlasts the failure of its module.
void queueWork() {
  const auto work = [] {
    QThread::msleep(50);
    note("worked");
  };
  main::Overseer::getInstance()->getCommandProcessor()->processCommand(new util::FunctionCommand(work, true, nullptr),
                                                                       main::CommandProcessor::Queued, false);
}

class TestCommand : public main::Command {
 public:
  TestCommand()
      : Command(new main::CommandDescriptor("does nothing", name + ".command"),
                new main::CommandGUIDescriptor(main::CommandGUIDescriptor::Menu, "Test", 10, name + ".command", "Test",
                                               nullptr)) {
    note("command made");
  }
  ~TestCommand() override { note("command deleted"); }
  void execute() override {}
  static Command* create() { return new TestCommand; }
  static Command* createNone() {
    queueWork();
    return nullptr;
  }
};

class TestModule : public main::Module {
 public:
  using Module::Module;
  ~TestModule() override {
    note("module deleted");
    noteLater("said farewell");
  }
  bool hasStartupActions() override { return true; }
  void doStartupActions(boost::function<void(QString)> progress) override {
    if (name == "estartthrows") {
      queueWork();
      throw std::runtime_error("start refused");
    }
    progress(name);
    note("started");
  }
  void doShutdownActions() override {
    note("shut down");
    noteLater("served");
  }
};

class TestFactory : public main::ModuleFactory {
 public:
  static TestFactory* instance() {
    static auto* factory = new TestFactory;
    return factory;
  }
  TestFactory() {
    registerPrimaryCommand(&TestCommand::create);
    if (name == "gnocommand") registerPrimaryCommand(&TestCommand::createNone);
  }
  ~TestFactory() override { note("recycled"); }
  main::Module* createModule() override {
    if (name == "dthrows") throw std::runtime_error("creation refused");
    return new TestModule(new main::InformationObject("a test", name, QIcon(), QUrl(), QUrl()));
  }
};

}  // namespace

extern "C" Q_DECL_EXPORT main::ModuleFactory* getFactory() { return TestFactory::instance(); }
extern "C" Q_DECL_EXPORT void recycleFactory() { delete TestFactory::instance(); }

#endif
