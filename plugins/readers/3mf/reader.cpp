// Reads 3MF files with lib3mf.
#include "plugins/readers/3mf/objects.h"

NUBO_READER_ENTRY(file, format, output) {
  using namespace nubo::reader;
  static_cast<void>(format);
  const Handle package = readPackage(file, output);
  ObjectConverter(package.get(), output).convert();
}
