#include "inspect/signals.h"

#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstring>
#include <iterator>

#include "support/console.h"
#include "support/unfinished_output.h"

namespace inspect {

namespace {

/// Signals that by default do not end a process.
constexpr int kHarmless[] = {SIGCHLD, SIGCONT, SIGTSTP, SIGTTIN, SIGTTOU, SIGURG, SIGWINCH};

/// Signals by which the system tells that a write has failed, as the write itself does.
bool reports_failed_write(int signal) { return signal == SIGPIPE || signal == SIGXFSZ; }

/// Only what a signal handler may call: no stdio.
void write_message(int signal) {
  char text[] = "**** Caught signal: __, exiting\n";
  char* digits = std::strchr(text, '_');
  const std::size_t unused = signal < 10 ? 1 : 0;
  if (signal >= 10) *digits++ = static_cast<char>('0' + signal / 10);
  *digits++ = static_cast<char>('0' + signal % 10);
  std::memmove(digits, digits + unused, std::strlen(digits + unused) + 1);
  [[maybe_unused]] const ssize_t written = ::write(STDERR_FILENO, text, std::strlen(text));
}

extern "C" void end_on_signal(int signal, siginfo_t* origin, void*) {
  // Meant by somebody when another process has sent it.
  if (reports_failed_write(signal) && origin->si_pid == ::getpid()) return;
  support::remove_unfinished_outputs();
  support::rescue_console();
  if (signal != SIGINT) write_message(signal);
  ::_exit(1);
}

/// What the caller has the process ignore, as nohup does, stays ignored.
bool is_ignored(int signal) {
  struct sigaction before = {};
  return ::sigaction(signal, nullptr, &before) != 0 || before.sa_handler == SIG_IGN;
}

}  // namespace

void register_signal_handlers() {
  struct sigaction action = {};
  action.sa_sigaction = end_on_signal;
  action.sa_flags = SA_SIGINFO;
  ::sigfillset(&action.sa_mask);
  for (int signal = 1; signal <= SIGRTMAX; ++signal) {
    // Refused for the two signals that cannot be caught, and for those that the C library keeps.
    if (std::ranges::find(kHarmless, signal) == std::end(kHarmless) && !is_ignored(signal))
      ::sigaction(signal, &action, nullptr);
  }
}

}  // namespace inspect
