#include "kandrel-post/host/signals.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <string_view>
#include <utility>

namespace kandrel_post {

namespace {

constexpr std::size_t kMostNames = 32;

// Read by the handler: nothing but loads of lock-free atomics is allowed there.
std::array<std::atomic<const char*>, kMostNames> names{};
std::atomic<bool> isLineShown{false};
static_assert(std::atomic<const char*>::is_always_lock_free &&
              std::atomic<bool>::is_always_lock_free);

void Tell(int number) {
  if (number != SIGINT && number != SIGTERM) return;
  const auto write = [](std::string_view text) {
    [[maybe_unused]] const ssize_t ignored = ::write(STDERR_FILENO, text.data(), text.size());
  };
  constexpr std::string_view kWiped = "\r                         \r";
  if (isLineShown.load()) write(kWiped);
  write(number == SIGINT ? "interrupted\n" : "terminated\n");
}

extern "C" void RemoveAndEnd(int number) {
  for (const std::atomic<const char*>& entry : names)
    if (const char* const name = entry.load()) ::unlink(name);
  for (const std::atomic<const char*>& entry : names)
    if (const char* const name = entry.load()) ::rmdir(name);
  Tell(number);
  ::raise(number);  // the handler is gone by now: the default ends the program
}

}  // namespace

void PrepareProcess() {
  for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (::fcntl(stream, F_GETFD) != -1 || errno != EBADF) continue;
    // The lowest free number is the stream's own. Opened the wrong way round, it fails as a closed
    // one does.
    if (::open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY) < 0) break;
  }
  ::signal(SIGXFSZ, SIG_IGN);
  for (const int number : {SIGHUP, SIGINT, SIGPIPE, SIGTERM}) {
    struct ::sigaction action {};
    if (::sigaction(number, nullptr, &action) != 0 || action.sa_handler != SIG_DFL) continue;
    action.sa_handler = &RemoveAndEnd;
    action.sa_flags = static_cast<int>(SA_RESETHAND);
    ::sigfillset(&action.sa_mask);
    ::sigaction(number, &action, nullptr);
  }
}

SignalsHeld::SignalsHeld() {
  ::sigset_t all;
  ::sigfillset(&all);
  ::pthread_sigmask(SIG_BLOCK, &all, &m_before);
}

SignalsHeld::~SignalsHeld() {
  ::pthread_sigmask(SIG_SETMASK, &m_before, nullptr);
}

void SetLineShown(bool isShown) noexcept {
  isLineShown = isShown;
}

RemovedBySignal::RemovedBySignal(std::string name) : m_name(std::move(name)) {
  for (m_slot = 0; m_slot < kMostNames; ++m_slot) {
    const char* none = nullptr;
    if (names[m_slot].compare_exchange_strong(none, m_name.c_str())) return;
  }
}

RemovedBySignal::~RemovedBySignal() {
  if (m_slot < kMostNames) names[m_slot] = nullptr;
}

}  // namespace kandrel_post
