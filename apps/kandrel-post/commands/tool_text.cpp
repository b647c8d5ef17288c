#include "kandrel-post/commands/tool_text.h"

#include <fmt/format.h>
#include <kandrel/cadcam/tools/generic_revolved_tool.h>
#include <kandrel/cadcam/tools/lathe_tool.h>
#include <kandrel/cadcam/tools/profile_validation.h>
#include <kandrel/cadcam/tools/typed_revolved_tool.h>
#include <kandrel/misc/units_factory.h>

#include <cmath>
#include <nlohmann/json.hpp>
#include <string>
#include <utility>

#include "kandrel-post/machine/machine.h"
#include "kandrel-post/out/json_text.h"

namespace kandrel_post {

namespace {

using nlohmann::ordered_json;
using Part = cadcam::zvToolPartDefinition<double>;
using Solid = cadcam::zvSolidDefinition<double>;

// How a number is put: JSON has no form for one that is not finite, words have.
using Number = ordered_json (*)(double);
ordered_json ForJson(double value) {
  return JsonNumber(value, "a tool");
}
ordered_json ForWords(double value) {
  return std::isfinite(value) ? ForJson(value) : ordered_json(fmt::format("{}", value));
}

// What of a solid goes into the JSON of its tool.
class SolidReader : public cadcam::zvSolidDefinitionVisitor<double> {
 public:
  explicit SolidReader(Number number) : m_number(number) {}

  void Visit(const cadcam::zvMeshSolidDefinition<double>& solid) override {
    json = {{"solid", "mesh"}, {"triangles", solid.GetMesh().GetTriangles().size()}};
  }
  void Visit(const cadcam::zvExtrudedSolidDefinition<double>& solid) override {
    json = {{"solid", "extruded"}, {"height", m_number(solid.GetHeight())}};
  }
  void Visit(const cadcam::zvRevolvedSolidDefinition<double>& solid) override {
    json = ordered_json::array();
    for (const auto& point : cadcam::ProfilePoints(solid.GetProfile()))
      json.push_back({m_number(point.x), m_number(point.y)});
  }
  void Visit(const Solid&) override {}

  ordered_json json;

 private:
  Number m_number;
};

ordered_json PartToJson(const Part& part, Number number) {
  SolidReader reader(number);
  if (const auto& solid = part.GetSolidDefinition())
    static_cast<const Solid&>(*solid).AcceptVisitor(reader);
  return reader.json;
}

class ToolReader : public cadcam::zvToolBranchVisitor {
 public:
  explicit ToolReader(Number number) : m_number(number) {}

  void Visit(const cadcam::zvLatheTool& tool) override {
    json["type"] = "zvLatheTool";
    json["units"] = UnitsWord(tool.GetUnits());
    json["solid"] = PartToJson(tool.GetSolid(), m_number);
    AddParts(tool);
  }
  void Visit(const cadcam::zvGenericRevolvedTool& tool) override {
    json["type"] = "zvGenericRevolvedTool";
    AddLengths(tool);
    json["cuttingPart"] = PartToJson(tool.GetCuttingPart(), m_number);
    json["nonCuttingPart"] = PartToJson(tool.GetNonCuttingPart(), m_number);
    AddParts(tool);
  }
  void Visit(const cadcam::zvTypedRevolvedTool& tool) override {
    json["type"] = tool.GetType().name;
    AddLengths(tool);
    for (const cadcam::zvToolParameter parameter : tool.GetType().parameters)
      json[std::string(RowOf(parameter).name)] =
          m_number(GetParameter(tool.GetNumbers(), parameter));
    const auto& shoulder = tool.GetShoulderDefinition();
    json["shoulderDiameter"] = m_number(shoulder.GetShoulderDiameter());
    json["shoulderBaseLength"] = m_number(shoulder.GetShoulderBaseLength());
    AddParts(tool);
  }

  ordered_json json;

 private:
  void AddLengths(const cadcam::zvTool& tool) {
    json["units"] = UnitsWord(tool.GetUnits());
    json["diameter"] = m_number(tool.GetDiameter());
    json["fluteLength"] = m_number(tool.GetFluteLength());
    json["shoulderLength"] = m_number(tool.GetShoulderLength());
  }
  void AddParts(const cadcam::zvTool& tool) {
    json["arbor"] = PartToJson(tool.GetArbor(), m_number);
    json["holder"] = PartToJson(tool.GetHolder(), m_number);
  }

  Number m_number;
};

ordered_json Read(const cadcam::zvTool& tool, Number number) {
  ToolReader reader(number);
  tool.AcceptVisitor(reader);
  return std::move(reader.json);
}

}  // namespace

std::string ToolToJson(const cadcam::zvTool& tool) {
  return JsonText(Read(tool, &ForJson));
}

std::string DescribeTool(const cadcam::zvTool& tool) {
  ordered_json json = Read(tool, &ForWords);
  std::string text =
      fmt::format("{}: lengths in {}, angles in degrees\n", json["type"].get<std::string>(),
                  tool.GetUnits() == measures::zvUnitsFactory::inch ? "inches" : "millimetres");
  for (const auto& item : json.items())
    if (item.key() != "type" && item.key() != "units")
      text += fmt::format("  {:<18} {}\n", item.key(), item.value().dump());
  return text;
}

}  // namespace kandrel_post
