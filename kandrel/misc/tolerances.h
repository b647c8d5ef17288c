// Tolerances and constants of the kernel: each has a name, a value, what it guards and why.
#pragma once

#include <cstddef>

namespace misc {

/// General equality of the kernel, in whatever unit the values have: far above rounding at the size
/// of machine coordinates, far below anything a machine can move.
inline constexpr double kEqual = 1e-12;

/// Stands for "no value" in tolerances and distances.
inline constexpr double kNoValue = 1e308;

/// Minimum of the box around no points at all, and with a minus its maximum: any coordinate of a
/// machine lies between, also as a 32-bit float.
inline constexpr double kEmptyBox = 3e38;

/// Length below which the normal of a triangle in a file says nothing: writers without one put 0,
/// or leave noise there.
inline constexpr double kNoNormal = 1e-6;

/// Largest difference per element for an axis system to count as the identity.
inline constexpr double kAxisIdentity = 1e-5;

/// |a - b|^2 at or above which two unit directions are different for a path of 3 axes, and one is
/// off the machine's cone for a path of 4: 1e-6 rad, far above what nine decimals round by.
inline constexpr double kDirectionDifferenceSquared = 1e-12;

/// |a - b|^2 below which two unit directions need no alignment: 1e-12 in length.
inline constexpr double kAlignedSquared = 1e-24;

/// A found path axis whose dot product with the machine's is this close to -1 fits: noise of fine
/// steps (up to 6e-10 in length) would otherwise turn the path about a meaningless axis.
inline constexpr double kOppositeAxis = 1e-10;

/// |a + b| of two unit orientations up to which they count as opposite: the blend of such has lost
/// all but ten digits of its direction at the middle.
inline constexpr double kOpposite = 1e-6;

/// How far the length of an orientation may be off 1 and still blend as a unit vector: text of six
/// decimals keeps it.
inline constexpr double kUnitLength = 1e-6;

/// Arguments of the arc cosine this close to 1 or -1 count as exactly that: rounding of dot
/// products of unit vectors would otherwise show as angles of up to 1e-8 rad.
inline constexpr double kArcCosineSnap = 1e-10;

/// Arguments below this in size need not be looked at for that: any bound below 1 - 1e-10 does.
inline constexpr double kFarFromSnap = 0.9999;

/// How far below 0 the squared distance that decides whether an orientation can be reached may lie
/// by rounding.
inline constexpr double kUnreachable = 1e-8;

/// A point this near to a pivot or to the axis of a 4-axis machine, or a direction this parallel to
/// an axis (sine), is not turned.
inline constexpr double kOnAxis = 1e-12;

/// What rounding may leave of a sum of a few lengths, in parts of the largest: four units in the
/// last place.
inline constexpr double kRoundingOfSize = 1e-15;

/// Slack of the test whether a position on a pole lies inside the linear limits: exact in practice.
inline constexpr double kInsideLimits = 1e-15;

/// How near a bisection on a pole comes to a limit plane before the plane is taken, in length.
inline constexpr double kLimitPlane = 1e-13;

/// Rotary axes at a smaller angle to each other, by its sine, count as parallel: rounding would
/// turn the tool by degrees.
inline constexpr double kParallelAxes = 1e-3;

/// Largest difference of two sizes of step for which a subdivision counts as having brought
/// nothing, and of two angles for which they count as the same in a pole's neighbourhood.
inline constexpr double kSameStep = 1e-6;

/// What a lift of 1000 along the tool may move a linear axis by and still not move it: 1e-12 of the
/// lift, as kinematics leave noise where there is no motion.
inline constexpr double kNoMotion = 1e-9;

/// How near a bisection comes to a rotary limit, degrees: 1e-6 as a 32-bit float.
inline constexpr double kRotaryLimitHit = 9.999999974752427e-7;

/// Whole turns below this count as none when rewinding, degrees.
inline constexpr double kFullTurnLessRounding = 359.999999999999;

/// How far a plain difference of angles, degrees, must lie off a bound to be trusted with the
/// decision: far above the rounding of circular distances, on which ties rest.
inline constexpr double kAngleBorder = 1e-9;

/// The pole tolerance with which a step is halved towards a rotary limit, as the square of its
/// sine: next to nothing, so that only a tool that stands on the axis counts as on its pole.
inline constexpr double kPoleOfHalvingSquared = 1e-16;

/// Half-angle of the narrowest cone, degrees, in which a tool that is held to a tolerance counts as
/// on a pole: nearer to it the arc cosine's snap takes the tilt for none.
inline constexpr double kNarrowestPole = 1e-3;

/// What the arc cosine's snap may turn a tool by at a solved line, degrees: 8.1e-4 of each axis.
inline constexpr double kSnappedTool = 1.2e-3;

/// Smallest axis tolerance of a posting, degrees: above what the snap takes.
inline constexpr double kSmallestAxisTolerance = 2e-3;

/// Smallest tip tolerance of a posting, and its part of the largest length that takes part in the
/// tip's place: positions are rounded by some 1e-15 of that, a dozen times over, and the bounds of
/// blocks are exact to 1e-9.
inline constexpr double kSmallestTipTolerance = 1e-8;
inline constexpr double kSmallestTipPart = 1e-12;

/// A step between lines is not divided below this turn of the tool, degrees, where the tip moves
/// less than a tenth of its tolerance: what is left of a leap. Beside a pole at kNarrowestPole a
/// free axis still turns by less than a tenth of a degree meanwhile.
inline constexpr double kTinyTurn = 1e-7;

/// Most moves, parts of a step or whole turns that are counted at once: 2^31 - 2. Formed and tested
/// as a double, so that a count that doesn't fit is refused before it becomes an integer.
inline constexpr double kLargestCount = 2147483646;

/// Most chords that the curves of one contour are replaced by, beyond one for each: 2^20, enough
/// for a circle of 1 m to a hundred-thousandth of a micrometre.
inline constexpr double kMostChords = 1048576;

/// Most triangles of a mesh that is made to a tolerance, 2^24: below 1 GB of memory, and far beyond
/// what can be seen or milled.
inline constexpr double kMostTriangles = 16777216;

/// Most corners of an outline that is triangulated, as this takes time by their square.
inline constexpr std::size_t kMostCorners = 8192;

/// Whole turns above this, degrees, are no shift of an angle: up to it adding them keeps 1e-9
/// degrees.
inline constexpr double kLargestShift = 1e7;

/// How far the square of a direction in single precision may lie off 1 and count as brought to
/// length 1 already: doing so leaves up to 4 units in the last place.
inline constexpr float kUnitSquaredFloat = 5e-7f;

/// How far a value may lie off a step of a stepped axis, in the axis's unit: limits and steps come
/// as text, and a million steps add up its rounding.
inline constexpr double kValueStep = 1e-5;

/// How far the products of a matrix's rows may lie off those of a rotation: machine files have few
/// digits.
inline constexpr double kRotationMatrix = 1e-5;

/// Slack in the checks of a tool's lengths, in its units: far above the rounding of numbers that
/// come as text of nine decimals, and nothing that could be ground.
inline constexpr double kToolParameterEqual = 1e-6;

/// Points of a tool's profile whose coordinates differ by less have the same one: 1e-6 as a 32-bit
/// float.
inline constexpr double kProfileStep = 9.999999974752427e-7;

/// The circle: half of it in radians, what converts an angle, and a whole turn in degrees.
inline constexpr double kPi = 3.14159265358979323846;
inline constexpr double kDegreesPerRadian = 57.29577951308232;
inline constexpr double kRadiansPerDegree = 0.017453292519943295;
inline constexpr double kFullTurnDeg = 360.0;

}  // namespace misc
