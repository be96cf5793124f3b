// Part of every program that is built with sanitizers: keeps the system's libraries in memory to the very end.
// The leak checker looks after plug-ins, drivers and what they brought along have been unloaded, could not tell
// whose leaks it sees, and would miss what only their variables still point to. Our own libraries come and go.
#include <dlfcn.h>
#include <link.h>

#include <cstdlib>
#include <cstring>
#include <mutex>
#include <set>
#include <string>
#include <vector>

namespace {

int collect(dl_phdr_info* library, size_t, void* names) {
  for (const char* place : {"/lib/", "/usr/lib/"})
    if (std::strncmp(library->dlpi_name, place, std::strlen(place)) == 0)
      static_cast<std::vector<std::string>*>(names)->emplace_back(library->dlpi_name);
  return 0;
}

/// Each once: the software renderer closes a library for each shader, and to open one takes a sanitizer long.
void keepLibraries() {
  static std::mutex s_Mutex;
  static auto* s_Kept = new std::set<std::string>;  // used to the very end
  const std::lock_guard<std::mutex> lock(s_Mutex);
  std::vector<std::string> names;
  dl_iterate_phdr(&collect, &names);
  for (const std::string& name : names)
    if (s_Kept->insert(name).second) dlopen(name.c_str(), RTLD_LAZY | RTLD_NOLOAD | RTLD_NODELETE);
}

[[maybe_unused]] const int registered = std::atexit(&keepLibraries);

}  // namespace

/// Stands in for the C library's in the whole program.
extern "C" __attribute__((visibility("default"))) int dlclose(void* library) {
  static const auto original = reinterpret_cast<int (*)(void*)>(dlsym(RTLD_NEXT, "dlclose"));
  keepLibraries();
  return original(library);
}
