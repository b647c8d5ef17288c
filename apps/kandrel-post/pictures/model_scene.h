// The scene of a glTF file: a machine's objects, their motion and the path.
#pragma once

#include <kandrel/misc/units_factory.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <nlohmann/json.hpp>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "kandrel-post/pictures/glb_file.h"
#include "kandrel-post/pictures/machine_model.h"

namespace kandrel_post {

/// What is drawn of the way to a point of the path.
enum class PathLine : std::uint8_t { none, feed, rapid };

/// What moves and what is drawn; lengths in the machine's units, angles in degrees.
struct SceneRun {
  using Floats = std::array<float, 3>;

  const std::vector<float>& times;    ///< of the keys: seconds, increasing
  const std::vector<Floats>& slides;  ///< positions of the linear axes, by key
  /// Of each rotary axis its angles, by key, running on past a turn; none of one that stands.
  const std::array<std::vector<double>, 3>& turns;
  const std::vector<Floats>& path;     ///< points in the part's frame
  const std::vector<PathLine>& lines;  ///< the way to each of them
  Floats lowest;                       ///< of the coordinates of the path
  Floats highest;
};

/// Puts the nodes of a machine, a run's motion and its path into a file. What it is given must live
/// until the file has been written.
///
/// 1. Nodes have the names of the machine's objects. The root, with the machine's, turns Z up into
///    Y up and lengths into metres. No two have the same: tool, tip, workpiece and path keep
///    theirs, then the objects in their order, the root last; what comes later gets a number behind
///    it.
/// 2. Nodes of other names come in between where one is not enough: "... frame" turns back to the
///    machine's directions what a transform above an axis has turned, and "... turn I of N" takes
///    its part of a rotary axis' turn.
/// 3. An axis that never moves stands in its node; one at least has keys, unless there are none.
/// 4. Rapid lines have a colour of their own.
class ModelScene {
 public:
  ModelScene(GlbFile& file, const MachineModel& model, const SceneRun& run);

  void Make(const std::string& name, measures::zvUnitsFactory::Units units);

 private:
  using Json = nlohmann::ordered_json;
  using Point = ModelNode::Point;
  using Look = std::array<double, 4>;  ///< red, green, blue and opacity

  struct Motion {
    bool hasKeys = false;
    double value = 0;  ///< where it stands at first
    int parts = 1;     ///< that share a rotary axis' turn
  };

  void ChooseNames(const std::string& ofRoot);
  std::string NewName(const std::string& wanted);
  void ReadMotions();
  void Place(std::size_t at, int root);
  int AddNode(Json node, int parent);
  int AddSlide(const ModelNode& node, const std::string& name, const Point& shift, int parent);
  int AddTurn(const ModelNode& node, const std::string& name, const Point& shift, int parent);
  int AddSampler(const char* type, GlbFile::Fill fill);
  void AddChannel(int node, const char* path, int sampler);
  int AddMaterial(const Look& look, bool isOfLines);
  int AddBody(const std::string& name, const ModelBody& body);
  void AddPath(int node);

  GlbFile& m_file;
  const MachineModel& m_model;
  SceneRun m_run;
  std::array<Motion, 6> m_motions;
  std::vector<Json> m_nodes;
  std::vector<int> m_nodeOf;         // by the model's nodes
  std::vector<std::string> m_names;  // by the same, then the root's
  std::set<std::string> m_taken;
  int m_times = -1;
  Json m_samplers = Json::array();
  Json m_channels = Json::array();
  std::map<std::pair<Look, bool>, int> m_materials;
  std::map<std::string, Json> m_bodies;  // a file's vertices and triangles
  std::map<std::pair<std::string, int>, int> m_meshes;
};

}  // namespace kandrel_post
