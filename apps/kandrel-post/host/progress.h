// Progress of a job, by stage, on a terminal.
#pragma once

#include <kandrel/misc/progress.h>

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <thread>

namespace kandrel_post {

/// Shows the stage and how far it is on standard error, from the second second on. Does nothing
/// when standard error is no terminal. The line is gone when the object is.
class Progress final : public misc::zvProgress {
 public:
  Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;
  ~Progress() override { Stop(); }

  /// For the library's work; null when nothing is shown, so that nobody is asked. It cancels
  /// nothing: a signal ends the program wherever it stands, see signals.h.
  misc::zvProgress* Hook() noexcept { return m_thread.joinable() ? this : nullptr; }
  bool Report(misc::zvProgress::Stage stage, double fraction) override {
    m_stage = NameOf(stage);
    m_fraction = fraction;
    return true;
  }

  /// Of work that the library has no part in. `name` must live as long as the object.
  void Stage(const char* name) {
    m_fraction = -1;
    m_stage = name;
  }
  /// 0 to 1; a stage that never calls it is shown by name alone.
  void Fraction(double fraction) { m_fraction = fraction; }

  /// Removes the line; nothing is shown from here on.
  void Stop();

 private:
  void Run();

  std::atomic<const char*> m_stage{"starting"};
  std::atomic<double> m_fraction{-1};
  std::mutex m_mutex;
  std::condition_variable m_wake;
  bool m_stop = false;
  std::thread m_thread;
};

}  // namespace kandrel_post
