#include "plugins/readers/urdf/files.h"

#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <vector>

namespace nubo::reader {
namespace {

using std::filesystem::path;

bool isFile(const path& file) {
  std::error_code none;
  return std::filesystem::is_regular_file(file, none);
}

void addFolders(const char* variable, const char* below, std::vector<path>& folders) {
  const char* value = std::getenv(variable);  // NOLINT(concurrency-mt-unsafe): nobody sets any here
  std::istringstream list(value ? value : "");
  for (std::string folder; std::getline(list, folder, ':');)
    if (!folder.empty()) folders.push_back(path(folder) / below);
}

/// Folders that packages may lie in, or be.
std::vector<path> packageFolders(const path& description) {
  std::vector<path> folders;
  addFolders("ROS_PACKAGE_PATH", "", folders);
  addFolders("AMENT_PREFIX_PATH", "share", folders);
  addFolders("CMAKE_PREFIX_PATH", "share", folders);
  for (path folder = description.parent_path();; folder = folder.parent_path()) {
    folders.push_back(folder);
    if (folder == folder.parent_path()) return folders;
  }
}

/// Of "package/path" by the name of the package's folder.
std::string findInPackages(const std::string& name, const path& description) {
  const std::size_t slash = name.find('/');
  if (slash == std::string::npos) return {};
  const std::string package = name.substr(0, slash), file = name.substr(slash + 1);
  for (const path& folder : packageFolders(description)) {
    if (isFile(folder / package / file)) return folder / package / file;
    if (folder.filename() == package && isFile(folder / file)) return folder / file;
  }
  // A checkout may be called otherwise than the package in it.
  for (path folder = description.parent_path(); folder != folder.parent_path(); folder = folder.parent_path())
    if (isFile(folder / "package.xml") && isFile(folder / file)) return folder / file;
  return {};
}

}  // namespace

std::string findFile(const std::string& name, const std::string& description) {
  for (const std::string& scheme : {std::string("package://"), std::string("model://")})
    if (name.compare(0, scheme.size(), scheme) == 0) return findInPackages(name.substr(scheme.size()), description);
  const std::string own = "file://";
  const path file = name.compare(0, own.size(), own) == 0 ? name.substr(own.size()) : name;
  const path found = path(description).parent_path() / file;  // an absolute one stays what it is
  return isFile(found) ? found.string() : std::string();
}

}  // namespace nubo::reader
