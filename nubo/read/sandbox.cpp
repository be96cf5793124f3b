#include "nubo/read/sandbox.h"

#include <fcntl.h>
#include <linux/landlock.h>
#include <sched.h>
#include <seccomp.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <initializer_list>
#include <memory>

#include "module_scene/io/reader/message.h"

namespace nubo::read {
namespace {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool Sanitized = true;
#else
constexpr bool Sanitized = false;
#endif

/// A sanitizer takes terabytes of addresses for itself.
bool limitMemory(std::uint64_t memory) {
  // If there is not enough for all, this process is the one to go.
  if (std::FILE* score = std::fopen("/proc/self/oom_score_adj", "w")) {
    std::fputs("1000", score);
    std::fclose(score);
  }
  const rlimit data{memory, memory}, none{0, 0};
  return (Sanitized || setrlimit(RLIMIT_DATA, &data) == 0) && setrlimit(RLIMIT_CORE, &none) == 0;
}

class Landlock {
 public:
  Landlock() {
    landlock_ruleset_attr attributes{};
    attributes.handled_access_fs = All;
    m_Rules = int(syscall(SYS_landlock_create_ruleset, &attributes, sizeof attributes.handled_access_fs, 0));
  }
  ~Landlock() {
    if (m_Rules >= 0) close(m_Rules);
  }
  void allowReading(const char* path) {
    landlock_path_beneath_attr rule{};
    rule.parent_fd = open(path, O_PATH | O_CLOEXEC);
    if (rule.parent_fd < 0) return;
    rule.allowed_access = LANDLOCK_ACCESS_FS_READ_FILE | LANDLOCK_ACCESS_FS_READ_DIR;
    if (syscall(SYS_landlock_add_rule, m_Rules, LANDLOCK_RULE_PATH_BENEATH, &rule, 0) != 0) {
      rule.allowed_access = LANDLOCK_ACCESS_FS_READ_FILE;  // of a file
      syscall(SYS_landlock_add_rule, m_Rules, LANDLOCK_RULE_PATH_BENEATH, &rule, 0);
    }
    close(rule.parent_fd);
  }
  bool enter() const { return m_Rules >= 0 && syscall(SYS_landlock_restrict_self, m_Rules, 0) == 0; }

 private:
  /// The accesses of the first version, which later ones know, too.
  static constexpr std::uint64_t All = (LANDLOCK_ACCESS_FS_MAKE_SYM << 1) - 1;
  int m_Rules = -1;
};

bool limitFiles(const std::vector<std::string>& folders) {
  Landlock landlock;
  for (const char* path : {"/usr", "/lib", "/lib64", "/etc/ld.so.cache", "/etc/localtime", "/dev/null", "/dev/urandom",
                           "/proc/self/maps", "/proc/cpuinfo", "/sys/devices/system/cpu"})
    landlock.allowReading(path);
  for (const std::string& folder : folders) landlock.allowReading(folder.c_str());
  return landlock.enter();
}

using Filter = std::unique_ptr<void, decltype(&seccomp_release)>;

bool allow(const Filter& filter, std::initializer_list<int> calls) {
  bool all = true;
  for (const int call : calls) all = seccomp_rule_add(filter.get(), SCMP_ACT_ALLOW, call, 0) == 0 && all;
  return all;
}

template <class... Conditions>
bool allowIf(const Filter& filter, int call, Conditions... conditions) {
  return seccomp_rule_add(filter.get(), SCMP_ACT_ALLOW, call, sizeof...(conditions), conditions...) == 0;
}

/// Calls whose effects stay within this process, and those that look at files.
bool allowHarmless(const Filter& filter) {
  return allow(filter, {SCMP_SYS(access),
                        SCMP_SYS(arch_prctl),
                        SCMP_SYS(brk),
                        SCMP_SYS(clock_getres),
                        SCMP_SYS(clock_gettime),
                        SCMP_SYS(clock_nanosleep),
                        SCMP_SYS(close),
                        SCMP_SYS(dup),
                        SCMP_SYS(eventfd2),
                        SCMP_SYS(exit),
                        SCMP_SYS(exit_group),
                        SCMP_SYS(faccessat),
                        SCMP_SYS(faccessat2),
                        SCMP_SYS(fadvise64),
                        SCMP_SYS(fstat),
                        SCMP_SYS(fstatfs),
                        SCMP_SYS(futex),
                        SCMP_SYS(getcwd),
                        SCMP_SYS(getdents64),
                        SCMP_SYS(getegid),
                        SCMP_SYS(geteuid),
                        SCMP_SYS(getgid),
                        SCMP_SYS(getpid),
                        SCMP_SYS(getppid),
                        SCMP_SYS(getpriority),
                        SCMP_SYS(getrandom),
                        SCMP_SYS(getrlimit),
                        SCMP_SYS(getrusage),
                        SCMP_SYS(gettid),
                        SCMP_SYS(gettimeofday),
                        SCMP_SYS(getuid),
                        SCMP_SYS(lseek),
                        SCMP_SYS(lstat),
                        SCMP_SYS(madvise),
                        SCMP_SYS(membarrier),
                        SCMP_SYS(mincore),
                        SCMP_SYS(mprotect),
                        SCMP_SYS(mremap),
                        SCMP_SYS(munmap),
                        SCMP_SYS(nanosleep),
                        SCMP_SYS(newfstatat),
                        SCMP_SYS(pipe2),
                        SCMP_SYS(poll),
                        SCMP_SYS(ppoll),
                        SCMP_SYS(pread64),
                        SCMP_SYS(preadv),
                        SCMP_SYS(read),
                        SCMP_SYS(readlink),
                        SCMP_SYS(readlinkat),
                        SCMP_SYS(readv),
                        SCMP_SYS(restart_syscall),
                        SCMP_SYS(rseq),
                        SCMP_SYS(rt_sigaction),
                        SCMP_SYS(rt_sigprocmask),
                        SCMP_SYS(rt_sigreturn),
                        SCMP_SYS(sched_getaffinity),
                        SCMP_SYS(sched_getparam),
                        SCMP_SYS(sched_getscheduler),
                        SCMP_SYS(sched_yield),
                        SCMP_SYS(set_robust_list),
                        SCMP_SYS(sigaltstack),
                        SCMP_SYS(stat),
                        SCMP_SYS(statfs),
                        SCMP_SYS(statx),
                        SCMP_SYS(sysinfo),
                        SCMP_SYS(time),
                        SCMP_SYS(uname)});
}

bool allowWithin(const Filter& filter) {
  const auto own = scmp_datum_t(getpid());
  const scmp_datum_t writes = O_WRONLY | O_RDWR | O_CREAT | O_TRUNC | O_APPEND;
  const scmp_datum_t shared = MAP_SHARED | MAP_ANONYMOUS;
  bool all = true;
  // Files, to be read.
  all = allowIf(filter, SCMP_SYS(open), SCMP_A1(SCMP_CMP_MASKED_EQ, writes, 0)) && all;
  all = allowIf(filter, SCMP_SYS(openat), SCMP_A2(SCMP_CMP_MASKED_EQ, writes, 0)) && all;
  // The talk with the program, and what standard streams are for.
  all = allowIf(filter, SCMP_SYS(sendmsg), SCMP_A0(SCMP_CMP_EQ, reader::HelperSocket)) && all;
  all = allowIf(filter, SCMP_SYS(recvmsg), SCMP_A0(SCMP_CMP_EQ, reader::HelperSocket)) && all;
  for (const int call : {SCMP_SYS(write), SCMP_SYS(writev)})
    all = allowIf(filter, call, SCMP_A0(SCMP_CMP_LE, STDERR_FILENO)) && all;
  // A sanitizer asks the kernel what memory there is by writing it to a pipe.
  if (Sanitized) all = allow(filter, {SCMP_SYS(write), SCMP_SYS(pipe)}) && all;
  // Memory that the limit counts, and that of the program.
  for (const scmp_datum_t kind : {scmp_datum_t(0), scmp_datum_t(MAP_SHARED), scmp_datum_t(MAP_ANONYMOUS)})
    all = allowIf(filter, SCMP_SYS(mmap), SCMP_A3(SCMP_CMP_MASKED_EQ, shared, kind)) && all;
  // Threads, but no processes.
  all = allowIf(filter, SCMP_SYS(clone), SCMP_A0(SCMP_CMP_MASKED_EQ, CLONE_THREAD, CLONE_THREAD)) && all;
  all = allowIf(filter, SCMP_SYS(tgkill), SCMP_A0(SCMP_CMP_EQ, own)) && all;
  all = allowIf(filter, SCMP_SYS(prlimit64), SCMP_A2(SCMP_CMP_EQ, 0)) && all;
  for (const int command : {F_GETFD, F_SETFD, F_GETFL})
    all = allowIf(filter, SCMP_SYS(fcntl), SCMP_A1(SCMP_CMP_EQ, scmp_datum_t(command))) && all;
  all = allowIf(filter, SCMP_SYS(prctl), SCMP_A0(SCMP_CMP_EQ, PR_SET_NAME)) && all;
  return all;
}

bool limitCalls() {
  // What is not named fails as if it were forbidden to this user, which libraries expect. The C library asks for
  // threads in a new way first, whose flags cannot be seen from here, and falls back to the old.
  const Filter filter(seccomp_init(SCMP_ACT_ERRNO(EPERM)), seccomp_release);
  return filter && allowHarmless(filter) && allowWithin(filter) &&
         seccomp_rule_add(filter.get(), SCMP_ACT_ERRNO(ENOSYS), SCMP_SYS(clone3), 0) == 0 &&
         seccomp_load(filter.get()) == 0;
}

}  // namespace

std::vector<std::string> enterSandbox(const std::vector<std::string>& folders, std::uint64_t memory) {
  std::vector<std::string> missing;
  if (!limitMemory(memory)) missing.emplace_back("models are read without a limit on memory");
  prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
  if (!limitFiles(folders)) missing.emplace_back("models are read by a process that may read any file (no Landlock)");
  if (!limitCalls()) missing.emplace_back("models are read by a process that may do anything (no seccomp)");
  return missing;
}

}  // namespace nubo::read
