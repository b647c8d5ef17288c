// Moves the machine of a machine description file along a posting, and measures where its tool
// comes to stand over the workpiece: on the path, or the file's axes aren't what was posted for.
//
//   move_the_machine FILE.xml
#include <kandrel/kintree/kinematic_axis.h>
#include <kandrel/kintree/machine_file_reader.h>
#include <kandrel/kintree/machine_reader.h>
#include <kandrel/misc/exception.h>
#include <kandrel/misc/text.h>
#include <kandrel/post/creators/posting_facade.h>
#include <kandrel/post/model/posted_move_visitor.h>

#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

using cadcam::zvTPoint3d;
using kintree::mkdAxis;
using kintree::mkdMatrix;

namespace {

// The axes of the tree, in the order of posted angles and positions: X, Y, Z, then rotary ones.
// A value moves an axis with all that it carries.
struct Mover final : post::zvPostedVisitor {
  std::vector<mkdAxis*> axes;

  void Visit(const post::zvPosted5axMove& line) override {
    axes[3]->SetValue(line.GetAngle(0));
    axes[4]->SetValue(line.GetAngle(1));
  }
  void Visit(const post::zvPosted4axMove& line) override {
    axes[3]->SetValue(line.GetRotaryAngle());
  }
  void Visit(const post::zvPosted3axMove&) override {}
  void Visit(const post::zvPosted6axMove&) override {}
  void Visit(const post::zvPostedMove&) override {}

  void MoveTo(const post::zvPostedMove& line) {
    const zvTPoint3d<double>& p = line.GetMachinePosition();
    for (int i = 0; i < 3; ++i) axes[static_cast<std::size_t>(i)]->SetValue(p[i]);
    line.AcceptVisitor(*this);
  }
};

// Column 3 of a body's matrix is where its zero stands, column 2 where its Z points.
zvTPoint3d<double> Column(const mkdMatrix& m, std::size_t column) {
  return {m(0, column), m(1, column), m(2, column)};
}

// A vector of the world as the workpiece sees it: its matrix is a rotation, whose inverse is its
// transpose.
zvTPoint3d<double> SeenFrom(const mkdMatrix& workpiece, const zvTPoint3d<double>& v) {
  return {Dot(Column(workpiece, 0), v), Dot(Column(workpiece, 1), v), Dot(Column(workpiece, 2), v)};
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  const std::wstring file = misc::FromUtf8(argv[1]);
  try {
    // The same file twice: as what posting needs of it, and as a tree of axes and bodies.
    const post::zvMachDefBuilder definition = zvMachDefReader(file).Read();
    const auto machine = kintree::zvV2XMLReader(file).Read(nullptr);
    machine->GetTree().SetWorldTransform(mkdMatrix::Identity());  // a new tree has no places yet
    Mover mover;
    for (const std::wstring& name : definition.GetAxisNames())
      mover.axes.push_back(&dynamic_cast<mkdAxis&>(*machine->GetObject(name)));
    const mkdMatrix& tool = machine->GetObject(L"tool")->GetWorldTransform();
    const mkdMatrix& workpiece = machine->GetObject(L"workpiece")->GetWorldTransform();

    // All axes at 0: the part's zero, and the tool's tip as far below the spindle's nose as the
    // tool is long, for a machine whose nose is at zero then.
    const zvTPoint3d<double> partOrigin = Column(workpiece, 3);
    const double toolLength = -Column(tool, 3).z;

    // A spiral, tilted as the machine can tilt: the tree itself says how, at some angles.
    cadcam::zvToolPath path(definition.GetMachDef()->GetUnits());
    for (int step = 0; step < 12; ++step) {
      if (mover.axes.size() > 3) mover.axes[3]->SetValue(-150 + 25.0 * step);
      if (mover.axes.size() > 4) mover.axes[4]->SetValue(-10 - 2.5 * step);
      path.AddMove(misc::MakeAutoPointer<cadcam::zv3axMove>(
          zvTPoint3d<double>(30 - step, 2.0 * step, 10 + step),
          SeenFrom(workpiece, Column(tool, 2)), 800.0, false));
    }
    const post::zv5axControlDef control;
    const post::zvKDRParam parameters(definition.GetMachDef()->GetUnits());
    zvKDR5AxBase kernel(definition.GetMachDef(), control, parameters, partOrigin, toolLength);
    const post::zvPostedTP& posted = kernel.Post(path);

    double tip = 0;
    double axis = 0;
    for (auto line = posted.Begin(); line != posted.End(); ++line) {
      mover.MoveTo(**line);
      const zvTPoint3d<double> way = Column(tool, 3) - Column(workpiece, 3);
      tip = std::max(tip, (SeenFrom(workpiece, way) - (*line)->GetPartPosition()).Length());
      axis = std::max(axis,
                      (SeenFrom(workpiece, Column(tool, 2)) - (*line)->GetOrientation()).Length());
    }
    // The matrices of a tree are of single precision.
    const bool isOnPath = tip < 1e-3 && axis < 1e-5;
    std::printf("%zu lines, tip off by %.4f, tool axis by %.6f: %s\n", posted.GetCount(), tip, axis,
                isOnPath ? "on the path" : "NOT on the path");
    return isOnPath ? 0 : 1;
  } catch (const misc::zvException& e) {
    std::fprintf(stderr, "error %u: %s\n", e.GetId(), e.what());
    return 1;
  }
}
