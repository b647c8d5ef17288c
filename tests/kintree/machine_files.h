// Machine files and machines of tests.
#pragma once

#include <kandrel/kintree/kintree_exception.h>
#include <kandrel/kintree/machine_file_reader.h>
#include <kandrel/kintree/machine_file_writer.h>
#include <kandrel/kintree/message_hook.h>
#include <kandrel/misc/misc_exception.h>
#include <kandrel/misc/text.h>
#include <tests/support/kinematics.h>
#include <tests/support/numbers.h>
#include <tests/support/scratch_folder.h>
#include <tests/support/throws_id.h>

#include <fstream>

namespace tests {

/// Calls `check(given, wanted)` for each line "given => wanted" of a table beside these tests, and
/// returns how many there are.
template <class Check>
int ForEachCase(const std::string& table, const Check& check) {
  std::ifstream file(KANDREL_SOURCE_DIR "/tests/kintree/" + table);
  int count = 0;
  for (std::string line; std::getline(file, line);) {
    if (line.starts_with('#')) continue;
    SCOPED_TRACE(line);
    ++count;
    if (const std::size_t arrow = line.find(" => "); arrow != std::string::npos)
      check(line.substr(0, arrow), line.substr(arrow + 4));
    else
      ADD_FAILURE() << "no case";
  }
  return count;
}

inline std::string MachineFile(const std::string& body, const std::string& data) {
  return "<machine_definition><machine_data " + data + "/>" + body + "</machine_definition>";
}

using Machine = kintree::zvV2XMLReader::Machine;
using Names = std::vector<std::wstring>;
using Failure = kintree::zvMachineSimulatorException;

/// Reads such a file, without a default of its units, as if it stood in a folder that isn't there.
inline Machine ReadBody(const std::string& body,
                        const std::string& data = "version='1.4' units='metric'",
                        const std::wstring& path = L"/nowhere/m.xml") {
  return kintree::zvV2XMLReader(path).ReadBytes(MachineFile(body, data), nullptr);
}

/// An object as what it is; an object of another class throws std::bad_cast.
template <class T>
T& As(const Machine& machine, const std::wstring& name) {
  return dynamic_cast<T&>(*machine->GetObject(name));
}

/// The names of a machine's objects as they are nested, in their order: "X(A,B(tool)),base".
inline std::string Nested(const kintree::mkdKinematicNode& node) {
  std::string text;
  for (const auto& child : node.GetChildren()) {
    if (!text.empty()) text += ',';
    text += misc::ToUtf8(child.GetValue()->GetName());
    if (!child.GetChildren().empty()) text += '(' + Nested(child) + ')';
  }
  return text;
}
inline std::string Nested(const Machine& machine) {
  return Nested(machine->GetTree().GetRoot());
}

/// Keeps what readers tell the user.
class Reports {
 public:
  Reports() {
    s_texts.clear();
    kintree::SetMessageHook([](const std::wstring& text) { s_texts.push_back(text); });
  }
  Reports(const Reports&) = delete;
  Reports& operator=(const Reports&) = delete;
  ~Reports() { kintree::SetMessageHook(nullptr); }

  const std::vector<std::wstring>& Get() const noexcept { return s_texts; }

 private:
  static inline std::vector<std::wstring> s_texts;
};

/// An axis of a file, with more attributes.
inline std::string Axis(const std::string& id, const std::string& more = "") {
  return "<axis id='" + id + "' x='1' y='0' z='0' " + more + "/>";
}

/// A geometry of a file, red, with more attributes.
inline std::string Geometry(const std::string& name, const std::string& more) {
  return "<geometry name='" + name + "' clrr='1' clrg='0' clrb='0' " + more + "/>";
}

/// A binary STL of two triangles.
inline std::string TwoTriangles() {
  std::string bytes(80, ' ');
  const auto put = [&](const auto& value) {
    bytes.append(reinterpret_cast<const char*>(&value), sizeof value);
  };
  put(std::uint32_t{2});
  for (int triangle = 0; triangle < 2; ++triangle) {
    for (const float number : {0.f, 0.f, 1.f, 0.f, 0.f, 0.f, 1.f, 0.f, 0.f, 0.f, 1.f, 0.f})
      put(number);
    put(std::uint16_t{0});
  }
  return bytes;
}

}  // namespace tests

// The tests of this folder are written in the words of both.
namespace kintree {

using namespace tests;
using misc::MakeAutoPointer;
using Semantic = exceptions::zvKintreeMachDefSemanticException;

}  // namespace kintree
