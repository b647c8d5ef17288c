// Benchmarks held to ratios, each goal between two cases measured in turn in one run; and the
// suites of them, one for each source named after what it drives.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace bench {

/// A case: a piece of work over a number of moves. `prepare` is not timed and runs before each
/// repetition; `run` is timed.
struct Case {
  std::string name;
  double moves;
  std::function<void()> run;
  std::function<void()> prepare = [] {};
};

/// The minimum time per move of `subject` is to be at most `goal` times that of `yardstick`.
struct Goal {
  std::string what;
  std::string subject;
  std::string yardstick;
  double goal;
  /// True: compare times of whole cases instead of times per move.
  bool wholeTime = false;
};

/// A figure measured once, which is to be at most `goal`.
struct Figure {
  std::string what;
  std::function<double()> measure;
  double goal;
};

struct Suite {
  std::vector<Case> cases;
  std::vector<Goal> goals;
  std::vector<Figure> figures;
  /// Cases whose instructions per move are counted under callgrind; the goal is that of the ratio
  /// to the yardstick's count.
  std::vector<Goal> instructionGoals;
};

void AddThreeAxisCreator(Suite& suite);
void AddFourAxisCreator(Suite& suite);
void AddFiveAxisCreator(Suite& suite);
void AddFacade(Suite& suite);
void AddLogs(Suite& suite);
void AddMesh(Suite& suite);
void AddMachineFiles(Suite& suite);
void AddPersistence(Suite& suite);
void AddToolMesh(Suite& suite);
void AddVerifier(Suite& suite);

}  // namespace bench
