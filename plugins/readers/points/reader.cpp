// Reads what scanners write: points as text, and the files of the Point Cloud Library.
#include "plugins/readers/points/pcdreader.h"
#include "plugins/readers/points/textreader.h"

NUBO_READER_ENTRY(file, format, output) {
  if (format == "pcd")
    nubo::reader::readPcd(file, output);
  else
    nubo::reader::readPointList(file, format == "pts", output);
}
