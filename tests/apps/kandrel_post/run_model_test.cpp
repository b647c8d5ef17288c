// run.glb, from moves made by hand. That it shows what was posted, three.js tells in
// apps/kandrel-post/web/gltf.
#include <kandrel-post/machine/presets.h>
#include <kandrel-post/pictures/run_model.h>
#include <tests/support/numbers.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <map>
#include <nlohmann/json.hpp>

#include "support.h"

namespace {

using Json = nlohmann::json;

std::uint32_t WordAt(const std::string& bytes, std::size_t at) {
  std::uint32_t word = 0;
  for (unsigned i = 0; i < 4; ++i)
    word |= std::uint32_t{static_cast<unsigned char>(bytes.at(at + i))} << (8 * i);
  return word;
}

struct Glb {
  std::string bytes;
  Json json;
  std::size_t data = 0;  // where the numbers begin

  explicit Glb(std::string file) : bytes(std::move(file)) {
    const std::size_t text = WordAt(bytes, 12);
    json = Json::parse(bytes.substr(20, text));
    data = 20 + text + 8;
  }

  std::vector<float> Floats(int accessor) const {
    const Json& array = json["accessors"].at(static_cast<std::size_t>(accessor));
    const Json& view = json["bufferViews"].at(array["bufferView"].get<std::size_t>());
    std::vector<float> floats(view["byteLength"].get<std::size_t>() / 4);
    for (std::size_t i = 0; i < floats.size(); ++i)
      floats[i] =
          std::bit_cast<float>(WordAt(bytes, data + view["byteOffset"].get<std::size_t>() + 4 * i));
    return floats;
  }
  /// The nodes that share the turn of an axis.
  std::size_t TurnsOf(const std::string& axis) const {
    std::size_t count = 0;
    for (const Json& node : json["nodes"]) {
      const std::string name = node["name"];
      count += name == axis || name.starts_with(axis + " turn ") ? 1 : 0;
    }
    return count;
  }
  const Json& Channel(const std::string& node) const {
    for (const Json& channel : json["animations"][0]["channels"])
      if (json["nodes"].at(channel["target"]["node"].get<std::size_t>())["name"] == node)
        return channel;
    throw std::out_of_range(node);
  }
  std::vector<float> Keys(const std::string& node, const char* what) const {
    const auto sampler = Channel(node)["sampler"].get<std::size_t>();
    return Floats(json["animations"][0]["samplers"].at(sampler)[what].get<int>());
  }
};

// A move of a trunnion: seconds and angles; the position is its number along X unless given.
struct Move {
  double seconds;
  double first;
  double second = 0;
  double x = 0;
};

Glb Written(const std::vector<Move>& moves, bool isWrapped = false,
            const std::vector<std::wstring>& axisNames = {}) {
  kandrel_post::Machine machine = kandrel_post::MakePreset("trunnion_ca");
  if (!axisNames.empty()) machine.builder.SetAxisNames(axisNames);
  const tests::ScratchFolder scratch;
  kandrel_post::OutputFolder folder(scratch.Path("out"));
  kandrel_post::RunModel model(machine, "preset:trunnion_ca", {{1, 2, 3}, 50},
                               {isWrapped, isWrapped, false}, moves.size());
  for (const Move& m : moves) {
    post::zvPosted5axMove move({m.x, 0, 0}, {m.x, 0, 0}, {0, 0, 1}, m.first, m.second, 0, 100,
                               false, post::zvPostedMove::noLink);
    move.SetMoveTime(m.seconds);
    model.Write(kandrel_post::RowOf(move));
  }
  EXPECT_TRUE(model.Prepare(folder));
  model.Finish();
  EXPECT_TRUE(model.GetNotes().empty());
  folder.Commit();
  return Glb(tests::FileText(scratch.Path("out/run.glb")));
}

TEST(RunModel, WritesChunksOfWholeWordsAndArraysOneBehindTheOther) {
  const Glb glb = Written({{0, 0, 0, 0}, {1, 10, 5, 4}, {1, 20, 7, 9}});
  const std::string& bytes = glb.bytes;
  EXPECT_EQ(bytes.substr(0, 4), "glTF");
  EXPECT_EQ(WordAt(bytes, 4), 2u);
  EXPECT_EQ(WordAt(bytes, 8), bytes.size());
  EXPECT_EQ(bytes.substr(16, 4), "JSON");
  EXPECT_EQ(WordAt(bytes, 12) % 4, 0u);
  EXPECT_EQ(bytes.substr(glb.data - 4, 4), (std::string{"BIN\0", 4}));
  EXPECT_EQ(WordAt(bytes, glb.data - 8), bytes.size() - glb.data);
  EXPECT_EQ(glb.json["buffers"][0]["byteLength"], bytes.size() - glb.data);
  std::size_t end = 0;
  for (const Json& accessor : glb.json["accessors"]) {
    const Json& view = glb.json["bufferViews"].at(accessor["bufferView"].get<std::size_t>());
    EXPECT_EQ(view["byteOffset"], end);
    const std::string type = accessor["type"];
    const std::size_t numbers = type == "SCALAR" ? 1 : type == "VEC3" ? 3 : 4;
    EXPECT_EQ(view["byteLength"], 4 * numbers * accessor["count"].get<std::size_t>());
    end += view["byteLength"].get<std::size_t>();
  }
  EXPECT_EQ(end, bytes.size() - glb.data);
  EXPECT_EQ(glb.Keys("X", "output"), (std::vector<float>{0, 0, 0, 4, 0, 0, 9, 0, 0}));
}

TEST(RunModel, HasAKeyForEachLineThatTakesTimeAndNodesForTheWidestTurn) {
  const float late = 1e4F;
  const float next = std::nextafter(late, 2 * late);
  const struct {
    const char* what;
    std::vector<Move> moves;
    bool isWrapped;
    std::vector<float> times;
    std::size_t turns;
    double lastDeg;  // of the last key, running on past a turn
  } cases[] = {
      {"plain", {{0, 0}, {1, 100}, {2, 200}}, false, {0, 1, 3}, 1, 200},
      {"a first line that takes time", {{5, 0}, {1, 1}}, false, {5, 6}, 1, 1},
      {"no time", {{0, 0}, {1, 10}, {0, 100}, {0, 200}, {1, 210}}, false, {0, 1, 2}, 2, 210},
      {"the last of no time", {{0, 0}, {1, 10}, {0, 33}}, false, {0, 1}, 1, 33},
      {"by numbers", {{0, 350}, {1, 5}}, false, {0, 1}, 2, 5},
      {"wrapped", {{0, 350}, {1, 5}, {1, 10}}, true, {0, 1, 2}, 1, 370},
      {"wrapped, back", {{0, 5}, {1, 355}, {1, 180}}, true, {0, 1, 2}, 1, -180},
      {"half a turn and on", {{0, 0}, {1, 180}, {1, 355}, {1, 170}}, true, {0, 1, 2, 3}, 2, 530},
      {"half a turn back, wound",
       {{0, 0}, {1, 170}, {1, 340}, {1, 150}, {1, 330}, {1, 150}},
       true,
       {0, 1, 2, 3, 4, 5},
       2,
       510},
      {"rewound", {{0, 720}, {1, 0}}, false, {0, 1}, 5, 0},
      {"far too wide", {{0, 0}, {1, 1e7}}, false, {0, 1}, 64, 1e7},
      {"late", {{late, 0}, {1e-9, 1}, {1e-9, 2}}, false, {late, next, next + (next - late)}, 1, 2},
      {"too late", {{1e6, 0}, {1e-9, 1}, {1, 2}}, false, {1e6F, 1e6F + 1}, 1, 2},
      {"beyond floats", {{1, 0}, {1e300, 1}, {1, 2}}, false, {1, 3.4028234664e38F}, 1, 2},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    const Glb glb = Written(c.moves, c.isWrapped);
    EXPECT_EQ(glb.Keys("C", "input"), c.times);
    EXPECT_EQ(glb.TurnsOf("C"), c.turns);
    const std::vector<float> keys = glb.Keys("C", "output");
    ASSERT_EQ(keys.size(), 4 * c.times.size());
    // The axis points down.
    const double half = c.lastDeg / static_cast<double>(c.turns) / 2 * std::acos(-1.0) / 180;
    const float* const last = keys.data() + keys.size() - 4;
    EXPECT_NEAR(std::fabs(last[3]), std::fabs(std::cos(half)), 1e-6);
    EXPECT_NEAR(last[2] * std::cos(half) + last[3] * std::sin(half), 0, 1e-6);
  }
}

TEST(RunModel, GivesNoNameTwice) {
  const struct {
    std::vector<std::wstring> axes;
    std::vector<std::string> shown;  // of the axes, by their order
  } cases[] = {
      {{L"X", L"Y", L"Z", L"C", L"A"}, {"X", "Y", "Z", "C", "A"}},
      {{L"tool", L"tip", L"path", L"workpiece", L"base"},
       {"tool 2", "tip 2", "path 2", "workpiece 2", "base"}},
      {{L"X", L"X", L"X 2", L"C turn 1 of 2", L"C"}, {"X", "X 3", "X 2", "C turn 1 of 2", "C"}},
      {{L"trunnion_ca", L"C turn 1 of 2", L"", L"C", L"C"},
       {"trunnion_ca", "C turn 1 of 2", "Z", "C", "C 2"}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.shown[0]);
    const Glb glb = Written({{0, 0, 0, 0}, {1, 340, 340, 1}}, false, c.axes);
    std::map<std::string, const Json*> nodes;
    for (const Json& node : glb.json["nodes"])
      EXPECT_TRUE(nodes.emplace(node["name"], &node).second) << node["name"];
    for (const std::string& name : c.shown) EXPECT_EQ(nodes.count(name), 1u) << name;
    const auto isBelow = [&](const char* above, const char* below) {
      const auto at = static_cast<std::size_t>(
          std::find_if(glb.json["nodes"].begin(), glb.json["nodes"].end(),
                       [&](const Json& node) { return node["name"] == below; }) -
          glb.json["nodes"].begin());
      const Json& children = nodes.at(above)->at("children");
      return std::find(children.begin(), children.end(), Json(at)) != children.end();
    };
    EXPECT_TRUE(isBelow("tool", "tip"));
    EXPECT_TRUE(isBelow("workpiece", "path"));
    // Each axis moves in its own node.
    EXPECT_EQ(glb.Keys(c.shown[0], "output"), (std::vector<float>{0, 0, 0, 1, 0, 0}));
    EXPECT_NO_THROW(glb.Channel(c.shown[3]));
    EXPECT_NO_THROW(glb.Channel(c.shown[4]));
  }
}

TEST(RunModel, ShowsRunsOfNothingAndOfNumbersThatFloatsDoNotHold) {
  EXPECT_FALSE(Written({}).json.contains("animations"));
  const Glb one = Written({{0, 30, 20, 7}});
  EXPECT_EQ(one.json["animations"][0]["channels"].size(), 1u);
  EXPECT_EQ(one.Keys("X", "output"), (std::vector<float>{7, 0, 0}));

  const Glb far = Written({{0, 0, 0, 0}, {1, 1, 0, 1e300}, {1, 1, 0, -1e300}});
  for (std::size_t i = 0; i < far.json["accessors"].size(); ++i) {
    if (far.json["accessors"][i]["componentType"] != 5126) continue;
    for (const float number : far.Floats(static_cast<int>(i))) EXPECT_TRUE(std::isfinite(number));
  }
  EXPECT_EQ(far.bytes.find("null"), far.bytes.npos);
}

}  // namespace
