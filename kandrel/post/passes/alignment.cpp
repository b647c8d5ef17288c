#include <kandrel/misc/angles.h>
#include <kandrel/misc/tolerances.h>
#include <kandrel/misc/trigonometry.h>
#include <kandrel/post/model/post_exception.h>
#include <kandrel/post/passes/alignment.h>

#include <cmath>
#include <cstddef>

namespace post {

namespace {

using Matrix = cadcam::zvMatrix<double, 4, 4>;
using Point = cadcam::zvTPoint3d<double>;

Matrix CrossProductMatrix(const Point& n) {
  Matrix k;
  k(0, 1) = -n.z;
  k(0, 2) = n.y;
  k(1, 0) = n.z;
  k(1, 2) = -n.x;
  k(2, 0) = -n.y;
  k(2, 1) = n.x;
  return k;
}

Point UnitOrientation(const cadcam::zvCNCMove& move) {
  RequireFinite(move);
  return move.GetOrientation().Normalized();
}

bool Fits(const zvToolPathAxis& path, const zv4axMachDef& machDef) {
  const Point& a = machDef.GetRotationDirection();
  if (!path.found)
    return std::fabs(Dot(a, path.axis) - Dot(a, machDef.GetSpindleDirection())) <= misc::kEqual;
  // Opposite within the noise of fine steps counts as fitting too: the rotation between almost
  // opposite axes would be a half turn about an axis made of noise.
  return (a - path.axis).SquaredLength() < misc::kAlignedSquared ||
         (-a - path.axis).SquaredLength() < misc::kAlignedSquared ||
         std::fabs(Dot(a, path.axis) + 1) <= misc::kOppositeAxis;
}

bool AreParallel(const Point& a, const Point& b) {
  return std::fabs(std::fabs(Dot(a, b)) - 1) <= misc::kEqual;
}

}  // namespace

Matrix RotationBetween(const Point& a, const Point& b) {
  const Point n = Cross(b, a).Normalized();
  const double t = misc::SafeAcosRad(Dot(a, b));
  const Matrix k = CrossProductMatrix(n);
  const Matrix kk = k * k;
  const auto [sine, cosine] = misc::SineAndCosineOfRadians(t);
  const double versine = 1 - cosine;
  Matrix r = Matrix::Identity();
  for (std::size_t i = 0; i < 3; ++i)
    for (std::size_t j = 0; j < 3; ++j) r(i, j) += sine * k(i, j) + versine * kk(i, j);
  return r;
}

zvToolPathAxis FindToolPathAxis(const cadcam::zvToolPath& toolpath, misc::zvPolling* polling) {
  const auto read = [polling](const cadcam::zvMovePointer& move) {
    if (polling != nullptr) polling->Touch(1);
    return UnitOrientation(*move);
  };
  if (toolpath.GetMoveCount() < 3) return {};
  auto move = toolpath.begin();
  const auto end = toolpath.end();
  const Point t1 = UnitOrientation(**move);
  Point t2;
  bool hasSecond = false;
  while (!hasSecond && ++move != end) {
    t2 = read(*move);
    hasSecond = !AreParallel(t2, t1);
  }
  if (!hasSecond) return {t1, false};

  // A candidate parallel to the second one says nothing about the axis; it serves only where no
  // other is found.
  Point t3;
  bool hasThird = false;
  while (++move != end) {
    const Point candidate = read(*move);
    if (AreParallel(candidate, t1)) continue;
    t3 = candidate;
    hasThird = true;
    if (!AreParallel(candidate, t2)) break;
  }
  if (!hasThird) return {t1, false};

  const Point n = Cross(t2, t3);
  // Exactly 0: three orientations in a plane through the origin; otherwise they lie on a cone.
  if (Dot(n, t1) == 0) return {n.Normalized(), true};
  return {Cross(t2 - t1, t3 - t1).Normalized(), true};
}

zvAlignMatrix AlignToSpindle(const cadcam::zvToolPath& toolpath, const zvMachDef& machDef) {
  const auto first = toolpath.begin();
  if (first == toolpath.end()) return nullptr;
  const Point& s = machDef.GetSpindleDirection();
  const Point t = UnitOrientation(**first);
  if ((s - t).SquaredLength() < misc::kAlignedSquared) return nullptr;
  return misc::MakeAutoPointer<Matrix>(RotationBetween(s, t));
}

bool FitsRotaryAxis(const cadcam::zvToolPath& toolpath, const zv4axMachDef& machDef) {
  return Fits(FindToolPathAxis(toolpath), machDef);
}

zvAlignMatrix AlignToRotaryAxis(const cadcam::zvToolPath& toolpath, const zv4axMachDef& machDef,
                                misc::zvPolling* polling) {
  const zvToolPathAxis path = FindToolPathAxis(toolpath, polling);
  if (Fits(path, machDef)) return nullptr;
  if (path.axis.IsZero()) throw zvPostException(zvPostException::kNotAlignable);
  return misc::MakeAutoPointer<Matrix>(RotationBetween(path.axis, machDef.GetRotationDirection()));
}

}  // namespace post
