// What is infinite or NaN: refused where it would end in a posted number, and only there.
#include <tests/support/every_creator.h>
#include <tests/support/outcome.h>

namespace tests {
namespace {

using post::zvKDRParam;

// All that a case may spoil.
template <class C>
struct Spoilt : Workshop<C> {
  double feed = 1000, lastX = 10, length = 1;                    // of the orientations
  double turn = 0;                                               // by which the orientation jumps
  misc::zvAutoPointer<post::zvTransformation3d> transformation;  // 3 axes
  post::zvAlignMatrix matrix;

  cadcam::zvMovePointer Last() const {
    return Move5({lastX, 5, 0}, this->Tool(turn) * length, feed);
  }
  // The ids of a posting, and of its last move on its own.
  std::pair<std::uint32_t, std::uint32_t> Ids() const {
    C creator = this->Creator();
    if constexpr (Workshop<C>::kAxes == 3) creator.SetTransfor3d(transformation);
    creator.SetAlignMatrix(matrix);
    const auto path = PathBuilder().Contour({Move5({}, this->Tool(0) * length, feed), Last()});
    const std::uint32_t single = IdOf([&] { creator.PostMove(Last(), {}); });
    if (this->kAxes != 6 || !matrix) {
      EXPECT_EQ(single, IdOf([&] { creator.PostMoveWithinMachLimits(Last(), {}); }));
    }
    return {PostBy(creator, path).id, single};
  }
};

template <class C>
struct NotFinite : testing::Test {};
TYPED_TEST_SUITE(NotFinite, EveryCreator);

TYPED_TEST(NotFinite, IsRefusedWhereItWouldBePostedAndOnlyThere) {
  using S = Spoilt<TypeParam>;
  constexpr int kAxes = S::kAxes;
  struct Case {
    const char* name;
    std::function<void(S&)> spoil;
    bool isPostingRefused = true, isSingleRefused = true;
  };
  const auto jumps = [](S& s) {
    s.turn = 90;
    s.par.SetMaxAngleStep(0);
    s.par.SetMaxAngleJump(20);
  };
  const auto liftsToLimits = [jumps](S& s) {
    jumps(s);
    s.par.SetRetractToLimits(true);
  };
  const auto prefers = [](S& s) { s.par.SetFirstMovePreferredAngle(kNaN); };
  std::vector<Case> cases{
      {"good", [](S&) {}, false, false},
      {"origin", [](S& s) { s.origin.y = kNaN; }},
      {"tool length", [](S& s) { s.toolLength = kInfinity; }},
      {"feed", [](S& s) { s.feed = kNaN; }},
      {"infinite feed", [](S& s) { s.feed = kInfinity; }},
      {"position that overflows",
       [](S& s) {
         s.lastX = s.origin.x = 1.5e308;
         s.turn = kAxes > 4 ? 1 : 0;
       }},
      {"lift that isn't made", [](S& s) { s.par.SetRetractDistance(kInfinity); }, false, false},
      {"preferred angle by no rule", prefers, false, false},
  };
  if constexpr (kAxes == 3) {
    const auto transforms = [](double bad, Point shift, double origin = 0) {
      return [=](S& s) {
        auto rotation = post::zvTransformation3d::Rotation::Identity();
        rotation(1, 1) = bad;
        s.transformation = misc::MakeAutoPointer<post::zvTransformation3d>(rotation, shift);
        s.origin.x = s.toolLength = origin;
      };
    };
    cases.push_back({"transformation", transforms(kNaN, {})});
    cases.push_back({"its translation", transforms(1, {0, kInfinity, 0})});
    cases.push_back({"origin beside it", transforms(1, {}, kNaN), false, false});
  } else {
    const auto lifts = [=](const auto& jump, double distance, double reach, double length = 1) {
      return [=](S& s) {
        jump(s);
        s.length = length;
        s.par.SetRetractDistance(distance);
        s.machDef.SetMinLimits({-reach, -reach, -reach});
        s.machDef.SetMaxLimits({reach, reach, reach});
      };
    };
    cases.push_back({"good jump", jumps, false, false});
    cases.push_back({"lift", lifts(jumps, kInfinity, 1000), true, false});
    cases.push_back({"lift by no distance", lifts(liftsToLimits, kNaN, 1000), false, false});
    cases.push_back({"lift to no limits", lifts(liftsToLimits, 5, kInfinity), true, false});
    cases.push_back({"lift along little", lifts(liftsToLimits, 5, 1000, 1e-13), false, false});
    cases.push_back({"pivot", [](S& s) {
                       if constexpr (kAxes == 4)
                         s.machDef.SetRotationPivot({0, 0, kInfinity});
                       else
                         s.machDef.SetSecondRotationPivot({0, 0, kInfinity});
                     }});
  }
  if constexpr (kAxes > 4)
    cases.push_back({"preferred angle",
                     [=](S& s) {
                       prefers(s);
                       s.par.SetFirstMoveRule(zvKDRParam::bySecondAxis);
                     },
                     true, false});
  if constexpr (kAxes == 6) {
    cases.push_back({"third angle", [](S& s) { s.machDef.SetThirdAngle(kNaN); }});
    cases.push_back({"third pivot",
                     [](S& s) {
                       s.machDef.SetThirdRotationPivot({kNaN, 0, 0});
                     },
                     false, false});
  }
  // Entries that no product reads are refused too. Postings for six axes know no alignment.
  for (std::size_t i = 0; i < 16; ++i)
    cases.push_back({"alignment",
                     [i](S& s) {
                       s.matrix = misc::MakeAutoPointer<cadcam::zvMatrix<double, 4, 4>>(
                           cadcam::zvMatrix<double, 4, 4>::Identity());
                       (*s.matrix)(i / 4, i % 4) = kNaN;
                     },
                     kAxes != 6, true});
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::Message() << c.name << ' ' << &c - cases.data());
    S setup;
    c.spoil(setup);
    std::pair<std::uint32_t, std::uint32_t> ids;
    // A creator takes no machine that it can't compute with.
    const std::uint32_t made = IdOf([&] { ids = setup.Ids(); });
    if (made != 0) ids = {made, made};
    EXPECT_EQ(ids.first, c.isPostingRefused ? 5039u : 0u);
    EXPECT_EQ(ids.second, c.isSingleRefused ? 5039u : 0u);
  }
}

TYPED_TEST(NotFinite, OfAPathTheMoveIsNamed) {
  const Workshop<TypeParam> shop;
  const Point tip(1, 2, 3), tool = shop.Tool(0);
  const cadcam::zvMovePointer good = Move5(tip, tool, 1000);
  const auto causeOf = [&](const Workshop<TypeParam>& set, const cadcam::zvMovePointer& last) {
    auto creator = set.Creator();
    const auto path = PathBuilder().Contour({good}).Link(1, {good, last});
    return LastCauseOf([&] { creator.Post(path, false); });
  };
  const std::wstring named = L"Move 2 of the toolpath, from 0, has a number that isn't finite";
  EXPECT_EQ(causeOf(shop, Move5({1, kNaN, 3}, tool, 1000)), named);
  EXPECT_EQ(causeOf(shop, Move5(tip, {0, 0, kInfinity}, 1000)), named);
  EXPECT_EQ(causeOf(shop, Move5(tip, tool, kNaN)), named);
  Workshop<TypeParam> elsewhere = shop;
  elsewhere.origin.x = kNaN;
  EXPECT_EQ(causeOf(elsewhere, good), L"");
}

}  // namespace
}  // namespace tests
