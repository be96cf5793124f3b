// What lib3mf has of a file, with owners.
#pragma once

#include <Model/COM/NMR_DLLInterfaces.h>

#include <memory>
#include <string>

#include "module_scene/io/reader/reader.h"

namespace nubo::reader {

struct Release {
  void operator()(NMR::PLib3MFBase* handle) const { NMR::lib3mf_release(handle); }
};
/// One of lib3mf's things.
using Handle = std::unique_ptr<NMR::PLib3MFBase, Release>;

/// Throws Refusal where one of lib3mf's functions says that it failed.
void check(LIB3MFRESULT result);

/// The thing that a function of lib3mf gives for some arguments.
template <class Function, class... Arguments>
Handle take(const Function& function, Arguments... arguments) {
  NMR::PLib3MFBase* handle = nullptr;
  check(function(arguments..., &handle));
  return Handle(handle);
}
/// The value that it gives.
template <class T, class Function, class... Arguments>
T valueOf(const Function& function, Arguments... arguments) {
  T value{};
  check(function(arguments..., &value));
  return value;
}

/// Reads a whole file. Throws Refusal with what lib3mf has against it.
Handle readPackage(const std::string& file, Output& output);

}  // namespace nubo::reader
