#include "inspect/signals.h"

#include <unistd.h>

#include <csignal>
#include <cstring>

#include "support/unfinished_output.h"

namespace inspect {

namespace {

constexpr int kHandled[] = {SIGHUP,  SIGINT,  SIGQUIT, SIGILL,  SIGTRAP, SIGABRT,   SIGBUS,  SIGFPE, SIGUSR1,
                            SIGSEGV, SIGUSR2, SIGALRM, SIGTERM, SIGXCPU, SIGVTALRM, SIGPROF, SIGSYS};

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

extern "C" void end_on_signal(int signal) {
  support::remove_unfinished_outputs();
  if (signal != SIGINT) write_message(signal);
  ::_exit(1);
}

}  // namespace

void register_signal_handlers() {
  struct sigaction action = {};
  action.sa_handler = end_on_signal;
  for (const int signal : kHandled) ::sigaction(signal, &action, nullptr);
  action.sa_handler = SIG_IGN;
  ::sigaction(SIGPIPE, &action, nullptr);
  ::sigaction(SIGXFSZ, &action, nullptr);
}

}  // namespace inspect
