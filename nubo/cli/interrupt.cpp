#include "nubo/cli/interrupt.h"

#include <fcntl.h>
#include <unistd.h>

#include <QSocketNotifier>
#include <csignal>

namespace nubo::app {

namespace {

int pipeEnds[2] = {-1, -1};

// All that a signal handler may do is to write to the pipe; the event loop reads the other end.
void wake(int signal) {
  const char byte = char(signal);
  [[maybe_unused]] const auto written = write(pipeEnds[1], &byte, 1);
}

void handle(void (*handler)(int)) {
  struct sigaction action = {};
  action.sa_handler = handler;
  action.sa_flags = SA_RESTART;
  sigaction(SIGINT, &action, nullptr);
  sigaction(SIGTERM, &action, nullptr);
  // A closed terminal ends a recording like Ctrl-C; nohup has it run on.
  struct sigaction hangup = {};
  if (sigaction(SIGHUP, nullptr, &hangup) == 0 && hangup.sa_handler != SIG_IGN) sigaction(SIGHUP, &action, nullptr);
}

}  // namespace

Interrupt::Interrupt() : mp_Notifier(nullptr) {
  if (pipe2(pipeEnds, O_CLOEXEC | O_NONBLOCK) != 0) return;
  mp_Notifier = new QSocketNotifier(pipeEnds[0], QSocketNotifier::Read, this);
  connect(mp_Notifier, &QSocketNotifier::activated, this, &Interrupt::read);
  handle(wake);
}

void Interrupt::read() {
  char signal = 0;
  while (::read(pipeEnds[0], &signal, 1) == 1) {
    if (isSameWish()) continue;
    m_SinceLast.start();
    emit interrupted(signal);
  }
}

bool Interrupt::isSameWish() const {
  constexpr int SameWishMs = 1000;
  return m_SinceLast.isValid() && m_SinceLast.elapsed() < SameWishMs;
}

Interrupt::~Interrupt() {
  if (!mp_Notifier) return;
  // A program that has ended well so soon must not be killed on its last steps by the rest of the wish.
  handle(isSameWish() ? SIG_IGN : SIG_DFL);
  delete mp_Notifier;
  close(pipeEnds[0]);
  close(pipeEnds[1]);
}

}  // namespace nubo::app
