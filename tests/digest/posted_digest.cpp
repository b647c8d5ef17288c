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

#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <string_view>
#include <type_traits>

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
  void Add(const Point& p) {
    Add(p.x);
    Add(p.y);
    Add(p.z);
  }
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
  // One after the other: the order in which arguments are worked out is the compiler's.
  Point Vector(double size) {
    const double x = Real(-size, size);
    const double y = Real(-size, size);
    const double z = Real(-size, size);
    return {x, y, z};
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
  template <class Creator>
  void Add(Creator creator, const cadcam::zvToolPath& path, bool smallMoves) {
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
    m_digest.Add(move.GetMachinePosition());
    m_digest.Add(move.GetPartPosition());
    m_digest.Add(move.GetOrientation());
    m_digest.Add(move.GetFeed());
    m_digest.Add(move.GetMoveTime());
    m_digest.Add(static_cast<std::uint64_t>(move.GetType()) * 2 + (move.IsRapid() ? 1 : 0));
    if (!move.HasNoExtended()) {
      m_digest.Add(move.GetExtendedPoint());
      m_digest.Add(move.GetExtendedVector());
      m_digest.Add(static_cast<std::uint64_t>(move.GetSourceIndex()) * 2 +
                   (move.IsInserted() ? 1 : 0));
    }
    if constexpr (std::is_same_v<Move, post::zvPosted4axMove>) m_digest.Add(move.GetRotaryAngle());
    if constexpr (std::is_same_v<Move, post::zvPosted5axMove> ||
                  std::is_same_v<Move, post::zvPosted6axMove>)
      for (std::int16_t axis = 0; axis < 3; ++axis) m_digest.Add(move.GetAngle(axis));
  }

  Digest m_digest;
  int m_postings = 0;
  int m_refused = 0;
  int m_lines = 0;
};

constexpr std::array<Point, 3> kSlides{Point{1, 0, 0}, Point{0, 1, 0}, Point{0, 0, 1}};

void PostThreeAxes(Random& random, Postings& postings) {
  const Setting setting(random);
  const Point spindle = random.Chance(0.5) ? Point{0, 0, 1} : random.Direction();
  const post::zv3axMachDef machDef(kMetric, spindle, setting.low, setting.high, kSlides[0],
                                   kSlides[1], kSlides[2]);
  const bool isAligned = setting.par.GetAlignToolpath();
  const Point along = isAligned ? random.Direction() : spindle;
  const cadcam::zvToolPath path = MakePath(random, 30, [&](int) { return along; });
  postings.Add(zvPosted3axTPCreator(machDef, setting.control, setting.par, setting.origin,
                                    setting.toolLength),
               path, random.Chance(0.5));
}

void PostFourAxes(Random& random, Postings& postings) {
  const Setting setting(random);
  const Point spindle{0, 0, 1};
  const Point axis = random.Chance(0.3) ? Point{1, 0, 0} : Tilted(random.Real(30, 150), 20);
  const int onWorkpiece = random.Integer(0, 1);
  const Point pivot = random.Vector(100);
  post::zv4axMachDef machDef(onWorkpiece, kMetric, spindle, axis, pivot, -setting.range,
                             setting.range, setting.low, setting.high, kSlides[0], kSlides[1],
                             kSlides[2]);
  machDef.Normalize();
  const post::zv4axKinematics kinematics(machDef, setting.origin, setting.toolLength);
  const double from = random.Chance(0.3) ? 0 : random.Real(-180, 180);
  const double step = random.Real(0.3, 60);
  const bool leaps = random.Chance(0.3);
  const cadcam::zvToolPath path = MakePath(random, 40, [&](int i) {
    return kinematics.Orientation(leaps ? random.Real(-180, 180) : from + step * i);
  });
  postings.Add(zvPosted4axTPCreator(machDef, setting.control, setting.par, setting.origin,
                                    setting.toolLength),
               path, random.Chance(0.5));
}

// The rotary axes of a trunnion, of a nutating table or head, of any machine.
struct TwoAxes {
  Point first{0, 0, 1};
  Point second{1, 0, 0};

  explicit TwoAxes(Random& random) {
    const int sort = random.Integer(0, 3);
    if (sort == 1) second = {0, 1, 0};
    if (sort == 2) second = Point{0, 1, 1}.Normalized();
    if (sort == 3) {
      first = (first + random.Vector(0.01)).Normalized();
      second = (second + random.Vector(0.3)).Normalized();
    }
  }
};

void PostFiveAxes(Random& random, Postings& postings) {
  const Setting setting(random);
  const TwoAxes axes(random);
  const int kind = random.Integer(0, 3);
  const Point firstPivot = random.Vector(100);
  const Point secondPivot = random.Vector(100);
  const post::zv5axMachDef machDef(kind, kMetric, {0, 0, 1}, axes.first, axes.second, firstPivot,
                                   secondPivot, -setting.range, -setting.range, setting.range,
                                   setting.range, setting.low, setting.high, kSlides[0], kSlides[1],
                                   kSlides[2]);
  const cadcam::zvToolPath path = FreePath(random);
  postings.Add(zvPosted5axTPCreator(machDef, setting.control, setting.par, setting.origin,
                                    setting.toolLength),
               path, random.Chance(0.5));
}

void PostSixAxes(Random& random, Postings& postings) {
  const Setting setting(random);
  const TwoAxes axes(random);
  const Point third = random.Direction();
  const Point firstPivot = random.Vector(100);
  const Point secondPivot = random.Vector(100);
  const Point thirdPivot = random.Vector(100);
  const double thirdAngle = random.Real(-400, 400);
  post::zv6axMachDef machDef(0, kMetric, {0, 0, 1}, axes.first, axes.second, third, firstPivot,
                             secondPivot, thirdPivot, -setting.range, -setting.range, setting.range,
                             setting.range, thirdAngle, setting.low, setting.high, kSlides[0],
                             kSlides[1], kSlides[2]);
  machDef.SetFirstOnWorkpiece(random.Integer(0, 1));
  machDef.SetSecondOnWorkpiece(random.Integer(0, 1));
  const cadcam::zvToolPath path = FreePath(random);
  postings.Add(zvPosted6axTPCreator(machDef, setting.control, setting.par, setting.origin,
                                    setting.toolLength),
               path, random.Chance(0.5));
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
