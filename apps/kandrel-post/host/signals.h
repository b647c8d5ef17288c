// What the program owes the system: open standard streams, and nothing half-written after Ctrl-C.
#pragma once

#include <csignal>
#include <cstddef>
#include <string>

namespace kandrel_post {

/// Call first, before a file is opened or a thread started. Occupies standard streams that came
/// closed, so that no output file takes their numbers; lets a write beyond the file size limit
/// fail instead of ending the program; and lets the signals that end it (hang-up, interrupt,
/// broken pipe, terminate) remove the files and folders of RemovedBySignal first. A signal that the
/// caller ignores stays ignored.
///
/// They end the program at once, wherever it stands: nothing has to come round to asking, and what
/// it holds in memory goes with it. It ends by the signal itself, so that a shell sees 128 and its
/// number. Interrupt and terminate leave a line on standard error.
void PrepareProcess();

/// Whether standard error's cursor stands behind a line that is to be wiped out before another.
void SetLineShown(bool isShown) noexcept;

/// Holds signals back from the calling thread, and from threads it starts, while it lives.
class SignalsHeld {
 public:
  SignalsHeld();
  SignalsHeld(const SignalsHeld&) = delete;
  SignalsHeld& operator=(const SignalsHeld&) = delete;
  ~SignalsHeld();

 private:
  ::sigset_t m_before{};
};

/// While it lives, a signal that ends the program removes the file, or the folder if it is empty
/// then. Files go before folders, folders in the order in which they were named: inner ones first.
/// At most 32 at a time; what comes beyond is not removed.
class RemovedBySignal {
 public:
  explicit RemovedBySignal(std::string name);
  RemovedBySignal(const RemovedBySignal&) = delete;
  RemovedBySignal& operator=(const RemovedBySignal&) = delete;
  ~RemovedBySignal();

 private:
  std::string m_name;
  std::size_t m_slot;
};

}  // namespace kandrel_post
