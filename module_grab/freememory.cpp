#include "module_grab/freememory.h"

#include <QByteArray>
#include <QFile>
#include <algorithm>
#include <limits>
#include <optional>

#if defined(Q_OS_WIN)
#include <windows.h>
#elif defined(Q_OS_MACOS)
#include <mach/mach.h>
#endif

namespace nubo::grab {

namespace {

constexpr std::uint64_t Unlimited = std::numeric_limits<std::uint64_t>::max();

QByteArray readFile(const QString& name) {
  QFile file(name);
  return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// The number behind `key` in lines such as "MemAvailable:   123 kB" or "inactive_file 123".
std::optional<std::uint64_t> valueOf(const QByteArray& text, const QByteArray& key) {
  for (const QByteArray& line : text.split('\n')) {
    const QList<QByteArray> words = line.simplified().split(' ');
    if (words.size() < 2 || words[0] != key) continue;
    bool ok = false;
    const std::uint64_t value = words[1].toULongLong(&ok);
    if (ok) return value;
  }
  return std::nullopt;
}

/// What is left of the address space that the process may have.
std::uint64_t leftInAddressSpace(const QString& root) {
  const std::optional<std::uint64_t> limit =
      valueOf(readFile(root + "/proc/self/limits").replace("Max address space", "MaxAddressSpace"), "MaxAddressSpace");
  const std::optional<std::uint64_t> size = valueOf(readFile(root + "/proc/self/status"), "VmSize:");
  if (!limit || !size) return Unlimited;
  return *limit - std::min(*limit, *size * 1024);
}

/// The names of the files in which one version of control groups keeps its accounts.
struct GroupFiles {
  const char* limit;
  const char* usage;
  const char* reclaimable;  ///< key in memory.stat: cached file pages that go when memory is wanted
};
constexpr GroupFiles Version1{"memory.limit_in_bytes", "memory.usage_in_bytes", "total_inactive_file"};
constexpr GroupFiles Version2{"memory.max", "memory.current", "inactive_file"};

/// What is left of one group's own limit.
std::uint64_t leftInGroup(const QString& directory, const GroupFiles& files) {
  bool limited = false, used = false;
  const std::uint64_t limit = readFile(directory + '/' + files.limit).trimmed().toULongLong(&limited);
  const std::uint64_t usage = readFile(directory + '/' + files.usage).trimmed().toULongLong(&used);
  if (!limited || !used) return Unlimited;  // no such group here, or its limit is "max"
  const std::uint64_t cached = valueOf(readFile(directory + "/memory.stat"), files.reclaimable).value_or(0);
  const std::uint64_t taken = usage - std::min(usage, cached);
  return limit - std::min(limit, taken);
}

/// The least that is left in a group and all groups around it. In a container the group's path may be one of the
/// host's that is not mounted here; the container's own limits then stand at the mount point.
std::uint64_t leftInGroups(const QString& mount, QString path, const GroupFiles& files) {
  std::uint64_t left = Unlimited;
  for (;;) {
    left = std::min(left, leftInGroup(mount + path, files));
    if (path.isEmpty()) return left;
    path.truncate(std::max(path.lastIndexOf('/'), 0));
  }
}

}  // namespace

std::uint64_t freeMemoryUnder(const QString& root) {
  std::uint64_t left = valueOf(readFile(root + "/proc/meminfo"), "MemAvailable:").value_or(0) * 1024;
  left = std::min(left, leftInAddressSpace(root));
  const QString mount = root + "/sys/fs/cgroup";
  for (const QString& line : QString::fromLocal8Bit(readFile(root + "/proc/self/cgroup")).split('\n')) {
    // "hierarchy:controllers:path"; the one hierarchy of version 2 names no controllers.
    const QString controllers = line.section(':', 1, 1);
    const QString path = line.section(':', 2) == QLatin1String("/") ? QString() : line.section(':', 2);
    if (controllers.split(',').contains(QLatin1String("memory")))
      left = std::min(left, leftInGroups(mount + "/memory", path, Version1));
    else if (line.startsWith(QLatin1String("0::")))
      left = std::min(left, leftInGroups(mount, path, Version2));
  }
  return left;
}

std::uint64_t freeMemory() {
#if defined(Q_OS_WIN)
  MEMORYSTATUSEX status;
  status.dwLength = sizeof(status);
  return GlobalMemoryStatusEx(&status) ? status.ullAvailPhys : 0;
#elif defined(Q_OS_MACOS)
  const mach_port_t host = mach_host_self();
  vm_statistics64_data_t statistics;
  mach_msg_type_number_t count = HOST_VM_INFO64_COUNT;
  vm_size_t pageSize = 0;
  if (host_page_size(host, &pageSize) != KERN_SUCCESS ||
      host_statistics64(host, HOST_VM_INFO64, reinterpret_cast<host_info64_t>(&statistics), &count) != KERN_SUCCESS)
    return 0;
  return (std::uint64_t(statistics.free_count) + statistics.inactive_count) * pageSize;
#else
  return freeMemoryUnder(QString());
#endif
}

}  // namespace nubo::grab
