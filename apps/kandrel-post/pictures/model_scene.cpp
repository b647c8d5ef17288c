#include "kandrel-post/pictures/model_scene.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <memory>
#include <span>
#include <utility>

#include "kandrel-post/pictures/turn_keys.h"

namespace kandrel_post {

namespace {

using Json = nlohmann::ordered_json;
using Point = ModelNode::Point;
using Matrix = ModelNode::Matrix;
using Floats = SceneRun::Floats;

constexpr int kFirstRotary = 3;
constexpr double kMetresOfMillimetre = 0.001;
constexpr double kMetresOfInch = 0.0254;
/// The most that one node turns between two keys, degrees: less than half a turn, so that the
/// shorter way is the right one, rounding or not.
constexpr double kMostTurn = 179;
/// The most nodes that share an axis' turn. A block that turns by more than they can show, 31
/// turns, is seen to turn by less.
constexpr int kMostParts = 64;
constexpr double kRoughness = 0.7;
constexpr double kScreenGamma = 2.2;
constexpr int kLines = 1;  // of glTF's primitives
constexpr std::array<double, 4> kFeedColour{0.1, 0.45, 0.85, 1};
constexpr std::array<double, 4> kRapidColour{0.85, 0.4, 0.1, 1};
constexpr const char* kUnlit = "KHR_materials_unlit";

Json ToJson(const Point& p) {
  return {p.x, p.y, p.z};
}

float ToFloat(double number) {
  constexpr double kLargest = std::numeric_limits<float>::max();
  return static_cast<float>(std::clamp(number, -kLargest, kLargest));
}

bool IsShift(const Matrix& matrix) {
  Matrix shift = Matrix::Identity();
  for (std::size_t i = 0; i < 3; ++i) shift(i, 3) = matrix(i, 3);
  return matrix == shift;
}

Point ShiftOf(const Matrix& matrix) {
  return {matrix(0, 3), matrix(1, 3), matrix(2, 3)};
}

// A node's place below its parent, as glTF has it: by columns.
void PutPlace(Json& node, const Matrix& matrix) {
  if (matrix == Matrix::Identity()) return;
  if (IsShift(matrix)) {
    node["translation"] = ToJson(ShiftOf(matrix));
    return;
  }
  Json elements = Json::array();
  for (std::size_t column = 0; column < 4; ++column)
    for (std::size_t row = 0; row < 4; ++row)
      elements.push_back(row < 3 ? matrix(row, column) : column < 3 ? 0.0 : 1.0);
  node["matrix"] = std::move(elements);
}

struct Box {
  std::vector<float> min;
  std::vector<float> max;
};

// Of one point at least.
Box BoxOf(const std::vector<Floats>& points) {
  Box box{{points[0].begin(), points[0].end()}, {points[0].begin(), points[0].end()}};
  for (const Floats& p : points)
    for (std::size_t i = 0; i < 3; ++i) {
      box.min[i] = std::min(box.min[i], p[i]);
      box.max[i] = std::max(box.max[i], p[i]);
    }
  return box;
}

int AddVertices(GlbFile& file, std::size_t count, Box box, GlbFile::Fill fill) {
  return file.AddArray({.type = "VEC3",
                        .use = GlbFile::Use::vertices,
                        .count = count,
                        .min = std::move(box.min),
                        .max = std::move(box.max)},
                       std::move(fill));
}

int AddIndices(GlbFile& file, std::uint64_t count, GlbFile::Fill fill) {
  return file.AddArray({.type = "SCALAR",
                        .number = GlbFile::Number::u32,
                        .use = GlbFile::Use::indices,
                        .count = count},
                       std::move(fill));
}

template <class Number>
GlbFile::Fill PutAll(const std::vector<Number>& numbers) {
  return [&numbers](NumberSink& sink) { sink.Put(std::span(numbers)); };
}

/// How many keys or lines are worked out before they are put.
constexpr std::size_t kAtOnce = 1024;

// Puts kWidth floats for each of `count` keys; make(first, count, floats) works out some of them.
template <std::size_t kWidth, class Make>
void PutKeys(NumberSink& sink, std::size_t count, const Make& make) {
  std::array<float, kWidth * kAtOnce> floats;
  for (std::size_t first = 0; first < count; first += kAtOnce) {
    const std::size_t some = std::min(kAtOnce, count - first);
    make(first, some, floats.data());
    sink.Put(std::span<const float>(floats.data(), kWidth * some));
  }
}

// Puts both ends of each line of a kind.
void PutLines(NumberSink& sink, const std::vector<PathLine>& lines, PathLine kind) {
  std::array<std::uint32_t, 2 * kAtOnce> ends;
  std::size_t used = 0;
  for (std::size_t i = 1; i < lines.size(); ++i) {
    if (lines[i] != kind) continue;
    ends[used++] = static_cast<std::uint32_t>(i - 1);
    ends[used++] = static_cast<std::uint32_t>(i);
    if (used == ends.size()) sink.Put(std::span<const std::uint32_t>(ends.data(), used)), used = 0;
  }
  sink.Put(std::span<const std::uint32_t>(ends.data(), used));
}

// A mesh in which equal vertices are one, without triangles that have no area for that.
struct Triangles {
  std::vector<Floats> vertices;
  std::vector<std::uint32_t> corners;

  explicit Triangles(const cadcam::zvTMesh<float>& mesh) {
    const auto given = mesh.GetVertices();
    const auto at = [&](std::uint32_t i) {
      return Floats{given[i].x + 0.0F, given[i].y + 0.0F, given[i].z + 0.0F};  // no 0 with a sign
    };
    std::vector<std::uint32_t> order;
    for (std::uint32_t i = 0; i < given.size(); ++i)
      if (std::isfinite(given[i].x) && std::isfinite(given[i].y) && std::isfinite(given[i].z))
        order.push_back(i);
    std::sort(order.begin(), order.end(),
              [&](std::uint32_t a, std::uint32_t b) { return at(a) < at(b); });
    constexpr std::uint32_t kNone = 0xFFFFFFFF;
    std::vector<std::uint32_t> placeOf(given.size(), kNone);
    for (const std::uint32_t i : order) {
      if (vertices.empty() || vertices.back() != at(i)) vertices.push_back(at(i));
      placeOf[i] = static_cast<std::uint32_t>(vertices.size()) - 1;
    }
    for (const auto& triangle : mesh.GetTriangles()) {
      std::array<std::uint32_t, 3> places{};
      for (std::size_t i = 0; i < 3; ++i)
        places[i] = placeOf[static_cast<std::size_t>(triangle.corners[i])];
      if (places[0] == places[1] || places[1] == places[2] || places[2] == places[0] ||
          std::max({places[0], places[1], places[2]}) == kNone)
        continue;
      corners.insert(corners.end(), places.begin(), places.end());
    }
  }
};

}  // namespace

ModelScene::ModelScene(GlbFile& file, const MachineModel& model, const SceneRun& run)
    : m_file(file), m_model(model), m_run(run), m_nodeOf(model.nodes.size()) {}

void ModelScene::Make(const std::string& name, measures::zvUnitsFactory::Units units) {
  const double metres =
      units == measures::zvUnitsFactory::inch ? kMetresOfInch : kMetresOfMillimetre;
  const double half = std::sqrt(0.5);
  ChooseNames(name);
  const int root = AddNode({{"name", m_names.back()},
                            {"rotation", {-half, 0, 0, half}},
                            {"scale", {metres, metres, metres}}},
                           -1);
  ReadMotions();
  for (std::size_t i = 0; i < m_model.nodes.size(); ++i) Place(i, root);
  AddPath(m_nodeOf[m_model.path]);

  m_file.Json()["scene"] = 0;
  m_file.Add("scenes", {{"nodes", {root}}});
  m_file.Json()["nodes"] = std::move(m_nodes);
  if (!m_channels.empty())
    m_file.Add("animations", {{"name", "run"},
                              {"channels", std::move(m_channels)},
                              {"samplers", std::move(m_samplers)}});
}

// Which object keeps its name, where several have one, comes first; the others get what is left, so
// that nobody's own name is given away. The first of a definition's objects is its base, which is
// no more than a body: it goes behind the axes.
void ModelScene::ChooseNames(const std::string& ofRoot) {
  const std::vector<ModelNode>& nodes = m_model.nodes;
  const auto parentOf = [&](std::size_t at) { return static_cast<std::size_t>(nodes[at].parent); };
  std::vector<std::size_t> order{parentOf(m_model.tip), m_model.tip, parentOf(m_model.path),
                                 m_model.path};
  for (std::size_t i = 1; i < nodes.size(); ++i)
    if (std::find(order.begin(), order.begin() + 4, i) == order.begin() + 4) order.push_back(i);
  if (std::find(order.begin(), order.end(), 0) == order.end()) order.push_back(0);
  order.push_back(nodes.size());
  for (const ModelNode& node : nodes) m_names.push_back(node.name);
  m_names.push_back(ofRoot);
  std::vector<std::size_t> late;
  for (const std::size_t at : order)
    if (!m_taken.insert(m_names[at]).second) late.push_back(at);
  for (const std::size_t at : late) m_names[at] = NewName(m_names[at]);
}

std::string ModelScene::NewName(const std::string& wanted) {
  std::string name = wanted;
  for (int number = 2; !m_taken.insert(name).second; ++number)
    name = wanted + " " + std::to_string(number);
  return name;
}

void ModelScene::ReadMotions() {
  const std::size_t keys = m_run.times.size();
  if (keys == 0) return;
  m_times = m_file.AddArray(
      {.type = "SCALAR", .count = keys, .min = {m_run.times.front()}, .max = {m_run.times.back()}},
      PutAll(m_run.times));
  bool isStill = true;
  for (std::size_t axis = 0; axis < 3; ++axis) {
    const float first = m_run.slides[0][axis];
    Motion& motion = m_motions[axis];
    motion.value = first;
    motion.hasKeys = std::any_of(m_run.slides.begin(), m_run.slides.end(),
                                 [&](const Floats& slides) { return slides[axis] != first; });
    isStill = isStill && !motion.hasKeys;
  }
  for (std::size_t i = 0; i < m_run.turns.size(); ++i) {
    const std::vector<double>& degs = m_run.turns[i];
    if (degs.empty()) continue;
    double largest = 0;
    for (std::size_t key = 1; key < keys; ++key)
      largest = std::max(largest, std::fabs(degs[key] - degs[key - 1]));
    Motion& motion = m_motions[kFirstRotary + i];
    motion.value = degs[0];
    motion.hasKeys = largest > 0;
    motion.parts =
        static_cast<int>(std::clamp(std::ceil(largest / kMostTurn), 1.0, double{kMostParts}));
    isStill = isStill && !motion.hasKeys;
  }
  if (isStill) m_motions[0].hasKeys = true;
}

// Adds what an object needs: nodes that turn back, that move, and its own.
void ModelScene::Place(std::size_t at, int root) {
  const ModelNode& node = m_model.nodes[at];
  const std::string& name = m_names[at];
  const bool isAtRoot = node.parent == ModelNode::kNone;
  int parent = isAtRoot ? root : m_nodeOf[static_cast<std::size_t>(node.parent)];
  Matrix local =
      isAtRoot ? node.zero
               : Inverse(m_model.nodes[static_cast<std::size_t>(node.parent)].zero) * node.zero;
  int& placed = m_nodeOf[at];
  if (node.axis == ModelNode::kNone) {
    Json json = {{"name", name}};
    PutPlace(json, local);
    placed = AddNode(std::move(json), parent);
  } else {
    if (!IsShift(local)) {
      Json frame = {{"name", NewName(name + " frame")}};
      PutPlace(frame, local);
      parent = AddNode(std::move(frame), parent);
      local = Matrix::Identity();
    }
    placed = node.axis < kFirstRotary ? AddSlide(node, name, ShiftOf(local), parent)
                                      : AddTurn(node, name, ShiftOf(local), parent);
  }
  if (!node.body) return;
  const int mesh = AddBody(name, *node.body);
  if (mesh >= 0) m_nodes[static_cast<std::size_t>(placed)]["mesh"] = mesh;
}

int ModelScene::AddNode(Json node, int parent) {
  m_nodes.push_back(std::move(node));
  const int added = static_cast<int>(m_nodes.size()) - 1;
  if (parent >= 0) m_nodes[static_cast<std::size_t>(parent)]["children"].push_back(added);
  return added;
}

int ModelScene::AddSlide(const ModelNode& node, const std::string& name, const Point& shift,
                         int parent) {
  const auto axis = static_cast<std::size_t>(node.axis);
  const Motion& motion = m_motions[axis];
  const int added = AddNode(
      {{"name", name}, {"translation", ToJson(shift + node.direction * motion.value)}}, parent);
  if (!motion.hasKeys) return added;
  const int sampler = AddSampler(
      "VEC3", [&slides = m_run.slides, axis, shift, way = node.direction](NumberSink& sink) {
        PutKeys<3>(sink, slides.size(), [&](std::size_t first, std::size_t count, float* to) {
          for (std::size_t i = first; i < first + count; ++i) {
            const Point p = shift + way * slides[i][axis];
            *to++ = ToFloat(p.x);
            *to++ = ToFloat(p.y);
            *to++ = ToFloat(p.z);
          }
        });
      });
  AddChannel(added, "translation", sampler);
  return added;
}

int ModelScene::AddTurn(const ModelNode& node, const std::string& name, const Point& shift,
                        int parent) {
  const auto axis = static_cast<std::size_t>(node.axis);
  const Motion& motion = m_motions[axis];
  int sampler = -1;
  if (motion.hasKeys)
    sampler = AddSampler("VEC4", [&degs = m_run.turns[axis - kFirstRotary], parts = motion.parts,
                                  direction = node.direction](NumberSink& sink) {
      PutKeys<4>(sink, degs.size(), [&](std::size_t first, std::size_t count, float* to) {
        PutQuaternions(direction, std::span(degs).subspan(first, count), parts, to);
      });
    });
  for (int part = 1;; ++part) {
    const bool isLast = part == motion.parts;
    Json json = {{"name", isLast ? name
                                 : NewName(name + " turn " + std::to_string(part) + " of " +
                                           std::to_string(motion.parts))}};
    if (part == 1 && !shift.IsZero()) json["translation"] = ToJson(shift);
    json["rotation"] = QuaternionOf(node.direction, motion.value / motion.parts);
    parent = AddNode(std::move(json), parent);
    if (sampler >= 0) AddChannel(parent, "rotation", sampler);
    if (isLast) return parent;
  }
}

int ModelScene::AddSampler(const char* type, GlbFile::Fill fill) {
  const int output = m_file.AddArray({.type = type, .count = m_run.times.size()}, std::move(fill));
  m_samplers.push_back({{"input", m_times}, {"output", output}});
  return static_cast<int>(m_samplers.size()) - 1;
}

void ModelScene::AddChannel(int node, const char* path, int sampler) {
  m_channels.push_back({{"sampler", sampler}, {"target", {{"node", node}, {"path", path}}}});
}

int ModelScene::AddMaterial(const Look& look, bool isOfLines) {
  const auto [known, isNew] = m_materials.try_emplace({look, isOfLines}, 0);
  if (!isNew) return known->second;
  Look linear = look;  // light, not what a screen is sent
  for (std::size_t i = 0; i < linear.size(); ++i) {
    linear[i] = linear[i] > 0 ? std::min(linear[i], 1.0) : 0.0;
    if (i < 3) linear[i] = std::pow(linear[i], kScreenGamma);
  }
  Json material = {
      {"pbrMetallicRoughness",
       {{"baseColorFactor", linear}, {"metallicFactor", 0}, {"roughnessFactor", kRoughness}}}};
  if (linear[3] < 1) material["alphaMode"] = "BLEND";
  if (isOfLines)
    material["extensions"] = {{kUnlit, Json::object()}};
  else
    material["doubleSided"] = true;
  return known->second = m_file.Add("materials", std::move(material));
}

// Vertices and triangles of a file's body are there once, whatever colours it has. -1 for a body of
// which nothing is left.
int ModelScene::AddBody(const std::string& name, const ModelBody& body) {
  const Look look{body.colour[0], body.colour[1], body.colour[2], body.opacity};
  const int material = AddMaterial(look, false);
  const bool isOfFile = !body.source.empty();
  if (isOfFile)
    if (const auto mesh = m_meshes.find({body.source, material}); mesh != m_meshes.end())
      return mesh->second;
  Json primitive;
  if (const auto known = m_bodies.find(body.source); isOfFile && known != m_bodies.end()) {
    primitive = known->second;
  } else {
    const auto triangles = std::make_shared<const Triangles>(*body.mesh);
    if (triangles->corners.empty()) return -1;
    primitive["attributes"] = {
        {"POSITION", AddVertices(m_file, triangles->vertices.size(), BoxOf(triangles->vertices),
                                 [triangles](NumberSink& sink) {
                                   sink.Put(std::span(std::as_const(triangles->vertices)));
                                 })}};
    primitive["indices"] = AddIndices(
        m_file, triangles->corners.size(),
        [triangles](NumberSink& sink) { sink.Put(std::span(std::as_const(triangles->corners))); });
    if (isOfFile) m_bodies[body.source] = primitive;
  }
  primitive["material"] = material;
  const int mesh =
      m_file.Add("meshes", {{"name", name}, {"primitives", Json::array({std::move(primitive)})}});
  if (isOfFile) m_meshes[{body.source, material}] = mesh;
  return mesh;
}

void ModelScene::AddPath(int node) {
  const std::vector<PathLine>& lines = m_run.lines;
  const auto countOf = [&](PathLine kind) {
    return static_cast<std::uint64_t>(std::count(lines.begin(), lines.end(), kind));
  };
  if (countOf(PathLine::none) == lines.size()) return;
  const int vertices = AddVertices(
      m_file, m_run.path.size(),
      {{m_run.lowest.begin(), m_run.lowest.end()}, {m_run.highest.begin(), m_run.highest.end()}},
      PutAll(m_run.path));
  Json primitives = Json::array();
  for (const PathLine kind : {PathLine::feed, PathLine::rapid}) {
    const std::uint64_t count = 2 * countOf(kind);
    if (count == 0) continue;
    const int indices = AddIndices(
        m_file, count, [&lines, kind](NumberSink& sink) { PutLines(sink, lines, kind); });
    primitives.push_back(
        {{"attributes", {{"POSITION", vertices}}},
         {"indices", indices},
         {"material", AddMaterial(kind == PathLine::rapid ? kRapidColour : kFeedColour, true)},
         {"mode", kLines}});
  }
  m_file.Json()["extensionsUsed"] = {kUnlit};
  m_nodes[static_cast<std::size_t>(node)]["mesh"] =
      m_file.Add("meshes", {{"name", "toolpath"}, {"primitives", std::move(primitives)}});
}

}  // namespace kandrel_post
