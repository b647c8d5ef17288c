// A machine as bodies that move each other, as a picture of it needs them.
#pragma once

#include <kandrel/cadcam/matrix.h>
#include <kandrel/cadcam/mesh.h>
#include <kandrel/misc/auto_pointer.h>
#include <kandrel/post/model/mach_def.h>

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "kandrel-post/machine/machine.h"
#include "kandrel-post/machine/values.h"

namespace kandrel_post {

/// What can be seen of an object. Meshes are shared; their vertices count from the object's frame.
struct ModelBody {
  using Mesh = misc::zvAutoPointer<cadcam::zvTMesh<float>>;

  Mesh mesh{};
  std::array<double, 3> colour{0.6, 0.6,
                               0.6};  ///< red, green, blue from 0 to 1, as a screen has it
  double opacity = 1;
  std::string source{};  ///< the file that the mesh is of, empty for none
};

/// An object of a machine. Lengths are in the machine's units; "zero" is the machine with all axes
/// at 0, whose frame is that of machine definitions.
struct ModelNode {
  using Point = post::zvMachDef::Point;
  using Matrix = cadcam::zvMatrix<double, 4, 4>;

  static constexpr int kNone = -1;

  std::string name;
  int parent = kNone;                ///< kNone: at root level
  Matrix zero = Matrix::Identity();  ///< from the object's frame into the machine's at zero
  /// The axis that moves it and all below it: 0 to 2 are linear, 3 to 5 rotary, kNone is none. The
  /// frame of one that an axis moves is only shifted, to the pivot.
  int axis = kNone;
  Point direction{};  ///< in the machine's frame at zero; the way of a linear axis at 1
  Point pivot{};
  std::optional<ModelBody> body{};
};

struct MachineModel {
  using Point = ModelNode::Point;
  using Matrix = ModelNode::Matrix;
  /// Positions of the linear axes, then angles in degrees.
  using AxisValues = std::array<double, 6>;

  std::vector<ModelNode> nodes{};  ///< each behind the one that it stands below
  std::size_t path = 0;            ///< the part's frame, in which the toolpath stands
  std::size_t tip = 0;             ///< the tool's tip; +Z leads to the spindle
  bool isOfFile = false;           ///< the objects are those of a machine description file

  std::size_t Add(ModelNode node);
  /// From a node's frame to the machine's, with the axes at these values.
  Matrix Placed(std::size_t node, const AxisValues& values) const;
  /// From the frame of the tip to the part's.
  Matrix ToolInPart(const AxisValues& values) const;
  /// Moves the tip's frame along the spindle.
  void PutTip(const Point& p_zero, const Point& spindle);
};

/// The least rotation that turns +Z onto a unit vector.
ModelNode::Matrix TurnOfZOnto(const post::zvMachDef::Point& direction);

/// How a run is set up on a machine.
struct ModelSetup {
  post::zvMachDef::Point partOrigin;
  double toolLength = 0;
};

/// Where the tip stands in the machine at zero. `withLength` matters for a kind of machine that
/// leaves the tool's length out: postings of one orientation alone add it there as well.
post::zvMachDef::Point TipAtZero(const MachineValues& values, double toolLength, bool withLength);

/// The objects that a definition tells of, without bodies: `base`, the axes by their names (X, Y,
/// Z, A, B, C where they have none), `tool` with `tip`, `workpiece` with `path`. `values` are
/// normalised.
MachineModel ModelOfDefinition(const Machine& machine, const MachineValues& values,
                               const ModelSetup& setup);

/// The objects of the machine description file that `machine` comes from. Nothing where a posting's
/// axes don't move them as `plain` moves: a definition takes no notice of turned transforms and the
/// like, and a settings file may replace it.
std::optional<MachineModel> ModelOfFile(const Machine& machine, const MachineModel& plain);

/// The values of a definition with unit vectors as directions; of six axes, the sides as postings
/// take them. Linear axes that count as those of the part are exactly these.
MachineValues NormalisedValues(const Machine& machine);

}  // namespace kandrel_post
