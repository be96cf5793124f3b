// A module that notes in the log what the host does with it; built several times, with its faults chosen
// by macros.
#include <stdexcept>

#include "kernel/log/logger.h"
#include "kernel/main/module.h"

using namespace nubo;

namespace {

void note(const char* what) {
  log::Logger::getInstance()->log(log::Note, "testmodule", 1, "life", nullptr, "%s %s", TEST_MODULE_NAME, what);
}

struct Library {
  ~Library() { note("unloaded"); }
} library;

}  // namespace

#ifndef TEST_MODULE_CNOENTRY

namespace {

class TestCommand : public main::Command {
 public:
  TestCommand()
      : Command(new main::CommandDescriptor("does nothing", TEST_MODULE_NAME ".command"),
                new main::CommandGUIDescriptor(main::CommandGUIDescriptor::Menu, "Test", 10,
                                               TEST_MODULE_NAME ".command", "Test", nullptr)) {
    note("command made");
  }
  ~TestCommand() override { note("command deleted"); }
  void execute() override {}
  static Command* create() { return new TestCommand; }
};

class TestModule : public main::Module {
 public:
  using Module::Module;
  ~TestModule() override { note("module deleted"); }
  bool hasStartupActions() override { return true; }
  void doStartupActions(boost::function<void(QString)> progress) override {
#ifdef TEST_MODULE_ESTARTTHROWS
    throw std::runtime_error("start refused");
#endif
    progress(TEST_MODULE_NAME);
    note("started");
  }
  void doShutdownActions() override { note("shut down"); }
};

class TestFactory : public main::ModuleFactory {
 public:
  static TestFactory* instance() {
    static auto* factory = new TestFactory;
    return factory;
  }
  ~TestFactory() override { note("recycled"); }
  main::Module* createModule() override {
#ifdef TEST_MODULE_DTHROWS
    throw std::runtime_error("creation refused");
#endif
    return new TestModule(new main::InformationObject("a test", TEST_MODULE_NAME, QIcon(), QUrl(), QUrl()));
  }
};

const bool isRegistered = TestFactory::instance()->registerPrimaryCommand(&TestCommand::create);

}  // namespace

extern "C" Q_DECL_EXPORT main::ModuleFactory* getFactory() { return isRegistered ? TestFactory::instance() : nullptr; }
extern "C" Q_DECL_EXPORT void recycleFactory() { delete TestFactory::instance(); }

#endif
