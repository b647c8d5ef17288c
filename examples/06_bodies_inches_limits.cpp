// What a host does around a posting: it measures a part, walks a machine's bodies, posts a path of
// millimetres in inches, and says in its user's words why limits refuse a run.
//
//   bodies_inches_limits MACHINE.xml PART.stl
#include <kandrel/cadcam/mesh.h>
#include <kandrel/cadcam/stl/stl_reader.h>
#include <kandrel/kintree/geometry.h>
#include <kandrel/kintree/machine_reader.h>
#include <kandrel/kintree/machine_visitors.h>
#include <kandrel/misc/exception.h>
#include <kandrel/misc/text.h>
#include <kandrel/post/creators/posting_facade.h>
#include <kandrel/post/model/post_exception.h>
#include <kandrel/post/model/posted_move_visitor.h>
#include <kandrel/post/verifier/limit_report.h>

#include <cmath>
#include <cstdio>
#include <optional>
#include <string>

using Units = measures::zvUnitsFactory;
using Point = cadcam::zvTPoint3d<double>;

namespace {

void ShowPart(const std::wstring& file) {
  cadcam::zvTMesh<double> part(Units::metric);  // as the user says: an STL file tells no units
  const cadcam::zvSTLForm form = cadcam::LoadSTL(file, part);
  std::printf("part: %s STL, %zu triangles\n", form == cadcam::zvSTLForm::text ? "text" : "binary",
              part.GetTriangles().size());
  if (part.IsEmpty()) return;  // its corners are no numbers to show
  const Point& low = part.GetMinimum();
  const Point& high = part.GetMaximum();
  std::printf("  from %g %g %g to %g %g %g\n", low.x, low.y, low.z, high.x, high.y, high.z);
}

// The tree's bodies by name. Workpiece, stock and initial stock come to slots of their own.
struct Bodies final : kintree::mkdMSHelperKOVisitor {
  using mkdMSHelperKOVisitor::mkdMSHelperKOVisitor;
  using mkdMSHelperKOVisitor::Visit;

  void Visit(kintree::mkdPolygonalGeometry& body) override { Show("body", body); }
  void Visit(kintree::mkdWorkPiece& body) override { Show("workpiece", body); }
  void Visit(kintree::mkdStockGeometry& body) override { Show("stock", body); }
  void Visit(kintree::mkdInitialStock& body) override { Show("initial stock", body); }

  static void Show(const char* kind, const kintree::mkdPolygonalGeometry& body) {
    const std::size_t count = body.GetMesh() ? body.GetMesh()->GetTriangles().size() : 0;
    std::printf("%s %s: %zu triangles\n", kind, misc::ToUtf8(body.GetName()).c_str(), count);
  }
};

// Once around a cone, leaning outwards by 30 degrees, in millimetres.
cadcam::zvToolPath Cone() {
  constexpr double kDegree = 3.14159265358979323846 / 180;
  cadcam::zvToolPath path(Units::metric);
  for (int deg = 0; deg <= 360; deg += 5) {
    const double c = std::cos(deg * kDegree);
    const double s = std::sin(deg * kDegree);
    const Point axis(c * 0.5, s * 0.5, std::cos(30 * kDegree));
    path.AddMove(misc::MakeAutoPointer<cadcam::zv3axMove>(Point(40 * c, 40 * s, 0), axis,
                                                          /*feed=*/800.0, /*rapid=*/false));
  }
  return path;
}

// SetUnits alone would leave 800 as it stands: 800 inches a minute, 25 times as fast.
void ConvertWithFeeds(cadcam::zvToolPath& path, Units::Units units) {
  const double factor = Units::GetScaleFactor(path.GetUnits(), units);
  for (const cadcam::zvMovePointer& move : path) move->SetFeed(move->GetFeed() * factor);
  path.SetUnits(units);
}

// All that a posting is made of and that has lengths. A creator refers to it.
struct Job {
  const post::zvMachDef& machine;
  const post::zv5axControlDef& control;
  post::zvKDRParam parameters;
  Point partOrigin;
  double toolLength;
  post::zvPathTolerance tolerance;
};

// The angles of a line of any machine.
struct Angles final : post::zvPostedVisitor {
  double first = 0;
  double second = 0;

  void Visit(const post::zvPosted6axMove& line) override {
    Take(line.GetAngle(0), line.GetAngle(1));
  }
  void Visit(const post::zvPosted5axMove& line) override {
    Take(line.GetAngle(0), line.GetAngle(1));
  }
  void Visit(const post::zvPosted4axMove& line) override { Take(line.GetRotaryAngle(), 0); }
  void Visit(const post::zvPosted3axMove&) override {}
  void Visit(const post::zvPostedMove&) override {}
  void Take(double angle0, double angle1) { first = angle0, second = angle1; }
};

bool IsAboutLimits(const post::zvPostException& e) {
  using E = post::zvPostException;
  return e.GetId() == E::kOutOfLimits ||
         (e.GetId() >= E::kXBelowMinimum && e.GetId() <= E::kSecondRotaryAboveMaximum);
}

// Posts the run once more without checks: what it leaves, and where the part would have to stand.
void ExplainLimits(Job job, const cadcam::zvToolPath& path) {
  job.parameters.SetLimitsCheck(post::zvKDRParam::checkNothing);
  zvKDR5AxBase kernel(job.machine, job.control, job.parameters, job.partOrigin, job.toolLength);
  kernel.SetPathTolerance(job.tolerance);
  const post::zvPostedTP& posted = kernel.Post(path);

  post::zvLimitReport report(job.machine, job.control, job.parameters.GetLimitTolerance());
  Angles angles;
  int count = 0;
  for (auto line = posted.Begin(); line != posted.End(); ++line) {
    (*line)->AcceptVisitor(angles);
    for (const post::zvLimitBreach& breach :
         report.Add({(*line)->GetMachinePosition(), angles.first, angles.second}))
      if (++count == 1)
        std::printf("move %d: axis %d stands at %.3f, its limit is %.3f\n",
                    (*line)->GetSourceIndex(), breach.limit.limitAxis, breach.value, breach.bound);
  }
  std::printf("%d positions out of limits\n", count);
  if (!report.HasLinearBreach()) return;
  if (const std::optional<Point> shift = report.SmallestShift(/*margin=*/1e-6))
    std::printf("move the part by %.3f %.3f %.3f\n", shift->x, shift->y, shift->z);
  else
    std::puts("no other place of the part helps");
}

void Post(const Job& job, const cadcam::zvToolPath& path) {
  zvKDR5AxBase kernel(job.machine, job.control, job.parameters, job.partOrigin, job.toolLength);
  kernel.SetPathTolerance(job.tolerance);
  try {
    const post::zvPostedTP& posted = kernel.Post(path);
    double seconds = 0;
    for (auto line = posted.Begin(); line != posted.End(); ++line)
      seconds += (*line)->GetMoveTime();
    std::printf("%zu lines, Z from %.4f to %.4f, %.3f s\n", posted.GetCount(),
                posted.GetMachMin().at(2), posted.GetMachMax().at(2), seconds);
  } catch (const post::zvPostException& e) {
    if (!IsAboutLimits(e)) throw;
    std::printf("error %u: %s\n", e.GetId(), e.what());
    ExplainLimits(job, path);
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) return 2;
  try {
    const std::wstring file = misc::FromUtf8(argv[1]);
    ShowPart(misc::FromUtf8(argv[2]));
    zvMachDefReader reader(file);
    const post::zvMachDefBuilder definition = reader.Read();
    post::zvMachDef& machine = *definition.GetMachDef();
    if (reader.GetMachine()) Bodies(*reader.GetMachine()).Walk();  // none of a settings file alone

    const post::zv5axControlDef control;
    cadcam::zvToolPath path = Cone();
    Job job{machine, control, post::zvKDRParam(Units::metric), {0, 0, 60}, 120, {0.01, 0.1}};
    job.parameters.SetLimitsCheck(post::zvKDRParam::checkAllAxes);
    Post(job, path);

    // The same in inches, all of it: parameters are made anew, nothing converts them.
    const double factor = Units::GetScaleFactor(Units::metric, Units::inch);
    machine.SetUnits(Units::inch);
    ConvertWithFeeds(path, Units::inch);
    post::zvKDRParam inches(Units::inch);
    inches.SetLimitsCheck(post::zvKDRParam::checkAllAxes);
    job.parameters = inches;
    job.partOrigin = job.partOrigin * factor;
    job.toolLength *= factor;
    job.tolerance = {0.01 * factor, 0.1};
    Post(job, path);

    // Too high on the table.
    job.partOrigin.z += 25;
    Post(job, path);
  } catch (const misc::zvException& e) {
    std::fprintf(stderr, "error %u: %s\n", e.GetId(), e.what());
    return 1;
  }
}
