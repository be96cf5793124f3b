// Points in lines of text.
#pragma once

#include <fstream>

#include "plugins/readers/points/pointcloud.h"

namespace nubo::reader {

/// Opens a file, or throws Refusal.
std::ifstream openFile(const std::string& name);

/// Reads the rest of a file, whose columns are known, as are its points. Throws Refusal.
void readTable(std::ifstream& file, Layout& layout, std::size_t points, Output& output);

/// Reads a list whose columns are known by a heading, or by what they look like. Throws Refusal.
void readPointList(const std::string& name, bool intensityFirst, Output& output);

}  // namespace nubo::reader
