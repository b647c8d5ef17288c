// zvRevolvedToolApproximation and its family: the profiles of revolved tools, as points.
#pragma once

#include <kandrel/cadcam/curves/curves2d.h>
#include <kandrel/cadcam/tools/generic_revolved_tool.h>
#include <kandrel/cadcam/tools/hole_tools.h>
#include <kandrel/cadcam/tools/mills.h>
#include <kandrel/cadcam/tools/tool.h>
#include <kandrel/misc/export.h>

namespace cadcam {

/// The four profiles of a revolved tool, each from below upwards, x being the radius and y the
/// height, in the tool's units. The heights of cutting and non-cutting profile of a typed tool
/// count from its tip; arbor, holder, and the parts of a generic tool have heights of their own,
/// from their start. Curves are replaced by chords within the tolerance, in length.
template <class T>
class KANDREL_API zvRevolvedToolApproximation {
 public:
  using Profile = geoDef::zv2dPolyLine<T>;

  virtual ~zvRevolvedToolApproximation() = default;

  /// Up to the flute length, and from there to the shoulder length: empty where the two are one.
  /// Both have the point at the flute length. Whatever is level there belongs to the cutting one.
  virtual const Profile& GetCuttingProfile() const { return m_cutting; }
  virtual const Profile& GetNonCuttingProfile() const { return m_nonCutting; }
  /// Worked out at each call. Empty for a part that isn't defined. Throw zvcadcamException 2171 or
  /// 2172 for one that is no revolved solid, and as the polygoniser; the arbor's
  /// zvtoolapproximationException kInvalidArborProfile and the holder's with "Unknown error." for
  /// numbers that are none.
  virtual Profile GetArborProfile() const;
  virtual Profile GetHolderProfile() const;
  /// The approximation's copy.
  virtual const zvRevolvedTool& GetTool() const = 0;

  /// The largest distance of a chord from its curve, in the tool's units.
  T GetTolerance() const noexcept { return m_tolerance; }

 protected:
  /// Takes the tolerance without a check: the derived class has looked at it.
  explicit zvRevolvedToolApproximation(T tolerance) : m_tolerance(tolerance) {}

  /// Sets what the two getters return.
  void SetProfiles(Profile cutting, Profile nonCutting);

 private:
  T m_tolerance;
  Profile m_cutting;
  Profile m_nonCutting;
};

/// That of a typed tool.
///
/// The tool's outline follows from its parameters. What lies beyond the axis or the shoulder length
/// is cut off. Where the tool has a shoulder of its own, or its type derives one, the outline ends
/// at the flute length, and goes on straight to the shoulder's base, and from there up with its
/// diameter. Last it is split at the flute length, in one point of both profiles.
template <class T, class Tool>
class KANDREL_API zvTypedToolApproximation final : public zvRevolvedToolApproximation<T> {
 public:
  /// Throws what the tool's checks throw, as for some defaults they do, unless it has passed them
  /// (zvRevolvedTool::HasPassedChecks); zvException, id 0, "profile
  /// tolerance larger than toolRadius" (for zvSpherMill and zvCntrBore "... toolRadius or
  /// cornerRadius") unless the tolerance is smaller than half the diameter by more than 1e-12; as
  /// the polygoniser for an arc, and "Polygonization tolerance is invalid." for a tolerance of 0 or
  /// below also without one; and zvtoolapproximationException, "Unknown error.", for parameters
  /// that pass the checks and yet leave no real outline: a corner radius of zvConvexTipMill that is
  /// too large for its tip's, a radius of zvRadMill below 0, an infinite number, any that leave
  /// nothing of the outline below the flute length.
  zvTypedToolApproximation(const Tool& tool, T tolerance);

  const Tool& GetTool() const override { return m_tool; }

 private:
  Tool m_tool;
};

template <class T>
using zvConvexTipMillApproximation = zvTypedToolApproximation<T, zvConvexTipMill>;
template <class T>
using zvBarrelMillApproximation = zvTypedToolApproximation<T, zvBarrelMill>;
template <class T>
using zvTapRHApproximation = zvTypedToolApproximation<T, zvTapRH>;
template <class T>
using zvTapLHApproximation = zvTypedToolApproximation<T, zvTapLH>;
template <class T>
using zvTaperMillApproximation = zvTypedToolApproximation<T, zvTaperMill>;
template <class T>
using zvSpotDrillApproximation = zvTypedToolApproximation<T, zvSpotDrill>;
template <class T>
using zvSpherMillApproximation = zvTypedToolApproximation<T, zvSpherMill>;
template <class T>
using zvSlotMillApproximation = zvTypedToolApproximation<T, zvSlotMill>;
template <class T>
using zvReamerApproximation = zvTypedToolApproximation<T, zvReamer>;
template <class T>
using zvRadMillApproximation = zvTypedToolApproximation<T, zvRadMill>;
template <class T>
using zvLolMillApproximation = zvTypedToolApproximation<T, zvLolMill>;
template <class T>
using zvFaceMillApproximation = zvTypedToolApproximation<T, zvFaceMill>;
template <class T>
using zvEndMillApproximation = zvTypedToolApproximation<T, zvEndMill>;
template <class T>
using zvDrillApproximation = zvTypedToolApproximation<T, zvDrill>;
template <class T>
using zvDoveMillApproximation = zvTypedToolApproximation<T, zvDoveMill>;
template <class T>
using zvCtrDrillApproximation = zvTypedToolApproximation<T, zvCtrDrill>;
template <class T>
using zvCSinkApproximation = zvTypedToolApproximation<T, zvCSink>;
template <class T>
using zvCntrBoreApproximation = zvTypedToolApproximation<T, zvCntrBore>;
template <class T>
using zvChamferMillApproximation = zvTypedToolApproximation<T, zvChamferMill>;
template <class T>
using zvBullMillApproximation = zvTypedToolApproximation<T, zvBullMill>;
template <class T>
using zvBoreBarApproximation = zvTypedToolApproximation<T, zvBoreBar>;

/// That of a generic tool: the profiles that it holds.
template <class T>
class KANDREL_API zvGenericRevolvedApproximation final : public zvRevolvedToolApproximation<T> {
 public:
  /// Throws as zvTypedToolApproximation for the checks, and for a tolerance that is not above 0,
  /// but not for one above the radius; and as the polygoniser.
  zvGenericRevolvedApproximation(const zvGenericRevolvedTool& tool, T tolerance);

  const zvGenericRevolvedTool& GetTool() const override { return m_tool; }

 private:
  zvGenericRevolvedTool m_tool;
};

}  // namespace cadcam
