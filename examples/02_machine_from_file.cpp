// Posts on the machine of a machine description file, and prints where its axes go.
//
//   machine_from_file FILE.xml
#include <kandrel/kintree/machine_reader.h>
#include <kandrel/misc/exception.h>
#include <kandrel/misc/text.h>
#include <kandrel/post/creators/posting_facade.h>

#include <cstdio>
#include <string>

using cadcam::zvTPoint3d;

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  try {
    // The file's axes, with their names; a settings file (.kds) beside it is taken into account.
    const post::zvMachDefBuilder machine = zvMachDefReader(misc::FromUtf8(argv[1])).Read();
    for (const std::wstring& name : machine.GetAxisNames())
      std::printf("axis %s\n", misc::ToUtf8(name).c_str());

    // A staircase, cut from above: a path that any machine can run.
    cadcam::zvToolPath path(machine.GetMachDef()->GetUnits());
    for (int step = 0; step < 5; ++step)
      path.AddMove(misc::MakeAutoPointer<cadcam::zv3axMove>(
          zvTPoint3d<double>(5.0 * step, 0, step), zvTPoint3d<double>(0, 0, 1), 800.0, false));
    const post::zv5axControlDef control;
    const post::zvKDRParam parameters(machine.GetMachDef()->GetUnits());
    const zvTPoint3d<double> partOrigin(0, 0, 60);
    zvKDR5AxBase kernel(machine.GetMachDef(), control, parameters, partOrigin, 120);
    const post::zvPostedTP& posted = kernel.Post(path);
    for (auto line = posted.Begin(); line != posted.End(); ++line) {
      const zvTPoint3d<double>& p = (*line)->GetMachinePosition();
      std::printf("X%.4f Y%.4f Z%.4f\n", p.x, p.y, p.z);
    }
  } catch (const misc::zvException& e) {
    std::fprintf(stderr, "error %u: %s\n", e.GetId(), e.what());
    return 1;
  }
}
