// SPDX-License-Identifier: Apache-2.0
#include "audio_io/stop.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <mutex>
#include <system_error>
#include <thread>

#include "audio_io/pending_file.h"

namespace arvessa::app {
namespace {

struct Stop {
  std::mutex mutex;  // a scope does not begin or end while a signal is being answered
  int scopes = 0;
  std::atomic<int> signal = 0;
  std::array<int, 2> wake = {-1, -1};  // a pipe; its writing end is closed by the signal
};

// Never destroyed, because the signal thread may outlive main.
Stop& stop() {
  static auto& instance = *new Stop;
  return instance;
}

[[noreturn]] void endAtOnce(int signal, const sigset_t& signals) {
  removePendingFiles();
  struct sigaction byDefault {};
  byDefault.sa_handler = SIG_DFL;
  sigaction(signal, &byDefault, nullptr);
  pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
  kill(getpid(), signal);
  _exit(1);
}

// A signal stays pending until it is answered, and both happens under the lock.
[[noreturn]] void waitForSignals(sigset_t signals, int descriptor) {
  for (;;) {
    pollfd arrived{descriptor, POLLIN, 0};
    poll(&arrived, 1, -1);
    const std::lock_guard lock(stop().mutex);
    signalfd_siginfo taken{};
    if (read(descriptor, &taken, sizeof taken) != sizeof taken) continue;
    const auto signal = static_cast<int>(taken.ssi_signo);
    const bool urgent = signal == SIGQUIT || signal == SIGXCPU;
    if (urgent || stop().scopes == 0 || stopRequested()) endAtOnce(signal, signals);
    stop().signal = signal;
    close(stop().wake[1]);
  }
}

}  // namespace

void takeOverSignals() {
  struct sigaction ignored {};
  ignored.sa_handler = SIG_IGN;
  sigaction(SIGPIPE, &ignored, nullptr);
  sigaction(SIGXFSZ, &ignored, nullptr);
  if (pipe2(stop().wake.data(), O_CLOEXEC) != 0) {
    throw std::system_error(errno, std::generic_category());
  }
  sigset_t signals;
  sigemptyset(&signals);
  for (const int signal : std::array{SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGXCPU}) {
    struct sigaction action {};
    if (sigaction(signal, nullptr, &action) == 0 && action.sa_handler != SIG_IGN) {
      sigaddset(&signals, signal);
    }
  }
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);
  const int descriptor = signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK);
  if (descriptor < 0) throw std::system_error(errno, std::generic_category());
  std::thread(waitForSignals, signals, descriptor).detach();
}

StopScope::StopScope() {
  const std::lock_guard lock(stop().mutex);
  ++stop().scopes;
}

StopScope::~StopScope() {
  const std::lock_guard lock(stop().mutex);
  --stop().scopes;
}

int stopSignal() { return stop().signal; }

void awaitPendingStop() {
  sigset_t pending;
  {
    const std::lock_guard lock(stop().mutex);
    sigpending(&pending);
  }
  for (const int signal : std::array{SIGINT, SIGTERM, SIGHUP}) {
    if (sigismember(&pending, signal) != 1) continue;
    pollfd answered{stopDescriptor(), POLLIN, 0};
    poll(&answered, 1, -1);
  }
}

std::string stopText() {
  const int signal = stopSignal();
  const char* name = signal == SIGINT ? "interrupt" : signal == SIGTERM ? "termination" : "hangup";
  return std::string("ended by signal (") + name + ")";
}

int stopCode() { return 128 + stopSignal(); }

int stopDescriptor() { return stop().wake[0]; }

}  // namespace arvessa::app
