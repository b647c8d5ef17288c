// Posting for a 3-axis machine, against a bare loop that does the arithmetic and the append alone.
#include <kandrel/post/creators/three_axis_creator.h>

#include <cmath>
#include <memory>
#include <utility>

#include "bench/suites.h"
#include "bench/support.h"

namespace bench {

namespace {

using post::zvPosted3axMove;
using List = zvPosted3axTPCreator::List;

cadcam::zvToolPath MakeSpiral(int moves) {
  return MakePath(moves, [](int i) {
    const double a = i * 0.01;
    return std::pair{cadcam::zvTPoint3d<double>{80 * std::cos(a), 80 * std::sin(a), -1e-5 * i},
                     cadcam::zvTPoint3d<double>{0, 0, 1}};
  });
}

// What all cases share; paths are built when first asked for.
struct Scene {
  post::zv3axMachDef machDef;
  post::zv5axControlDef control;
  post::zvKDRParam par{measures::zvUnitsFactory::metric};
  cadcam::zvTPoint3d<double> origin{10, 20, 30};
  double toolLength = 120;
  zvPosted3axTPCreator creator{machDef, control, par, origin, toolLength};
  misc::zvMemoryPoolProvider provider;
  std::unique_ptr<List> list;

  const cadcam::zvToolPath& Path(int millions) {
    auto& path = millions == 1 ? m_one : m_ten;
    if (!path) path = std::make_unique<cadcam::zvToolPath>(MakeSpiral(millions * kMillion));
    return *path;
  }

 private:
  std::unique_ptr<cadcam::zvToolPath> m_one;
  std::unique_ptr<cadcam::zvToolPath> m_ten;
};

// The yardstick: the same record, the same list, nothing else.
void BareLoop(Scene& scene, const cadcam::zvToolPath& path) {
  scene.list = std::make_unique<List>(scene.provider);
  const cadcam::zvTPoint3d<double> tool{0, 0, scene.toolLength};
  for (const auto& pass : path.Children())
    for (const auto& slice : pass->Children())
      for (const auto& section : slice->Children())
        for (const auto& move : *section) {
          const auto& p = move->GetPosition();
          scene.list->EmplaceBack(p + scene.origin + tool, p, move->GetOrientation(),
                                  move->GetFeed(), move->IsRapid(), post::zvPostedMove::noLink);
        }
  Keep(&scene.list->Back());
}

}  // namespace

void AddThreeAxisCreator(Suite& suite) {
  const auto scene = std::make_shared<Scene>();
  const auto post = [scene](int millions) { scene->creator.Post(scene->Path(millions), true); };
  const auto drop = [scene] {
    scene->list.reset();
    scene->creator.ClearPostedList();
  };
  const auto fill = [scene, drop] {
    drop();
    BareLoop(*scene, scene->Path(1));
  };
  const auto walk = [scene] {
    double sum = 0;
    for (const zvPosted3axMove& move : *scene->list) sum += move.GetMachinePosition().x;
    Keep(&sum);
  };

  const auto prepare = [scene, drop](int millions) {
    return [=] {
      drop();
      scene->Path(millions);
    };
  };
  suite.cases.push_back(
      {"3ax/bare_loop/1M", 1e6, [scene] { BareLoop(*scene, scene->Path(1)); }, prepare(1)});
  suite.cases.push_back({"3ax/post_small/1M", 1e6, [post] { post(1); }, prepare(1)});
  suite.cases.push_back({"3ax/post_small/10M", 1e7, [post] { post(10); }, prepare(10)});
  suite.cases.push_back({"3ax/walk_list/1M", 1e6, walk, fill});
  suite.cases.push_back({"3ax/destroy_list/1M", 1e6, [scene] { scene->list.reset(); }, fill});

  suite.goals.push_back({"post 1M, small, over a bare loop with append", "3ax/post_small/1M",
                         "3ax/bare_loop/1M", 1.5});
  suite.goals.push_back(
      {"post 10M over post 1M, whole time", "3ax/post_small/10M", "3ax/post_small/1M", 10.5, true});
  suite.goals.push_back(
      {"destroying a list over walking it", "3ax/destroy_list/1M", "3ax/walk_list/1M", 3});

  suite.instructionGoals.push_back(
      {"guard: post, small, over a bare loop", "3ax/post_small/1M", "3ax/bare_loop/1M", 3.5});

  suite.figures.push_back({"bytes a move of a small list over record and links",
                           [scene, drop] {
                             const auto& path = scene->Path(1);
                             drop();
                             const double before = ResidentBytes();
                             BareLoop(*scene, path);
                             const double bytes = (ResidentBytes() - before) / 1e6;
                             drop();
                             return bytes / static_cast<double>(List::kNodeSize);
                           },
                           1.01});
}

}  // namespace bench
