// Posts a toolpath for a mill with a turning table on a tilting cradle, and prints where the axes
// go. It cuts a cone: once around it, the tool leaning outwards by 30 degrees.
#include <kandrel/misc/exception.h>
#include <kandrel/post/creators/posting_facade.h>
#include <kandrel/post/model/posted_move_visitor.h>

#include <cmath>
#include <cstdio>

using cadcam::zvTPoint3d;

// Posted moves are told apart by visitors; this machine's all have two angles.
struct Printer final : post::zvPostedVisitor {
  void Visit(const post::zvPosted5axMove& line) override {
    const zvTPoint3d<double>& p = line.GetMachinePosition();
    std::printf("X%.4f Y%.4f Z%.4f C%.4f A%.4f F%.0f T%.4f\n", p.x, p.y, p.z, line.GetAngle(0),
                line.GetAngle(1), line.GetFeed(), line.GetMoveTime());
  }
  void Visit(const post::zvPosted6axMove&) override {}
  void Visit(const post::zvPosted4axMove&) override {}
  void Visit(const post::zvPosted3axMove&) override {}
  void Visit(const post::zvPostedMove&) override {}
};

int main() {
  // Each move: where the tip goes, the direction from there to the spindle, feed, not rapid.
  constexpr double kDegree = 3.14159265358979323846 / 180;
  cadcam::zvToolPath path(measures::zvUnitsFactory::metric);
  for (int deg = 0; deg <= 360; deg += 2) {
    const double c = std::cos(deg * kDegree);
    const double s = std::sin(deg * kDegree);
    const zvTPoint3d<double> tip(40 * c, 40 * s, 0);
    const zvTPoint3d<double> axis(c * 0.5, s * 0.5, std::cos(30 * kDegree));
    path.AddMove(misc::MakeAutoPointer<cadcam::zv3axMove>(tip, axis, 800.0, false));
  }

  post::zv5axMachDef machine;
  machine.SetFiveAxisKind(3);                      // both rotary axes carry the part
  machine.SetFirstRotationDirection({0, 0, -1});   // C, the turning table
  machine.SetSecondRotationDirection({-1, 0, 0});  // A, the cradle that it rides on,
  machine.SetSecondRotationPivot({0, 0, -50});     // with its axis 50 mm below zero
  machine.SetMinSecondAngle(-120);
  machine.SetMaxSecondAngle(20);
  const post::zv5axControlDef control;  // angles run on past a turn
  post::zvKDRParam parameters(machine.GetUnits());
  parameters.SetLimitsCheck(post::zvKDRParam::checkAllAxes);
  const zvTPoint3d<double> partOrigin(5, -3, 20);  // of the part, on the table

  try {
    constexpr double kToolLength = 75;  // from the tip to the spindle's nose
    zvKDR5AxBase kernel(machine, control, parameters, partOrigin, kToolLength);
    const post::zvPostedTP& posted = kernel.Post(path);
    Printer printer;
    for (const auto& line : posted) line->AcceptVisitor(printer);
  } catch (const misc::zvException& e) {
    std::fprintf(stderr, "error %u: %s\n", e.GetId(), e.what());
    return 1;
  }
}
