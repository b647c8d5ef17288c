// Reading machine files against what the library that parses them takes alone, on the same bytes.
#include <kandrel/kintree/machine_file_reader.h>
#include <kandrel/kintree/message_hook.h>
#include <tinyxml2.h>

#include <cstdlib>
#include <memory>
#include <string>

#ifdef KANDREL_BENCH_TINYXML
#include <tinyxml.h>
#endif

#include "bench/suites.h"
#include "bench/support.h"

namespace bench {

namespace {

// Machines as they come, one after the other: linear and rotary axes, transforms and bodies without
// files, nested five deep; eight objects a machine.
constexpr int kObjectsOfOne = 8;

// A large machine, and what only a bad file has: one that a parser still takes. The large one is
// read as often as makes up the time of a case.
constexpr int kLarge = 800;
constexpr int kTimes = 50;
constexpr int kHuge = 125000;

std::string MachineFile(int objects) {
  std::string file =
      "<?xml version=\"1.0\" encoding=\"iso-8859-1\"?>\n<machine_definition>\n"
      "  <machine_data name=\"bench\" version=\"1.4\" units=\"metric\"/>\n";
  for (int i = 0; i < objects / kObjectsOfOne; ++i) {
    const std::string n = std::to_string(i);
    const auto axis = [&](const char* name, const char* more) {
      file += "<axis id=\"" + (name + n) + "\" " + more +
              " minvalue=\"-500.00000000\" maxvalue=\"500.00000000\" valuetype=\"cont\"";
    };
    const auto transform = [&](const char* name) {
      file += "<transform id=\"" + (name + n) +
              "\" initialvalue=\"1.00000000,0.00000000,0.00000000,-120.50000000,0.00000000,"
              "1.00000000,0.00000000,0.00000000,0.00000000,0.00000000,1.00000000,310.25000000,"
              "0.00000000,0.00000000,0.00000000,1.00000000\">\n";
    };
    const auto body = [&](const char* name, const char* end) {
      file += "<geometry name=\"" + (name + n) +
              "\" objtype=\"geometry\" geo=\"\" clrr=\"0.50000000\" clrg=\"0.50000000\" "
              "clrb=\"0.60000002\" alpha=\"0.00000000\" reflectivity=\"0.10000000\"" +
              end;
    };
    transform("base");
    body("bed", "/>\n");
    axis("X", "type=\"translation\" x=\"1.00000000\" y=\"0.00000000\" z=\"0.00000000\"");
    file += ">\n";
    body("column", ">\n");
    axis("B",
         "type=\"rotation\" x=\"0.00000000\" y=\"1.00000000\" z=\"0.00000000\" "
         "rzx=\"0.00000000\" rzy=\"0.00000000\" rzz=\"210.00000000\"");
    file += ">\n";
    transform("spindle");
    body("nose", "/>\n");
    file += "</transform>\n</axis>\n</geometry>\n</axis>\n";
    axis("Z", "type=\"translation\" x=\"0.00000000\" y=\"0.00000000\" z=\"1.00000000\"");
    file += "/>\n</transform>\n";
  }
  return file + "</machine_definition>\n";
}

// Both kinds of reading have their own copy of the bytes to begin with.
void Read(const std::string& file) {
  const auto machine = kintree::zvV2XMLReader(L"/nowhere/m.xml").ReadBytes(file, nullptr);
  if (machine->GetTree().GetSize() == 0) std::abort();
  Keep(&*machine);
}

void ParseAlone(const std::string& file) {
  const std::string copy = file;
  tinyxml2::XMLDocument document;
  if (document.Parse(copy.data(), copy.size()) != tinyxml2::XML_SUCCESS) std::abort();
  Keep(&document);
}

#ifdef KANDREL_BENCH_TINYXML
void ParseByTinyXml1(const std::string& file) {
  const std::string copy = file;
  TiXmlDocument document;
  document.Parse(copy.c_str());
  if (document.Error()) std::abort();
  Keep(&document);
}
#endif

}  // namespace

void AddMachineFiles(Suite& suite) {
  const auto add = [&](const std::string& name, int objects, int times,
                       void (*run)(const std::string&)) {
    // Made when first asked for, so that runs of other suites go without it.
    const auto file = std::make_shared<std::string>();
    suite.cases.push_back({"machine_files/" + name, double(objects) * times,
                           [file, times, run] {
                             for (int i = 0; i < times; ++i) run(*file);
                           },
                           [file, objects] {
                             if (file->empty()) *file = MachineFile(objects);
                           }});
  };
  add("tinyxml2/800", kLarge, kTimes, ParseAlone);
  add("read/800", kLarge, kTimes, Read);
  add("read/125k", kHuge, 1, Read);
  add("read/1M", kMillion, 1, Read);
  // Twice as fast as the parser that these files were once read with, and the machine comes on top.
  suite.goals.push_back({"a machine file over TinyXML-2 alone", "machine_files/read/800",
                         "machine_files/tinyxml2/800", 3});
#ifdef KANDREL_BENCH_TINYXML
  add("tinyxml1/800", kLarge, kTimes, ParseByTinyXml1);
  suite.goals.push_back({"a machine file over TinyXML 1 alone", "machine_files/read/800",
                         "machine_files/tinyxml1/800", 1.25});
#endif
  suite.goals.push_back({"an object of a million over one of 125,000", "machine_files/read/1M",
                         "machine_files/read/125k", 1.5});
}

}  // namespace bench
