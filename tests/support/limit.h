// A process that may take less than it could.
#pragma once

#include <sys/resource.h>

#include <csignal>

namespace nubo::test {

/// Lowers what the process may take while it lives, as a full disk or a crowded system would.
class Limit {
 public:
  Limit(decltype(RLIMIT_FSIZE) resource, rlim_t value) : m_Resource(resource) {
    signal(SIGXFSZ, SIG_IGN);
    getrlimit(resource, &m_Earlier);
    const rlimit lowered{value, m_Earlier.rlim_max};
    setrlimit(resource, &lowered);
  }
  ~Limit() { setrlimit(m_Resource, &m_Earlier); }
  Limit(const Limit&) = delete;
  Limit& operator=(const Limit&) = delete;

 private:
  decltype(RLIMIT_FSIZE) m_Resource;
  rlimit m_Earlier{};
};

}  // namespace nubo::test
