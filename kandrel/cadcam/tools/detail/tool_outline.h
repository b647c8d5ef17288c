// OutlineOf: the profile of each type of tool, from its tip up.
#pragma once

#include <kandrel/cadcam/curves/curves2d.h>
#include <kandrel/cadcam/tools/hole_tools.h>
#include <kandrel/cadcam/tools/mills.h>

namespace cadcam::detail {

/// The profile of a tool as its own parameters tell it: x is the radius, y the height above the
/// tip. It begins on the axis and ends at the shoulder length, but for what the common steps in
/// tool_approximation.cpp do: it may run beyond the axis or the shoulder length where parameters do
/// so, and has no shoulder yet. Arcs and lines without length are left out.
///
/// For parameters that pass the tool's checks. Throws zvtoolapproximationException, "Unknown
/// error.", where they leave no real outline or a number is none.
geoDef::zv2dContour<double> OutlineOf(const zvEndMill& tool);
geoDef::zv2dContour<double> OutlineOf(const zvReamer& tool);
geoDef::zv2dContour<double> OutlineOf(const zvCntrBore& tool);
geoDef::zv2dContour<double> OutlineOf(const zvSpherMill& tool);
geoDef::zv2dContour<double> OutlineOf(const zvBullMill& tool);
geoDef::zv2dContour<double> OutlineOf(const zvConvexTipMill& tool);
geoDef::zv2dContour<double> OutlineOf(const zvSlotMill& tool);
geoDef::zv2dContour<double> OutlineOf(const zvChamferMill& tool);
geoDef::zv2dContour<double> OutlineOf(const zvFaceMill& tool);
geoDef::zv2dContour<double> OutlineOf(const zvTaperMill& tool);
geoDef::zv2dContour<double> OutlineOf(const zvBoreBar& tool);
geoDef::zv2dContour<double> OutlineOf(const zvDoveMill& tool);
geoDef::zv2dContour<double> OutlineOf(const zvLolMill& tool);
geoDef::zv2dContour<double> OutlineOf(const zvBarrelMill& tool);
geoDef::zv2dContour<double> OutlineOf(const zvRadMill& tool);
geoDef::zv2dContour<double> OutlineOf(const zvDrill& tool);
geoDef::zv2dContour<double> OutlineOf(const zvSpotDrill& tool);
geoDef::zv2dContour<double> OutlineOf(const zvCSink& tool);
geoDef::zv2dContour<double> OutlineOf(const zvTapRH& tool);
geoDef::zv2dContour<double> OutlineOf(const zvTapLH& tool);
/// With its shoulder: a cone of the shoulder angle up to the shoulder's diameter.
geoDef::zv2dContour<double> OutlineOf(const zvCtrDrill& tool);

}  // namespace cadcam::detail
