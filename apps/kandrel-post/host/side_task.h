// Work that goes on beside the program's own.
#pragma once

#include <functional>
#include <future>

namespace kandrel_post {

/// Does one thing on a thread of its own, or on the caller's where the system has no thread.
class SideTask {
 public:
  SideTask() = default;
  SideTask(const SideTask&) = delete;
  SideTask& operator=(const SideTask&) = delete;
  /// Waits for the end; what was thrown is lost.
  ~SideTask() = default;

  /// Begins. What `work` refers to must outlive the object or be there until Finish.
  void Start(const std::function<void()>& work);
  /// Waits for the end and throws what the work has thrown. Nothing where nothing was begun.
  void Finish();

 private:
  std::future<void> m_end;
};

}  // namespace kandrel_post
