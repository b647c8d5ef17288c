#include "kandrel-post/pictures/plain_bodies.h"

#include <kandrel/cadcam/tools/revolve_profile.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>
#include <vector>

namespace kandrel_post {

namespace {

using Point = ModelNode::Point;
using Matrix = ModelNode::Matrix;
using Mesh = cadcam::zvTMesh<float>;
using Colour = std::array<double, 3>;

constexpr int kFirstRotary = 3;
constexpr Colour kFixed{0.55, 0.57, 0.6};
constexpr Colour kSlide{0.3, 0.34, 0.4};
constexpr Colour kHead{0.2, 0.35, 0.6};
constexpr Colour kTable{0.75, 0.75, 0.78};
constexpr Colour kTool{0.9, 0.6, 0.15};
/// How many times as long as the run a travel may be and still be drawn.
constexpr double kFarBeyond = 60;

Mesh::Point ToFloat(const Point& p) {
  return {static_cast<float>(p.x), static_cast<float>(p.y), static_cast<float>(p.z)};
}

Point Low(const Point& a, const Point& b) {
  return {std::min(a.x, b.x), std::min(a.y, b.y), std::min(a.z, b.z)};
}
Point High(const Point& a, const Point& b) {
  return -Low(-a, -b);
}

void AddBox(Mesh& mesh, const Point& low, const Point& high) {
  const auto first = static_cast<cadcam::zvMeshIndex>(mesh.GetVertices().size());
  for (int i = 0; i < 8; ++i)
    mesh.AddVertex(ToFloat({(i & 1) != 0 ? high.x : low.x, (i & 2) != 0 ? high.y : low.y,
                            (i & 4) != 0 ? high.z : low.z}));
  constexpr cadcam::zvMeshCorners kSides[] = {{0, 2, 3}, {0, 3, 1}, {4, 5, 7}, {4, 7, 6},
                                              {0, 1, 5}, {0, 5, 4}, {2, 6, 7}, {2, 7, 3},
                                              {0, 4, 6}, {0, 6, 2}, {1, 3, 7}, {1, 7, 5}};
  for (cadcam::zvMeshCorners corners : kSides) {
    for (cadcam::zvMeshIndex& corner : corners) corner += first;
    mesh.AddTriangle(corners);
  }
}

// A profile of (radius, height), revolved about a line: heights count from `foot`.
void AddRevolved(Mesh& mesh, const std::vector<std::pair<double, double>>& outline,
                 const Point& foot, const Point& direction) {
  double largest = 0;
  cadcam::zvRevolveProfileSrv<float>::Profile profile;
  for (const auto& [radius, height] : outline) {
    profile.points.push_back({radius, height});
    largest = std::max(largest, radius);
  }
  constexpr double kFineness = 0.01;  // some 24 sides
  const Mesh revolved =
      cadcam::zvRevolveProfileSrv<float>(largest * kFineness).Revolve(profile, mesh.GetUnits());
  const auto first = static_cast<cadcam::zvMeshIndex>(mesh.GetVertices().size());
  const Matrix turn = TurnOfZOnto(direction);
  for (const Mesh::Point& p : revolved.GetVertices())
    mesh.AddVertex(ToFloat(foot + turn * Point(p.x, p.y, p.z)));
  for (const Mesh::Triangle& triangle : revolved.GetTriangles()) {
    cadcam::zvMeshCorners corners = triangle.corners;
    for (cadcam::zvMeshIndex& corner : corners) corner += first;
    mesh.AddTriangle(corners);
  }
}

void AddCylinder(Mesh& mesh, double radius, double from, double to, const Point& foot,
                 const Point& direction) {
  AddRevolved(mesh, {{0, from}, {radius, from}, {radius, to}, {0, to}}, foot, direction);
}

// The size of what a run does, never 0.
double SizeOf(const RunExtent& extent) {
  const double part = (extent.maxPart - extent.minPart).Length();
  const double slides = (extent.maxSlides - extent.minSlides).Length();
  const double size = part > 0 ? part : slides;
  return size > 0 && std::isfinite(size) ? size : 1;
}

// The bodies of a machine, which are drawn as it stands at zero.
class Builder {
 public:
  Builder(MachineModel& model, const MachineValues& values, const ModelSetup& setup,
          const RunExtent& extent)
      : m_model(model),
        m_values(values),
        m_low(extent.minPart + setup.partOrigin),
        m_high(extent.maxPart + setup.partOrigin) {
    const double size = SizeOf(extent);
    for (int axis = 0; axis < 3; ++axis) {
      double& low = m_minTravel[axis];
      double& high = m_maxTravel[axis];
      low = values.minLimits[axis];
      high = values.maxLimits[axis];
      const double used = extent.maxSlides[axis] - extent.minSlides[axis] + size;
      if (!(high > low && high - low <= kFarBeyond * used && low <= extent.maxSlides[axis] &&
            high >= extent.minSlides[axis])) {
        low = extent.minSlides[axis] - size;
        high = extent.maxSlides[axis] + size;
      }
      m_unit = std::min(m_unit, kUnit * (high - low));
    }
  }

  void Build() {
    int table = ModelNode::kNone;  // the axis that carries the part
    for (int at = static_cast<int>(m_model.path); at != ModelNode::kNone;
         at = m_model.nodes[static_cast<std::size_t>(at)].parent) {
      const ModelNode& node = m_model.nodes[static_cast<std::size_t>(at)];
      if (node.axis < kFirstRotary) continue;
      if (table == ModelNode::kNone) {
        table = at;
        BuildDisc(static_cast<std::size_t>(at));
      } else {
        BuildCradle(static_cast<std::size_t>(at),
                    m_model.nodes[static_cast<std::size_t>(table)].pivot);
      }
    }
    BuildHead();
    BuildPortal(table == ModelNode::kNone);
  }

 private:
  static constexpr double kUnit = 0.06;  // of the shortest travel: half as thick as a spindle

  Mesh NewMesh() const { return Mesh(m_values.units); }

  // Bodies are drawn in the machine's frame, and stand in that of their object, which is shifted.
  void Give(std::size_t node, const Mesh& mesh, const Colour& colour) {
    const Matrix& zero = m_model.nodes[node].zero;
    const Point origin(zero(0, 3), zero(1, 3), zero(2, 3));
    auto shifted = misc::MakeAutoPointer<Mesh>(m_values.units);
    for (const Mesh::Point& p : mesh.GetVertices())
      shifted->AddVertex(ToFloat(Point(p.x, p.y, p.z) - origin));
    for (const Mesh::Triangle& triangle : mesh.GetTriangles())
      shifted->AddTriangle(triangle.corners, triangle.normal);
    m_model.nodes[node].body = {.mesh = std::move(shifted), .colour = colour};
  }

  // A disc about the axis, below the path as seen along it.
  void BuildDisc(std::size_t at) {
    const ModelNode& node = m_model.nodes[at];
    const double sense = Dot(node.direction, m_values.spindle) < 0 ? -1 : 1;
    const Point up = node.direction * sense;
    double radius = 0;
    double foot = 0;
    for (int i = 0; i < 8; ++i) {
      const Point corner((i & 1) != 0 ? m_high.x : m_low.x, (i & 2) != 0 ? m_high.y : m_low.y,
                         (i & 4) != 0 ? m_high.z : m_low.z);
      const Point arm = corner - node.pivot;
      const double along = Dot(arm, up);
      radius = std::max(radius, (arm - up * along).Length());
      foot = i == 0 ? along : std::min(foot, along);
    }
    m_radius = std::max(kWider * radius, m_unit);
    m_foot = node.pivot + up * (foot - kGap * m_radius);
    Mesh mesh = NewMesh();
    AddCylinder(mesh, m_radius, -kThickness * m_radius, 0, m_foot, up);
    Give(at, mesh, kTable);
    m_lowest = std::min(m_lowest, m_foot.z - 2 * m_radius);
  }

  // A shaft along the axis, below the disc that it carries.
  void BuildCradle(std::size_t at, const Point& tablePivot) {
    const ModelNode& node = m_model.nodes[at];
    const Point middle = node.pivot + node.direction * Dot(tablePivot - node.pivot, node.direction);
    Mesh mesh = NewMesh();
    AddCylinder(mesh, kThickness * m_radius, -kWider * m_radius, kWider * m_radius, middle,
                node.direction);
    Give(at, mesh, kSlide);
    m_lowest = std::min(m_lowest, middle.z - 2 * m_radius);
  }

  // The spindle on the last axis of the head, and a shaft along each rotary one.
  void BuildHead() {
    const ModelNode& tool =
        m_model.nodes[static_cast<std::size_t>(m_model.nodes[m_model.tip].parent)];
    bool isLast = true;
    m_headTop = kSpindle * m_unit;
    for (auto at = static_cast<std::size_t>(tool.parent); m_model.nodes[at].axis != 2;
         at = static_cast<std::size_t>(m_model.nodes[at].parent)) {
      const ModelNode& node = m_model.nodes[at];
      Mesh mesh = NewMesh();
      const bool isRotary = node.axis >= kFirstRotary;
      if (isRotary) {
        AddCylinder(mesh, m_unit, -2 * m_unit, 2 * m_unit, node.pivot, node.direction);
        m_headTop = std::max(m_headTop, Dot(node.pivot, m_values.spindle) + m_unit);
      }
      if (isLast) AddSpindle(mesh, isRotary ? Dot(node.pivot, m_values.spindle) : 0);
      isLast = false;
      Give(at, mesh, kHead);
    }
    m_isSpindleOnSlide = isLast;
  }

  void AddSpindle(Mesh& mesh, double top) const {
    AddCylinder(mesh, kSlim * m_unit, 0, std::max(top, kSpindle * m_unit), {}, m_values.spindle);
  }

  void BuildPortal(bool isTableFixed) {
    const double u = m_unit;
    const double beam = m_maxTravel.z + m_headTop + 2 * u;  // height of what Z runs in
    const double floor = std::min({m_lowest, m_low.z - u, m_minTravel.z}) - u;
    for (std::size_t at = 0; at < m_model.nodes.size(); ++at) {
      const int axis = m_model.nodes[at].axis;
      Mesh mesh = NewMesh();
      if (axis == 0) {
        AddBox(mesh, {-5 * u, m_minTravel.y - 3 * u, beam - u},
               {-2 * u, m_maxTravel.y + 3 * u, beam + u});
      } else if (axis == 1) {
        AddBox(mesh, {-2 * u, -2 * u, beam - 2 * u}, {2 * u, 2 * u, beam + 2 * u});
      } else if (axis == 2) {
        const double top = m_headTop + m_maxTravel.z - m_minTravel.z + 5 * u;
        AddBox(mesh, {-u, -u, m_headTop - u}, {u, u, top});
        if (m_isSpindleOnSlide) AddSpindle(mesh, 0);
      } else {
        continue;
      }
      Give(at, mesh, axis == 2 ? kHead : kSlide);
    }
    Mesh bed = NewMesh();
    const Point low = Low({m_minTravel.x - 6 * u, m_minTravel.y - 5 * u, 0}, m_low);
    const Point high = High({m_maxTravel.x + 3 * u, m_maxTravel.y + 5 * u, 0}, m_high);
    AddBox(bed, {low.x, low.y, floor - 2 * u}, {high.x, high.y, floor});
    for (const double y : {m_minTravel.y - 4 * u, m_maxTravel.y + 4 * u}) {
      AddBox(bed, {low.x, y - u, beam - 3 * u}, {high.x, y + u, beam - u});  // a rail on two posts
      for (const double x : {low.x + u, high.x - u})
        AddBox(bed, {x - u, y - u, floor}, {x + u, y + u, beam - 3 * u});
    }
    if (isTableFixed) {
      const Point edge = (m_high - m_low) * (kWider - 1) + Point(u, u, 0);
      AddBox(bed, {m_low.x - edge.x, m_low.y - edge.y, floor},
             {m_high.x + edge.x, m_high.y + edge.y, m_low.z - kGap * u});
    }
    Give(0, bed, kFixed);
  }

  static constexpr double kWider = 1.25;
  static constexpr double kGap = 0.05;
  static constexpr double kThickness = 0.12;
  static constexpr double kSpindle = 4;
  static constexpr double kSlim = 0.8;

  MachineModel& m_model;
  const MachineValues& m_values;
  Point m_low;  // of the path, in the machine's frame
  Point m_high;
  Point m_minTravel;
  Point m_maxTravel;
  double m_unit = 1e30;
  double m_radius = 0;  // of the table
  Point m_foot;
  double m_lowest = 1e30;
  double m_headTop = 0;
  bool m_isSpindleOnSlide = false;
};

}  // namespace

void AddPlainBodies(MachineModel& model, const MachineValues& values, const ModelSetup& setup,
                    const RunExtent& extent) {
  Builder(model, values, setup, extent).Build();
}

void AddPlainTool(MachineModel& model, const MachineValues& values, const ModelSetup& setup,
                  const RunExtent& extent) {
  constexpr double kOfRun = 0.03, kThinnest = 0.03, kThickest = 0.2, kShank = 0.9;
  constexpr double kLongest = 6, kFlutes = 2.5;  // of the diameter
  double radius = kOfRun / 2 * SizeOf(extent);
  double length = std::fabs(setup.toolLength);
  if (length > 0)
    radius = std::clamp(radius, kThinnest / 2 * length, kThickest / 2 * length);
  else
    length = kLongest * 2 * radius;
  const double flutes = std::min(kFlutes * 2 * radius, length / 2);
  auto mesh = misc::MakeAutoPointer<Mesh>(values.units);
  AddRevolved(*mesh,
              {{0, 0},
               {radius, 0},
               {radius, flutes},
               {kShank * radius, flutes},
               {kShank * radius, length},
               {0, length}},
              {}, {0, 0, 1});
  model.nodes[model.tip].body = {.mesh = std::move(mesh), .colour = kTool};
}

}  // namespace kandrel_post
