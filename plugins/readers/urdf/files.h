// Where the files are that a robot's description names.
#pragma once

#include <string>

namespace nubo::reader {

/// The path of an existing file that `name` means in the description `description`: a path seen from its folder, a
/// "file://" of its own, or one in a package ("package://" or "model://"). Packages are looked for in the folders of
/// ROS_PACKAGE_PATH, in share/ of those of AMENT_PREFIX_PATH and CMAKE_PREFIX_PATH, and above the description. Empty:
/// there is none.
std::string findFile(const std::string& name, const std::string& description);

}  // namespace nubo::reader
