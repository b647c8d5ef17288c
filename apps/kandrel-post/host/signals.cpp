#include "kandrel-post/host/signals.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <utility>

namespace kandrel_post {

namespace {

constexpr std::size_t kMostFiles = 8;

// Read by the handler: nothing but loads of lock-free atomics is allowed there.
std::array<std::atomic<const char*>, kMostFiles> fileNames{};
static_assert(std::atomic<const char*>::is_always_lock_free);

extern "C" void RemoveFilesAndEnd(int number) {
  for (const std::atomic<const char*>& entry : fileNames) {
    if (const char* const fileName = entry.load()) ::unlink(fileName);
  }
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
    action.sa_handler = &RemoveFilesAndEnd;
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

RemovedBySignal::RemovedBySignal(std::string fileName) : m_fileName(std::move(fileName)) {
  for (m_slot = 0; m_slot < kMostFiles; ++m_slot) {
    const char* none = nullptr;
    if (fileNames[m_slot].compare_exchange_strong(none, m_fileName.c_str())) return;
  }
}

RemovedBySignal::~RemovedBySignal() {
  if (m_slot < kMostFiles) fileNames[m_slot] = nullptr;
}

}  // namespace kandrel_post
