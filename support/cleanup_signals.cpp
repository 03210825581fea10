#include "support/cleanup_signals.h"

#include <unistd.h>

#include <csignal>
#include <initializer_list>

#include "support/unfinished_output.h"

namespace support {

namespace {

pid_t owner = 0;

extern "C" void clean_up_and_end(int signal) {
  if (::getpid() == owner) remove_unfinished_outputs();
  std::raise(signal);  // the handler is gone, and the signal waits until this returns
}

}  // namespace

void clean_up_on_signals() {
  owner = ::getpid();
  for (const int signal : {SIGPIPE, SIGXFSZ}) std::signal(signal, SIG_IGN);
  struct sigaction action = {};
  action.sa_handler = clean_up_and_end;
  action.sa_flags = static_cast<int>(SA_RESETHAND);
  ::sigfillset(&action.sa_mask);
  for (const int signal : {SIGHUP, SIGINT, SIGQUIT, SIGTERM, SIGALRM, SIGUSR1, SIGUSR2, SIGXCPU, SIGSEGV,
                           SIGBUS, SIGFPE, SIGILL, SIGABRT}) {
    struct sigaction before = {};
    if (::sigaction(signal, nullptr, &before) == 0 && before.sa_handler == SIG_DFL) {
      ::sigaction(signal, &action, nullptr);
    }
  }
}

}  // namespace support
