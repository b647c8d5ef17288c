// A plain machine of each class and what it can follow, for what creators of all classes keep.
#pragma once

#include <kandrel/post/creators/five_axis_creator.h>
#include <kandrel/post/creators/four_axis_creator.h>
#include <kandrel/post/creators/six_axis_creator.h>
#include <kandrel/post/creators/three_axis_creator.h>
#include <tests/support/testing.h>
#include <tests/support/toolpath_builders.h>

namespace tests {

using EveryCreator = testing::Types<zvPosted3axTPCreator, zvPosted4axTPCreator,
                                    zvPosted5axTPCreator, zvPosted6axTPCreator>;

/// The machine of a creator's class. X turns the part; of more axes Z does, on which X rides.
template <class C>
auto PlainMachine() {
  std::remove_cvref_t<decltype(std::declval<C&>().GetMachDef())> machDef;
  if constexpr (requires { machDef.SetRotaryOnWorkpiece(1); }) {
    machDef.SetRotaryOnWorkpiece(1);
    machDef.SetRotationDirection({1, 0, 0});
  } else if constexpr (requires { machDef.SetFiveAxisKind(3); }) {
    machDef.SetFiveAxisKind(3);
    machDef.SetFirstRotationDirection({0, 0, 1});
    machDef.SetSecondRotationDirection({1, 0, 0});
  }
  if constexpr (requires { machDef.SetFirstOnWorkpiece(1); }) {
    machDef.SetFirstOnWorkpiece(1);
    machDef.SetThirdRotationDirection({0, 1, 0});
  }
  return machDef;
}

/// What a creator refers to, kept alive beside it.
template <class C>
struct Workshop {
  using MachDef = decltype(PlainMachine<C>());
  static constexpr int kAxes = std::is_same_v<C, zvPosted3axTPCreator>   ? 3
                               : std::is_same_v<C, zvPosted4axTPCreator> ? 4
                               : std::is_same_v<C, zvPosted5axTPCreator> ? 5
                                                                         : 6;
  MachDef machDef = PlainMachine<C>();
  post::zv5axControlDef control;
  post::zvKDRParam par{kMetric};
  Point origin;
  double toolLength = 0;

  C Creator() const&& = delete;  // it refers to the workshop
  C Creator() const& { return {machDef, control, par, origin, toolLength}; }

  /// The range of the only or first rotary axis, degrees.
  void SetRange(double low, double high) {
    if constexpr (kAxes == 4) {
      machDef.SetMinAngle(low);
      machDef.SetMaxAngle(high);
    } else if constexpr (kAxes > 4) {
      machDef.SetMinFirstAngle(low);
      machDef.SetMaxFirstAngle(high);
    }
  }
  /// A tool that the machine reaches. With four axes it turns about X; with more about Z, swinging
  /// to and from it, and passes Z at 540 degrees.
  static Point Tool(double deg) {
    constexpr double kRad = 0.017453292519943295;
    const Point about{std::sin(deg * kRad), std::cos(deg * kRad), 0};
    if constexpr (kAxes == 3) return {0, 0, 1};
    if constexpr (kAxes == 4) return {0, about.x, about.y};
    const double tilt = std::cos(deg * kRad / 6) / 2;
    return about * std::sin(tilt) + Point{0, 0, std::cos(tilt)};
  }
  /// Along X by tenths, from 10 degrees on.
  static PathBuilder Path(int count, double stepDeg, double lastX = 0) {
    PathBuilder::Moves moves;
    for (int i = 0; i < count; ++i)
      moves.push_back(Move5({i + 1 == count ? lastX : i * 0.1, 5, 0}, Tool(10 + i * stepDeg)));
    return PathBuilder().Contour(moves);
  }
};

}  // namespace tests
