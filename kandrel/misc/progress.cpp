#include <kandrel/misc/progress.h>

#include <algorithm>
#include <iterator>
#include <utility>

namespace misc {

namespace {

constexpr const char* kNames[] = {
    "reading", "examining the path", "solving",        "blending poles", "winding angles",
    "jumps",   "holding tolerance",  "dividing steps", "keeping limits", "timing",
    "control", "collecting",         "verifying",      "meshing",        "writing",
};
static_assert(std::size(kNames) == zvProgress::kWriting + 1);

}  // namespace

zvProgress::~zvProgress() = default;

const char* NameOf(zvProgress::Stage stage) noexcept {
  return stage < std::size(kNames) ? kNames[stage] : "working";
}

void zvPolling::Start() noexcept {
  m_isInStage = false;
  m_hasStopped = false;
}

void zvPolling::EnterStage(Stage stage, int walks) {
  LeaveStage();
  m_stage = stage;
  m_isInStage = true;
  m_walks = std::max(walks, 1);
  m_walk = -1;
  m_total = 0;
  m_fraction = 0;
  Ask();
}

void zvPolling::LeaveStage() {
  if (!std::exchange(m_isInStage, false)) return;
  m_fraction = 1;
  Ask();
}

void zvPolling::StartWalk(std::uint64_t total) noexcept {
  ++m_walk;
  m_total = total;
  m_done = 0;
}

void zvPolling::Advance(std::uint64_t moves) {
  m_done += moves;
  if (m_isInStage && m_total != 0 && m_walk < m_walks) {
    const double part = std::min(static_cast<double>(m_done) / static_cast<double>(m_total), 1.0);
    m_fraction = std::max(m_fraction, (m_walk + part) / m_walks);
  }
  Count(moves);
}

void zvPolling::Touch(std::uint64_t moves) {
  Count(moves);
}

void zvPolling::Count(std::uint64_t moves) {
  m_sinceAsked += moves;
  if (m_sinceAsked >= kEvery) Ask();
}

void zvPolling::Ask() {
  m_sinceAsked = 0;
  if (m_hook == nullptr || m_hasStopped) return;
  if (!Call(m_stage, m_fraction)) throw zvCancelled();
}

bool zvPolling::Report(Stage stage, double fraction) {
  if (m_hasStopped) return false;
  if (m_isInStage) LeaveStage();
  return m_hook == nullptr || Call(stage, fraction);
}

// Stopped as long as the hook hasn't come back, so that it is when the hook throws.
bool zvPolling::Call(Stage stage, double fraction) {
  m_hasStopped = true;
  const bool goesOn = m_hook->Report(stage, fraction);
  m_hasStopped = !goesOn;
  return goesOn;
}

}  // namespace misc
