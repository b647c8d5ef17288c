// Stores a posting as a log, reads the log back, posts its toolpath again and compares.
//
//   store_and_replay FILE.kdr
#include <kandrel/cadcam/tools/mills.h>
#include <kandrel/misc/exception.h>
#include <kandrel/persistence/log_file.h>
#include <kandrel/post/creators/posting_facade.h>

#include <cstdio>
#include <string>

using cadcam::zvTPoint3d;

// A staircase for a 3-axis mill: what an application has at hand when it posts.
void Store(const std::wstring& file) {
  cadcam::zvToolPath path(measures::zvUnitsFactory::metric);
  for (int step = 0; step < 10; ++step)
    path.AddMove(misc::MakeAutoPointer<cadcam::zv3axMove>(
        zvTPoint3d<double>(5.0 * step, 0, -1.0 * step), zvTPoint3d<double>(0, 0, 1), 800.0, false));
  const post::zv3axMachDef machine;
  const post::zv5axControlDef control;
  const post::zvKDRParam parameters(machine.GetUnits());
  const zvTPoint3d<double> partOrigin(100, 50, 0);
  zvKDR5AxBase kernel(machine, control, parameters, partOrigin, 75);
  const post::zvPostedTP& posted = kernel.Post(path);
  const cadcam::zvEndMill tool;  // its description travels with the run
  zvKDROutput(file, kernel, path, posted, tool);
}

// Whoever has the log needs nothing else.
bool Replay(const std::wstring& file) {
  zvKDRInput log(file);
  zvKDR5AxBase kernel = log.refKDR5AxBase();
  const post::zvPostedTP& again = kernel.Post(log.GetToolPath());
  const post::zvPostedTP& stored = log.GetPosted5axTP();
  std::printf("%zu lines stored, %zu posted again\n", stored.GetCount(), again.GetCount());
  if (stored.GetCount() != again.GetCount()) return false;
  for (auto a = stored.Begin(), b = again.Begin(); a != stored.End(); ++a, ++b)
    if (!(**a == **b)) return false;
  return true;
}

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  const std::string name = argv[1];
  const std::wstring file(name.begin(), name.end());  // plain ASCII is enough here
  try {
    Store(file);
    const bool isEqual = Replay(file);
    std::puts(isEqual ? "equal" : "different");
    return isEqual ? 0 : 1;
  } catch (const misc::zvException& e) {
    std::fprintf(stderr, "error %u: %s\n", e.GetId(), e.what());
    return 1;
  }
}
