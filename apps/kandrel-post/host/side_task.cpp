#include "kandrel-post/host/side_task.h"

#include <system_error>

#include "kandrel-post/host/signals.h"

namespace kandrel_post {

void SideTask::Start(const std::function<void()>& work) {
  try {
    const SignalsHeld held;  // they are the main thread's
    m_end = std::async(std::launch::async, work);
    return;
  } catch (const std::system_error&) {
  }
  work();
}

void SideTask::Finish() {
  if (m_end.valid()) m_end.get();
}

}  // namespace kandrel_post
