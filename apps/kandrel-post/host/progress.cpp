#include "kandrel-post/host/progress.h"

#include <fmt/format.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <system_error>

#include "kandrel-post/host/signals.h"

namespace kandrel_post {

namespace {

constexpr std::chrono::milliseconds kQuietStart{1000};
constexpr std::chrono::milliseconds kBetweenUpdates{200};

}  // namespace

Progress::Progress() {
  if (::isatty(STDERR_FILENO) == 0) return;
  const SignalsHeld held;  // they are the working thread's
  try {
    m_thread = std::thread([this] { Run(); });
  } catch (const std::system_error&) {
    // No thread to be had: the job runs without a progress line.
  }
}

void Progress::Stop() {
  if (!m_thread.joinable()) return;
  {
    const std::lock_guard lock(m_mutex);
    m_stop = true;
  }
  m_wake.notify_all();
  m_thread.join();
}

void Progress::Run() {
  std::unique_lock lock(m_mutex);
  bool shown = false;
  auto wait = kQuietStart;
  while (!m_wake.wait_for(lock, wait, [this] { return m_stop; })) {
    wait = kBetweenUpdates;
    const double fraction = m_fraction;
    const char* const stage = m_stage;
    if (fraction >= 0) {
      fmt::print(stderr, "\r{:<20} {:3.0f}%", stage, fraction * 100);
    } else {
      fmt::print(stderr, "\r{:<20}     ", stage);
    }
    std::fflush(stderr);
    shown = true;
    SetLineShown(true);
  }
  if (shown) {
    SetLineShown(false);
    fmt::print(stderr, "\r{:<25}\r", "");
    std::fflush(stderr);
  }
}

}  // namespace kandrel_post
