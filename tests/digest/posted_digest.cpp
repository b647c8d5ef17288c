// Posts paths of every sort on machines of every class and prints one digest over all that comes
// out, bit by bit. One input gives one output: the digest is the same for every compiler, however
// it optimises, and on every processor.
//
//   posted_digest             the digest of each class, with what went into it
//   posted_digest --system    a digest of the C library's sines, to see that its code has changed
#include <kandrel/cadcam/tool_path.h>
#include <kandrel/misc/exception.h>
#include <kandrel/misc/trigonometry.h>
#include <kandrel/post/creators/five_axis_creator.h>
#include <kandrel/post/creators/four_axis_creator.h>
#include <kandrel/post/creators/six_axis_creator.h>
#include <kandrel/post/creators/three_axis_creator.h>
#include <kandrel/post/geometry/four_axis_kinematics.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <string_view>

namespace {

using Point = cadcam::zvTPoint3d<double>;
using post::zvKDRParam;

constexpr auto kMetric = measures::zvUnitsFactory::metric;

// FNV-1a over words.
class Digest {
 public:
  void Add(std::uint64_t word) {
    for (int byte = 0; byte < 8; ++byte)
      m_hash = (m_hash ^ (word >> (8 * byte) & 0xff)) * 1099511628211u;
  }
  void Add(double number) { Add(std::bit_cast<std::uint64_t>(number)); }
  void Add(const Point& p) { Add(p.x, p.y, p.z); }
  template <class... More>
  requires(sizeof...(More) > 1) void Add(const More&... all) { (Add(all), ...); }
  unsigned long long Get() const { return m_hash; }

 private:
  std::uint64_t m_hash = 14695981039346656037u;
};

// Random numbers that are the same everywhere.
class Random {
 public:
  double Real(double low, double high) {
    return low + static_cast<double>(Next() >> 11) * 0x1p-53 * (high - low);
  }
  int Integer(int low, int high) {
    return low + static_cast<int>(Next() % static_cast<std::uint64_t>(high - low + 1));
  }
  bool Chance(double probability) { return Real(0, 1) < probability; }
  // Braces work their numbers out one after the other, with every compiler.
  Point Vector(double size) {
    return Point{Real(-size, size), Real(-size, size), Real(-size, size)};
  }
  Point Direction() {
    for (;;) {
      const Point p = Vector(1);
      if (p.SquaredLength() > 0.1 && p.SquaredLength() < 1) return p.Normalized();
    }
  }

 private:
  // SplitMix64.
  std::uint64_t Next() {
    m_state += 0x9e3779b97f4a7c15u;
    std::uint64_t z = m_state;
    z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9u;
    z = (z ^ (z >> 27)) * 0x94d049bb133111ebu;
    return z ^ (z >> 31);
  }

  std::uint64_t m_state = 42;
};

// What creators refer to; other settings with every posting.
struct Setting {
  post::zv5axControlDef control;
  zvKDRParam par{kMetric};
  Point origin;
  double toolLength = 0;
  Point low{-100000, -100000, -100000};
  Point high{100000, 100000, 100000};
  double range = 100000;

  explicit Setting(Random& random) {
    par.SetMaxAngleStep(random.Real(0.7, 6));
    par.SetMaxAngleJump(random.Real(20, 170));
    par.SetInterpolateByDistance(random.Chance(0.3));
    par.SetInterpolationDistance(random.Real(0.5, 5));
    par.SetInterpolateRapidMoves(random.Chance(0.3));
    par.SetPoleHandling(static_cast<zvKDRParam::PoleHandling>(random.Integer(0, 3)));
    par.SetInterpolationMode(random.Chance(0.2) ? 1 : 0);
    par.SetPoleAngleTolerance(random.Chance(0.3) ? random.Real(0.005, 1) : 0.01);
    par.SetRetractToLimits(random.Chance(0.2));
    par.SetAlignToolpath(random.Chance(0.1));
    par.SetFirstMoveRule(static_cast<zvKDRParam::FirstMoveRule>(random.Integer(0, 2)));
    if (random.Chance(0.5)) {
      par.SetLimitsCheck(static_cast<zvKDRParam::LimitsCheck>(random.Integer(1, 3)));
      range = random.Real(190, 500);
      low = {-2000, -2000, -2000};
      high = {2000, 2000, 2000};
    }
    using Limit = post::zv5axControlDef::angleLimit;
    if (random.Chance(0.2)) control.SetFirstAxisLimit(static_cast<Limit>(random.Integer(1, 2)));
    if (random.Chance(0.2)) control.SetSecondAxisLimit(static_cast<Limit>(random.Integer(1, 2)));
    origin = random.Vector(100);
    toolLength = random.Real(0, 150);
  }
};

Point Tilted(double tiltDeg, double turnDeg) {
  const auto tilt = misc::SineAndCosineOfDegrees(tiltDeg);
  const auto turn = misc::SineAndCosineOfDegrees(turnDeg);
  return {tilt.sine * turn.cosine, tilt.sine * turn.sine, tilt.cosine};
}

// A path whose orientations `direct(index)` gives, with links and rapid moves in it.
template <class Direct>
cadcam::zvToolPath MakePath(Random& random, int count, const Direct& direct) {
  cadcam::zvToolPath path(kMetric);
  Point tip = random.Vector(100);
  const Point way = random.Vector(6);
  for (int i = 0; i < count; ++i) {
    if (random.Chance(0.9)) tip += way + random.Vector(2);
    const Point orientation = direct(i);
    const double feed = random.Real(100, 5000);
    const cadcam::zvCNCMove move(tip, orientation, feed, random.Chance(0.05));
    path.AddMove(misc::MakeAutoPointer<cadcam::zv5axMove>(move, tip, orientation, 7u, true));
  }
  return path;
}

// Screws that wind, ways over the pole and beside it, stops on it, and leaps.
cadcam::zvToolPath FreePath(Random& random) {
  const int sort = random.Integer(0, 4);
  const double tilt = random.Real(5, 80);
  const double turn = random.Real(-180, 180);
  const double step = random.Real(2, 20);
  const double beside = random.Chance(0.5) ? 0 : random.Real(-0.2, 0.2);
  const int count = sort == 1 ? 80 : 24;
  return MakePath(random, count, [&](int i) -> Point {
    switch (sort) {
      case 0:
        return Tilted(tilt + 0.2 * i, turn + step * i);
      case 1:
        return Tilted(tilt, turn + 3 * step * i);
      case 2:
        return (Tilted(step * (12 - i) / 4, turn) + Point{beside / 57, 0, 0}).Normalized();
      case 3:
        return i > 7 && i < 14 ? Point{0, 0, 1} : Tilted(2.0 * i, turn + step * i);
      default:
        return random.Direction();
    }
  });
}

class Postings {
 public:
  template <class Creator, class MachDef>
  void Add(Random& random, const Setting& s, const MachDef& machDef,
           const cadcam::zvToolPath& path) {
    const bool smallMoves = random.Chance(0.5);
    Creator creator(machDef, s.control, s.par, s.origin, s.toolLength);
    try {
      for (const auto& move : *creator.Post(path, smallMoves)) Add(move);
    } catch (const misc::zvException& e) {
      m_digest.Add(std::uint64_t{e.GetId()});
      ++m_refused;
    }
    ++m_postings;
  }

  void Print(const char* name) const {
    std::printf("%s: %d postings, %d refused, %d lines: %016llx\n", name, m_postings, m_refused,
                m_lines, m_digest.Get());
  }

 private:
  template <class Move>
  void Add(const Move& move) {
    ++m_lines;
    const auto flagged = [](auto number, bool flag) {
      return static_cast<std::uint64_t>(number) * 2 + (flag ? 1 : 0);
    };
    m_digest.Add(move.GetMachinePosition(), move.GetPartPosition(), move.GetOrientation(),
                 move.GetFeed(), move.GetMoveTime(), flagged(move.GetType(), move.IsRapid()));
    if (!move.HasNoExtended())
      m_digest.Add(move.GetExtendedPoint(), move.GetExtendedVector(),
                   flagged(move.GetSourceIndex(), move.IsInserted()));
    if constexpr (requires { move.GetRotaryAngle(); }) m_digest.Add(move.GetRotaryAngle());
    if constexpr (requires { move.GetAngle(0); })
      m_digest.Add(move.GetAngle(0), move.GetAngle(1), move.GetAngle(2));
  }

  Digest m_digest;
  int m_postings = 0;
  int m_refused = 0;
  int m_lines = 0;
};

constexpr Point kX{1, 0, 0}, kY{0, 1, 0}, kZ{0, 0, 1};

void PostThreeAxes(Random& random, Postings& postings) {
  const Setting s(random);
  const Point spindle = random.Chance(0.5) ? kZ : random.Direction();
  const post::zv3axMachDef machDef(kMetric, spindle, s.low, s.high, kX, kY, kZ);
  const Point along = s.par.GetAlignToolpath() ? random.Direction() : spindle;
  postings.Add<zvPosted3axTPCreator>(random, s, machDef,
                                     MakePath(random, 30, [&](int) { return along; }));
}

void PostFourAxes(Random& random, Postings& postings) {
  const Setting s(random);
  const Point axis = random.Chance(0.3) ? kX : Tilted(random.Real(30, 150), 20);
  const int onWorkpiece = random.Integer(0, 1);
  const Point pivot = random.Vector(100);
  post::zv4axMachDef machDef(onWorkpiece, kMetric, kZ, axis, pivot, -s.range, s.range, s.low,
                             s.high, kX, kY, kZ);
  machDef.Normalize();
  const post::zv4axKinematics kinematics(machDef, s.origin, s.toolLength);
  const double from = random.Chance(0.3) ? 0 : random.Real(-180, 180);
  const double step = random.Real(0.3, 60);
  const bool leaps = random.Chance(0.3);
  const cadcam::zvToolPath path = MakePath(random, 40, [&](int i) {
    return kinematics.Orientation(leaps ? random.Real(-180, 180) : from + step * i);
  });
  postings.Add<zvPosted4axTPCreator>(random, s, machDef, path);
}

// The rotary axes of a trunnion, of a nutating table or head, of any machine.
struct TwoAxes {
  Point first = kZ, second = kX;
  explicit TwoAxes(Random& random) {
    const int sort = random.Integer(0, 3);
    if (sort == 1) second = kY;
    if (sort == 2) second = Point{0, 1, 1}.Normalized();
    if (sort == 3) {
      first = (first + random.Vector(0.01)).Normalized();
      second = (second + random.Vector(0.3)).Normalized();
    }
  }
};

void PostFiveAxes(Random& random, Postings& postings) {
  const Setting s(random);
  const TwoAxes axes(random);
  const int kind = random.Integer(0, 3);
  const Point firstPivot = random.Vector(100);
  const Point secondPivot = random.Vector(100);
  const post::zv5axMachDef machDef(kind, kMetric, kZ, axes.first, axes.second, firstPivot,
                                   secondPivot, -s.range, -s.range, s.range, s.range, s.low, s.high,
                                   kX, kY, kZ);
  postings.Add<zvPosted5axTPCreator>(random, s, machDef, FreePath(random));
}

void PostSixAxes(Random& random, Postings& postings) {
  const Setting s(random);
  const TwoAxes axes(random);
  const Point third = random.Direction();
  const Point firstPivot = random.Vector(100);
  const Point secondPivot = random.Vector(100);
  const Point thirdPivot = random.Vector(100);
  const double thirdAngle = random.Real(-400, 400);
  post::zv6axMachDef machDef(0, kMetric, kZ, axes.first, axes.second, third, firstPivot,
                             secondPivot, thirdPivot, -s.range, -s.range, s.range, s.range,
                             thirdAngle, s.low, s.high, kX, kY, kZ);
  machDef.SetFirstOnWorkpiece(random.Integer(0, 1));
  machDef.SetSecondOnWorkpiece(random.Integer(0, 1));
  postings.Add<zvPosted6axTPCreator>(random, s, machDef, FreePath(random));
}

void PrintSystem() {
  Digest digest;
  Random random;
  for (int i = 0; i < 100000; ++i) {
    const double x = random.Real(-1, 1);
    digest.Add(std::sin(100 * x));
    digest.Add(std::acos(x));
  }
  std::printf("%016llx\n", digest.Get());
}

}  // namespace

int main(int argc, char** argv) {
  if (argc > 1 && std::string_view(argv[1]) == "--system") {
    PrintSystem();
    return 0;
  }
  const struct {
    const char* name;
    void (*post)(Random&, Postings&);
    int count;
  } classes[] = {{"3 axes", PostThreeAxes, 100},
                 {"4 axes", PostFourAxes, 300},
                 {"5 axes", PostFiveAxes, 600},
                 {"6 axes", PostSixAxes, 150}};
  for (const auto& [name, post, count] : classes) {
    Random random;
    Postings postings;
    for (int i = 0; i < count; ++i) post(random, postings);
    postings.Print(name);
  }
  return 0;
}
