// What overwriting leaves of a machine file, read by another reader of XML than the library's.
#include <kandrel/kintree/kintree_exception.h>
#include <kandrel/kintree/machine_overwrite.h>
#include <kandrel/kintree/machine_reader.h>
#include <sys/resource.h>
#include <tests/kintree/machine_files.h>
#include <tests/support/numbers.h>
#include <tests/support/scratch_folder.h>
#include <tests/support/text_numbers.h>
#include <tests/support/throws_id.h>
#include <unistd.h>

#include <charconv>
#include <csignal>
#include <cstdlib>
#include <map>
#include <regex>

namespace tests {
namespace {

namespace fs = std::filesystem;

// Attributes by element and name, "axis X@minvalue"; numbers with seven digits.
using Attributes = std::map<std::string, std::string>;

std::string Shortened(double number) {
  char text[32];
  return {text, std::to_chars(text, std::end(text), number, std::chars_format::general, 7).ptr};
}

std::string Shortened(const std::string& value) {
  static const std::regex kNumber(R"(-?\d+\.?\d*(e-?\d+)?)");
  if (value.find_first_not_of("-.,e 0123456789") != std::string::npos) return value;
  std::string text;
  for (std::sregex_iterator at(value.begin(), value.end(), kNumber), end; at != end; ++at)
    (text += text.empty() ? "" : ",") += Shortened(NumberFrom(at->str()));
  return text;
}

// By xmllint's canonical form: a start and an end tag for each element, attributes in the order of
// their names and in double quotes. "tree" says how the elements with a name are nested.
Attributes ReadByXmllint(const std::string& path) {
  const std::string canonical = path + ".c14n";
  const std::string command = "xmllint --c14n " + path + " > " + canonical;
  EXPECT_EQ(std::system(command.c_str()), 0);
  const std::string text = FileText(canonical);
  fs::remove(canonical);
  static const std::regex kTag(R"(<!--[^]*?-->|<(/?)(\w+)([^>]*)>)"),
      kAttribute(R"X((\w+)="([^"]*)")X");
  Attributes all;
  for (std::sregex_iterator tag(text.begin(), text.end(), kTag), end; tag != end; ++tag) {
    const std::string inside = (*tag)[3];
    if (!(*tag)[2].matched || (*tag)[1].length() != 0) {
      if ((*tag)[1].length() != 0) all["tree"] += ')';
      continue;
    }
    Attributes own;
    for (std::sregex_iterator at(inside.begin(), inside.end(), kAttribute); at != end; ++at)
      own[(*at)[1]] = (*at)[2];
    // A machine file may call a geometry "base".
    std::string element = (*tag)[2] == "base" ? "geometry" : (*tag)[2].str();
    for (const char* id : {"id", "instance", "name"})
      if (own.count(id) != 0 && element.find(' ') == std::string::npos) element += ' ' + own[id];
    all["tree"] += element + '(';
    for (const auto& [name, value] : own) all[element + '@' + name] = Shortened(value);
  }
  return all;
}

// What is other in the second reading, "gone" or as it is there; but for what any writing does:
// attributes that were absent get what absence means, and names of files lose their folders.
Attributes Changes(const Attributes& before, const Attributes& after) {
  static const std::string kAdded =
      " type=translation valuetype=cont minvalue=-1000 maxvalue=1000 objtype=geometry geo= alpha=0 "
      "reflectivity=0 reflectivityBitmapFileName= active=true dynamic1=false dynamic2=false "
      "cuttr=1 cuttg=0.5019608 cuttb=0 noncuttr=0.5 noncuttg=0.5 noncuttb=0.5 "
      "arborr=0.7529412 arborg=0 arborb=0 holderr=0 holderg=1 holderb=1 ";
  Attributes changes;
  for (const auto& [key, value] : before) {
    const auto now = after.find(key);
    if (now == after.end())
      changes[key] = "gone";
    else if (now->second != value && !(key.ends_with("@geo") && value.ends_with('/' + now->second)))
      changes[key] = now->second;
  }
  for (const auto& [key, value] : after) {
    const std::string name = key.substr(key.find('@') + 1);
    const bool isDefault = kAdded.find(' ' + name + '=' + value + ' ') != std::string::npos;
    const bool isNameOfCheck = key == "collcheck " + value + "@name";
    if (before.count(key) == 0 && !isDefault && !isNameOfCheck) changes[key] = value;
  }
  return changes;
}

class MachineOverwrite : public testing::Test {
 protected:
  void SetUp() override {
    if (std::system("xmllint --version >/dev/null 2>&1") != 0) GTEST_SKIP() << "no xmllint";
  }
  // What an overwrite of the file changes in it, and in no other file.
  Attributes Overwrite(const std::string& name, const post::zvMachDef& machDef,
                       const std::vector<std::wstring>& names) {
    const Attributes before = ReadByXmllint(m_folder.Path(name));
    const auto others = OtherFiles(name);
    // What was a temporary pointer is kept, and by a copy too.
    const zvXMLOverwrite first(m_folder.WidePath(name), machDef.Clone(), names);
    zvXMLOverwrite(first).Overwrite();
    const auto now = OtherFiles(name);
    for (const auto& [path, bytes] : others) EXPECT_EQ(now.at(path), bytes) << path;
    return Changes(before, ReadByXmllint(m_folder.Path(name)));
  }
  std::map<fs::path, std::string> OtherFiles(const std::string& name) const {
    std::map<fs::path, std::string> files;
    for (const auto& entry : fs::recursive_directory_iterator(m_folder.Path("")))
      if (entry.is_regular_file() && entry.path().filename() != name)
        files[entry.path()] = FileText(entry.path().string());
    return files;
  }

  ScratchFolder m_folder;
};

void Expect(Attributes& changes, const std::string& axis, const std::vector<const char*>& names,
            const Numbers& numbers) {
  for (std::size_t i = 0; i < names.size(); ++i)
    changes["axis " + axis + '@' + names[i]] = Shortened(numbers[i]);
}

// The toolpath that a machine without one gets below its workpiece's transform.
void AddToolpath(Attributes& changes, const std::string& tree) {
  for (const char* name : {"clrr", "clrg", "clrb"})
    changes[std::string("geometry toolpath@") + name] = "0";
  for (const char* name : {"name", "objtype"})
    changes[std::string("geometry toolpath@") + name] = "toolpath";
  changes["geometry toolpath@schema"] = "toolpath.scm";
  changes["tree"] = std::regex_replace(
      tree, std::regex(R"((workpiece_transform\((geometry \w+\(\))*))"), "$1geometry toolpath()");
}

TEST_F(MachineOverwrite, ChangesTheNumbersOfTheSampleMachinesAndNothingElse) {
  fs::copy(KANDREL_SOURCE_DIR "/machines", m_folder.Path(""), fs::copy_options::recursive);
  const std::vector<const char*> limits{"minvalue", "maxvalue"},
      all{"x", "y", "z", "rzx", "rzy", "rzz", "minvalue", "maxvalue"};
  const Point one{0, 0.6, -0.8}, other{0.8, 0, 0.6};
  for (const auto& entry : fs::directory_iterator(m_folder.Path(""))) {
    const std::string file = entry.path().filename().string();
    if (!file.ends_with(".xml")) continue;
    SCOPED_TRACE(file);
    const std::wstring path = m_folder.WidePath(file);
    const post::zvMachDefBuilder read = zvMachDefReader(path).Read();
    const auto machDef = read.GetMachDef()->Clone();
    machDef->SetMinLimits({-1.5, -2.5, -3.5});
    machDef->SetMaxLimits({4.5, 5.5, 6.5});
    Attributes expected;
    for (int i = 0; i < 3; ++i)
      Expect(expected, std::string(1, "XYZ"[i]), limits, {-1.5 - i, 4.5 + i});
    std::vector<std::string> names;
    for (const std::wstring& name : read.GetAxisNames()) names.push_back(misc::ToUtf8(name));
    if (auto* four = dynamic_cast<post::zv4axMachDef*>(machDef.Get())) {
      four->SetRotationDirection(one);
      four->SetRotationPivot({11, 12, 13});
      four->SetMinAngle(-14.5);
      four->SetMaxAngle(15.5);
    } else if (auto* five = dynamic_cast<post::zv5axMachDef*>(machDef.Get())) {
      five->SetFirstRotationDirection(one);
      five->SetFirstRotationPivot({11, 12, 13});
      five->SetMinFirstAngle(-14.5);
      five->SetMaxFirstAngle(15.5);
      five->SetSecondRotationDirection(other);
      five->SetSecondRotationPivot({21, 22, 23});
      five->SetMinSecondAngle(-24.5);
      five->SetMaxSecondAngle(25.5);
      Expect(expected, names[4], all, {0.8, 0, 0.6, 21, 22, 23, -24.5, 25.5});
    }
    if (names.size() > 3) Expect(expected, names[3], all, {0, 0.6, -0.8, 11, 12, 13, -14.5, 15.5});
    // A number that stood there before is no change.
    const Attributes before = ReadByXmllint(m_folder.Path(file));
    std::erase_if(expected, [&](const auto& item) {
      const auto was = before.find(item.first);
      return was != before.end() && was->second == item.second;
    });
    EXPECT_GE(expected.size(), 6u);
    AddToolpath(expected, before.at("tree"));
    // C and B are what the rotary axes are called without names.
    const bool isNamed = names.size() == 5 && (names[3] != "C" || names[4] != "B");
    const auto given =
        isNamed || names.size() == 4 ? read.GetAxisNames() : std::vector<std::wstring>();
    EXPECT_EQ(Overwrite(file, *machDef, given), expected);
    // What was read is written back, and nothing moves any more: but a first pivot in a head.
    const post::zvMachDefBuilder again = zvMachDefReader(path).Read();
    Attributes moved;
    const auto* five = dynamic_cast<const post::zv5axMachDef*>(machDef.Get());
    if (five != nullptr && five->GetFiveAxisKind() == 1)
      Expect(moved, names[3], {"rzx", "rzy", "rzz"}, {-10, -10, -10});
    EXPECT_EQ(Overwrite(file, *again.GetMachDef(), again.GetAxisNames()), moved);
  }
}

const char kOldFile[] = R"(<?xml version="1.0" encoding="utf-8"?>
<!-- a note --><machine_definition maker="us">
<machine_data name="m&#233;&#322;" version="1.3" units="inch" year="1999"/>
<axis id="X" x="1" y="0" z="0" minvalue="-1" maxvalue="1" valuetype="discrete_list" values="0,0.5"
  speed="7"><vendor><axis id="hidden" x="1" y="0" z="0"/></vendor>text<!-- another -->
  <axis id="Y" x="0" y="0.70710678" z="0.70710678" show_slider="false"><axis id="Z" x="0" y="0"
    z="1" valuetype="discrete_stepped" step="0.25"><geometry name="t,1" geo="no.stl"
    clrr="1" clrg="0" clrb="0"/><base name="lost"/>
    <geometry name="tool" objtype="tool" clrr="0.25" clrg="0.5" clrb="0.75" alpha="0.5"/>
</axis></axis></axis>
<transform id="workpiece_transform" initialvalue="0,-1,0,10.125, 1,0,0,20, 0,0,1,30, 0,0,0,1">
  <geometry name="workpiece" clrr="0.1" clrg="0.2" clrb="0.3" objtype="workpiece"/>
</transform>
<collcheck id="b" group1="X" group2="tool" dynamic2="true" colour="red"/>
<collcheck id="a" group1="X,&quot;t,1&quot;" group2=""/><collcheck id="empty" group2="X"/>
</machine_definition>)";

TEST_F(MachineOverwrite, LosesWhatNoMachineHasAndMakesAnOldFileANewOne) {
  WriteFile(m_folder.Path("m.xml"), kOldFile);
  post::zv3axMachDef machDef;
  machDef.SetMinLimits({-1, -1000, -9});
  machDef.SetMaxLimits({1.25, 1000, 9});
  const Reports reports;
  const std::string data = "machine_data m\xC3\xA9\xC5\x82";
  const std::string tree = "machine_definition(" + data +
                           "()axis X(axis Y(axis Z(geometry t,1()geometry tool())))transform "
                           "workpiece_transform(geometry workpiece())collcheck a()collcheck b())";
  Attributes expected = {{"axis X@maxvalue", "1.25"},
                         {"axis Z@minvalue", "-9"},
                         {"axis Z@maxvalue", "9"},
                         {data + "@version", "1.4"}};
  AddToolpath(expected, tree);
  for (const std::string gone :
       {"axis X@speed", "axis hidden@id", "axis hidden@x", "axis hidden@y", "axis hidden@z",
        "collcheck b@colour", "collcheck empty@group2", "collcheck empty@id", "geometry lost@name",
        "geometry tool@clrb", "geometry tool@clrg", "geometry tool@clrr",
        "machine_definition@maker"})
    expected[gone] = "gone";
  expected[data + "@year"] = "gone";
  EXPECT_EQ(Overwrite("m.xml", machDef, {}), expected);
  EXPECT_EQ(Overwrite("m.xml", machDef, {}), Attributes());
}

// By a user who may not, where root runs the tests.
class OtherUser {
 public:
  OtherUser() {
    if (m_user == 0 && ::seteuid(65534) != 0) std::abort();
  }
  OtherUser(const OtherUser&) = delete;
  OtherUser& operator=(const OtherUser&) = delete;
  ~OtherUser() {
    if (::seteuid(m_user) != 0) std::abort();
  }

 private:
  uid_t m_user = ::geteuid();
};

// No file may become larger than `bytes`, as on a disk that is full.
class FullDisk {
 public:
  explicit FullDisk(rlim_t bytes) {
    ::getrlimit(RLIMIT_FSIZE, &m_before);
    const rlimit little{bytes, m_before.rlim_max};
    ::setrlimit(RLIMIT_FSIZE, &little);
  }
  FullDisk(const FullDisk&) = delete;
  FullDisk& operator=(const FullDisk&) = delete;
  ~FullDisk() {
    ::setrlimit(RLIMIT_FSIZE, &m_before);
    std::signal(SIGXFSZ, m_handler);
  }

 private:
  rlimit m_before{};
  void (*m_handler)(int) = std::signal(SIGXFSZ, SIG_IGN);
};

TEST(MachineOverwriteFailures, LeaveTheFileAsItWasAndNothingBesideIt) {
  const ScratchFolder folder;
  const std::string file = folder.Path("m.xml");
  const Reports reports;
  const auto overwrite = [&] {
    const auto machDef = post::zv3axMachDef().Clone();
    zvXMLOverwrite(folder.WidePath("m.xml"), machDef, {}).Overwrite();
  };
  const auto expectUntouched = [&] {
    EXPECT_EQ(FileText(file), kOldFile);
    EXPECT_EQ(std::distance(fs::directory_iterator(folder.Path("")), {}), 1);
  };
  WriteFile(file, kOldFile);
  fs::permissions(file, fs::perms(0444));
  fs::permissions(folder.Path(""), fs::perms(0555));
  const std::wstring text = L"File '" + folder.WidePath("m.xml") + L"' could not be written.";
  {
    const OtherUser user;
    ASSERT_FALSE(FileText(file).empty()) << "the folder for temporary files is not for all";
    EXPECT_TRUE(ThrowsId<exceptions::zvFileAccessException>(overwrite, 0, text));
  }
  expectUntouched();
  fs::permissions(folder.Path(""), fs::perms(0755));
  for (const rlim_t bytes : {0, 1, 1000}) {
    {
      const FullDisk disk(bytes);
      EXPECT_TRUE(ThrowsId<exceptions::zvFileAccessException>(overwrite, 0, text));
    }
    expectUntouched();
  }
  fs::permissions(file, fs::perms(0640));
  overwrite();
  EXPECT_NE(FileText(file), kOldFile);
  EXPECT_EQ(fs::status(file).permissions(), fs::perms(0640));
}

}  // namespace
}  // namespace tests
