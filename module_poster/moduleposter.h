// The module object and its factory: what the host meets of this library.
#pragma once

#include "kernel/main/module.h"

namespace nubo::poster {

/// The loaded module "Poster". Made by its factory, owned by the host; application thread.
class ModulePoster : public main::Module {
 public:
  class Factory;

  explicit ModulePoster(main::InformationObject* information);
};

/// At most one lives at a time; the command that registers itself while the library loads makes it.
class ModulePoster::Factory : public main::ModuleFactory {
 public:
  static Factory* getInstance();
  ~Factory() override;
  main::Module* createModule() override;

 private:
  Factory();

  main::InformationObject* mp_Information;  ///< the host's to delete, with the module's factory
  static Factory* mp_This;
};

}  // namespace nubo::poster
