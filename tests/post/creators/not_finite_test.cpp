// What is infinite or NaN: refused where it would end in a posted number, and only there.
#include <gtest/gtest.h>
#include <kandrel/post/creators/four_axis_creator.h>
#include <kandrel/post/creators/six_axis_creator.h>
#include <kandrel/post/creators/three_axis_creator.h>
#include <tests/support/five_axis_scenes.h>
#include <tests/support/outcome.h>
#include <tests/support/source_path.h>

#include <cmath>
#include <functional>

namespace {

using post::zvKDRParam;
using tests::Build;
using tests::IdOf;
using tests::kInfinity;
using tests::kNaN;
using tests::Move5;
using tests::Point;
using tests::Source;

enum Axes { k3 = 1, k4 = 2, k5 = 4, k6 = 8, kRotary = k4 | k5 | k6, kAll = k3 | kRotary };

// All that a case may spoil.
struct Spoilt {
  zvKDRParam par{measures::zvUnitsFactory::metric};
  Point origin;
  double toolLength = 0;
  Point pivot;
  Point thirdPivot;
  double thirdAngle = 0;
  double reach = 1000;  // of the linear axes
  double feed = 1000;
  double lastX = 10;
  double length = 1;                                             // of the orientations
  double tilt = 0;                                               // by which the orientation jumps
  misc::zvAutoPointer<post::zvTransformation3d> transformation;  // 3 axes

  Point Reach() const { return {reach, reach, reach}; }
  Source Path() const {
    const double rad = tilt * 0.017453292519943295;
    return {{{0, 5, 0}, Point{0, 0, 1} * length, feed},
            {{lastX, 5, 0}, Point{0, std::sin(rad), std::cos(rad)} * length, feed}};
  }
};

// The ids of a posting, and of the last move on its own.
template <class Creator, class MachDef>
std::pair<std::uint32_t, std::uint32_t> Ids(const Spoilt& s, const MachDef& machDef) {
  const post::zv5axControlDef control;
  Creator creator(machDef, control, s.par, s.origin, s.toolLength);
  if constexpr (std::is_same_v<Creator, zvPosted3axTPCreator>)
    creator.SetTransfor3d(s.transformation);
  const Source path = s.Path();
  const auto last = Move5(path.back().tip, path.back().orientation, path.back().feed);
  const std::uint32_t single = IdOf([&] { creator.PostMove(last, post::zvPostedMove::noLink); });
  EXPECT_EQ(single,
            IdOf([&] { creator.PostMoveWithinMachLimits(last, post::zvPostedMove::noLink); }));
  return {IdOf([&] { creator.Post(Build(path), false); }), single};
}

std::pair<std::uint32_t, std::uint32_t> Ids(Axes axes, const Spoilt& s) {
  constexpr auto kMetric = measures::zvUnitsFactory::metric;
  constexpr Point kX{1, 0, 0}, kY{0, 1, 0}, kZ{0, 0, 1};
  constexpr double kTurns = 1000;
  const Point high = s.Reach();
  switch (axes) {
    case k3:
      return Ids<zvPosted3axTPCreator>(s, post::zv3axMachDef(kMetric, kZ, -high, high, kX, kY, kZ));
    case k4:
      return Ids<zvPosted4axTPCreator>(s, post::zv4axMachDef(1, kMetric, kZ, kX, s.pivot, -kTurns,
                                                             kTurns, -high, high, kX, kY, kZ));
    case k5:
      return Ids<zvPosted5axTPCreator>(
          s, post::zv5axMachDef(3, kMetric, kZ, kZ, kX, {}, s.pivot, -kTurns, -kTurns, kTurns,
                                kTurns, -high, high, kX, kY, kZ));
    default: {
      post::zv6axMachDef six(3, kMetric, kZ, kZ, kX, kY, {}, s.pivot, s.thirdPivot, -kTurns,
                             -kTurns, kTurns, kTurns, s.thirdAngle, -high, high, kX, kY, kZ);
      six.SetFirstOnWorkpiece(1);
      six.SetSecondOnWorkpiece(1);
      return Ids<zvPosted6axTPCreator>(s, six);
    }
  }
}

TEST(NotFinite, IsRefusedWhereItWouldBePostedAndOnlyThere) {
  const auto jumps = [](Spoilt& s) {
    s.tilt = 150;
    s.par.SetMaxAngleStep(0);
  };
  const auto liftsToLimits = [jumps](Spoilt& s) {
    jumps(s);
    s.par.SetRetractToLimits(true);
  };
  const auto transforms = [](double bad, Point shift) {
    return [=](Spoilt& s) {
      post::zvTransformation3d::Rotation rotation = post::zvTransformation3d::Rotation::Identity();
      rotation(1, 1) = bad;
      s.transformation = misc::MakeAutoPointer<post::zvTransformation3d>(rotation, shift);
    };
  };
  const struct {
    const char* name;
    std::function<void(Spoilt&)> spoil;
    int posting, single;  // the classes that refuse, of those that are looked at
    int classes = kAll;
  } cases[] = {
      {"good", [](Spoilt&) {}, 0, 0},
      {"good jump", jumps, 0, 0, kRotary},
      {"good jump to the limits", liftsToLimits, 0, 0, kRotary},
      {"origin", [](Spoilt& s) { s.origin.y = kNaN; }, kAll, kAll},
      {"tool length", [](Spoilt& s) { s.toolLength = kInfinity; }, kAll, kAll},
      {"pivot", [](Spoilt& s) { s.pivot.z = kInfinity; }, kRotary, kRotary, kRotary},
      {"feed", [](Spoilt& s) { s.feed = kNaN; }, kAll, kAll},
      {"infinite feed", [](Spoilt& s) { s.feed = kInfinity; }, kAll, kAll},
      {"a position that overflows",
       [](Spoilt& s) {
         s.lastX = 1.5e308;
         s.origin.x = 1.5e308;
       },
       kAll, kAll},
      {"third angle", [](Spoilt& s) { s.thirdAngle = kNaN; }, k6, k6, k6},
      {"third pivot", [](Spoilt& s) { s.thirdPivot.x = kNaN; }, 0, 0, k6},
      {"transformation", transforms(kNaN, {}), k3, k3, k3},
      {"its translation", transforms(1, {0, kInfinity, 0}), k3, k3, k3},
      {"origin beside a transformation",
       [=](Spoilt& s) {
         transforms(1, {})(s);
         s.origin.x = kNaN;
         s.toolLength = kNaN;
       },
       0, 0, k3},
      {"lift that isn't made", [](Spoilt& s) { s.par.SetRetractDistance(kInfinity); }, 0, 0},
      {"lift",
       [=](Spoilt& s) {
         jumps(s);
         s.par.SetRetractDistance(kInfinity);
       },
       kRotary, 0, kRotary},
      {"lift distance beside limits",
       [=](Spoilt& s) {
         liftsToLimits(s);
         s.par.SetRetractDistance(kNaN);
       },
       0, 0, kRotary},
      {"lift to no limits",
       [=](Spoilt& s) {
         liftsToLimits(s);
         s.reach = kInfinity;
       },
       kRotary, 0, kRotary},
      {"lift along next to nothing",
       [=](Spoilt& s) {
         liftsToLimits(s);
         s.length = 1e-13;
       },
       0, 0, kRotary},
      {"preferred angle by no rule", [](Spoilt& s) { s.par.SetFirstMovePreferredAngle(kNaN); }, 0,
       0},
      {"preferred angle",
       [](Spoilt& s) {
         s.par.SetFirstMoveRule(zvKDRParam::bySecondAxis);
         s.par.SetFirstMovePreferredAngle(kNaN);
       },
       k5 | k6, 0},
  };
  for (const auto& c : cases)
    for (const Axes axes : {k3, k4, k5, k6}) {
      if ((c.classes & axes) == 0) continue;
      SCOPED_TRACE(testing::Message() << c.name << ' ' << axes);
      Spoilt setup;
      c.spoil(setup);
      std::pair<std::uint32_t, std::uint32_t> ids;
      // A creator takes no machine that it can't compute with.
      const std::uint32_t made = IdOf([&] { ids = Ids(axes, setup); });
      if (made != 0) ids = {made, made};
      EXPECT_EQ(ids.first, (c.posting & axes) != 0 ? 5039u : 0u);
      EXPECT_EQ(ids.second, (c.single & axes) != 0 ? 5039u : 0u);
    }
}

}  // namespace
