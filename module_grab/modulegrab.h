// The module object and its factory: what the host meets of this library.
#pragma once

#include "kernel/main/module.h"

namespace nubo::grab {

/// The loaded module "Grab". Made by its factory, owned by the host; application thread.
class ModuleGrab : public main::Module {
 public:
  class ModuleGrabFactory;

  explicit ModuleGrab(main::InformationObject* information);
  /// Unloads the encoder plug-ins.
  ~ModuleGrab() override;

  bool hasStartupActions() override;
  /// Loads the encoder plug-ins.
  void doStartupActions(boost::function<void(QString)> progress) override;
};

/// At most one lives at a time; the first command that registers itself while the library loads makes it.
class ModuleGrab::ModuleGrabFactory : public main::ModuleFactory {
 public:
  static ModuleGrabFactory* getInstance();
  ~ModuleGrabFactory() override;
  main::Module* createModule() override;

 private:
  ModuleGrabFactory();

  main::InformationObject* mp_Information;  ///< the host's to delete, with the module's factory
  static ModuleGrabFactory* mp_This;
};

}  // namespace nubo::grab
