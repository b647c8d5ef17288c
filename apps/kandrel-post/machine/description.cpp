#include "kandrel-post/machine/description.h"

#include <kandrel/kintree/machine_overwrite.h>
#include <kandrel/kintree/machine_reader.h>
#include <kandrel/misc/text.h>

#include <filesystem>
#include <vector>

#include "kandrel-post/host/errors.h"

namespace kandrel_post {

namespace {

std::wstring PathOf(const std::string& fileName) {
  std::wstring path = misc::FromUtf8(fileName);
  if (misc::ToUtf8(path) != fileName) Fail("the name of a machine description is UTF-8");
  return path;
}

}  // namespace

Machine ReadMachineDescription(const std::string& fileName) {
  return {std::filesystem::path(fileName).stem().string(),
          NamingFile(fileName, [&] { return zvMachDefReader(PathOf(fileName)).Read(); })};
}

void OverwriteMachineDescription(const std::string& fileName, const Machine& machine) {
  NamingFile(fileName, [&] {
    std::vector<std::wstring> names;
    if (machine.hasNames) names = machine.builder.GetAxisNames();
    zvXMLOverwrite(PathOf(fileName), machine.builder.GetMachDef(), names).Overwrite();
  });
}

}  // namespace kandrel_post
