// zvProgress, zvPolling: a host that is told how far work has come, and may cancel it.
#pragma once

#include <kandrel/misc/export.h>
#include <kandrel/misc/misc_exception.h>

#include <cstdint>

namespace misc {

/// What a host is asked while work goes on, by the thread that does the work. It is given to what
/// works by a pointer that is not owned; null, the default, asks nobody and costs nothing.
///
/// 1. A stage begins with the fraction 0 and ends with 1, and the fraction never falls in between.
///    A stage that is gone through again, as where limits make a posting try another solution,
///    begins again at 0.
/// 2. Asked at least at both ends of each stage, and after 4096 moves at the latest.
/// 3. What the hook throws passes through, as a cancelling does.
/// 4. A hook that several objects have, or one that threads share, is called by all their threads,
///    also at the same time, and must stand that; what it is told of each comes mixed with the
///    rest. A hook for each thread's work keeps them apart.
class KANDREL_API zvProgress {
 public:
  /// What is being done; no stored form holds these numbers.
  enum Stage : std::uint8_t {
    kReading,
    kExamining,  ///< the toolpath as a whole: its axis, its size, whether it has one orientation
    kSolving,    ///< with all that is interpolated between the moves
    kPoles,
    kWinding,
    kJumps,
    kTolerance,
    kDividing,
    kLimits,  ///< with shifts and rewindings
    kTimes,
    kControl,
    kCollecting,  ///< moves on their way to the caller's list
    kVerifying,
    kMeshing,
    kWriting,
  };

  /// `fraction` of the stage is done, 0 to 1. False cancels: the work ends in zvCancelled.
  virtual bool Report(Stage stage, double fraction) = 0;
  virtual ~zvProgress();

 protected:
  zvProgress() = default;
  zvProgress(const zvProgress&) = default;
  zvProgress& operator=(const zvProgress&) = default;
};

/// The name of a stage, a few words in lower case, for people.
KANDREL_API const char* NameOf(zvProgress::Stage stage) noexcept;

/// The hook has cancelled the work: zvmiscException 9000, "The operation was cancelled.".
class KANDREL_API zvCancelled final : public zvExceptionOf<zvCancelled, zvmiscException> {
 public:
  zvCancelled() : zvExceptionOf(kCancelled) {}
};

/// Counts what is done and asks the hook now and then. It is handed along with the work; as a hook
/// itself it serves work inside of other work, whose stages it passes on. One thread at a time.
///
/// Once the hook has cancelled or thrown it is not asked again until Start: what cleans up on the
/// way out goes on undisturbed.
class KANDREL_API zvPolling final : public zvProgress {
 public:
  /// Moves between two times of asking: few enough for 4096 to hold where a count comes late.
  static constexpr std::uint32_t kEvery = 1024;

  /// Null asks nobody.
  explicit zvPolling(zvProgress* hook = nullptr) noexcept : m_hook(hook) {}

  /// The hook that is asked, or null; not owned.
  zvProgress* GetHook() const noexcept { return m_hook; }
  /// Whether work is to be cut short after the hook has cancelled or thrown.
  bool HasStopped() const noexcept { return m_hasStopped; }
  /// This, for what polls; null where nobody is asked.
  zvPolling* Get() noexcept { return m_hook != nullptr ? this : nullptr; }

  /// Work begins, at no stage.
  void Start() noexcept;
  /// Ends the present stage and begins one that takes so many walks, of equal shares. All from here
  /// on throw zvCancelled, and what the hook throws.
  void Enter(Stage stage, int walks = 1) {
    if (m_hook != nullptr) EnterStage(stage, walks);
  }
  /// Ends the present stage, the last.
  void Finish() {
    if (m_hook != nullptr) LeaveStage();
  }
  /// The next walk of the stage begins. More walks than were told of don't count.
  void StartWalk(std::uint64_t total) noexcept;
  /// So many more of the walk's total are done.
  void Advance(std::uint64_t moves);
  /// So much was done that no total holds.
  void Touch(std::uint64_t moves);

  /// Passes on what inner work reports; the present stage ends before it. False once stopped.
  bool Report(Stage stage, double fraction) override;

 private:
  void EnterStage(Stage stage, int walks);
  void LeaveStage();
  void Count(std::uint64_t moves);
  void Ask();
  bool Call(Stage stage, double fraction);

  zvProgress* m_hook;
  Stage m_stage = kReading;
  bool m_isInStage = false;
  bool m_hasStopped = false;
  int m_walks = 1;
  int m_walk = -1;
  std::uint64_t m_total = 0;
  std::uint64_t m_done = 0;
  std::uint64_t m_sinceAsked = 0;
  double m_fraction = 0;
};

}  // namespace misc
