// What Assimp does not tell of 3DS files.
#pragma once

#include <string>

namespace nubo::reader {

/// Whether a 3DS file says of any faces that they are round. Where none does, Assimp makes all of them so.
bool hasSmoothingGroups(const std::string& file);

}  // namespace nubo::reader
