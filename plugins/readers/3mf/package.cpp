#include "plugins/readers/3mf/package.h"

namespace nubo::reader {
namespace {

bool goOn(int percent, NMR::ProgressIdentifier, void* output) {
  static_cast<Output*>(output)->progress(percent / 100.0);
  return true;
}

}  // namespace

void check(LIB3MFRESULT result) {
  if (result != 0) throw Refusal("its content is not understood");
}

Handle readPackage(const std::string& file, Output& output) {
  Handle model = take(NMR::lib3mf_createmodel);
  const Handle reader = take(NMR::lib3mf_model_queryreader, model.get(), "3mf");
  check(NMR::lib3mf_reader_setprogresscallback(reader.get(), goOn, &output));
  if (NMR::lib3mf_reader_readfromfileutf8(reader.get(), file.c_str()) == 0) return model;
  DWORD code = 0;
  LPCSTR cause = nullptr;
  NMR::lib3mf_getlasterror(reader.get(), &code, &cause);
  throw Refusal(cause && *cause ? cause : "its content is not understood");
}

}  // namespace nubo::reader
