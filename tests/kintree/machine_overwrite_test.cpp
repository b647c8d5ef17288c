#include <kandrel/kintree/machine_overwrite.h>
#include <kandrel/kintree/machine_reader.h>
#include <sys/resource.h>
#include <tests/kintree/machine_files.h>
#include <unistd.h>

#include <csignal>
#include <map>

namespace tests {
namespace {

namespace fs = std::filesystem;
using kintree::mkdAxis;
using kintree::zvV2XMLReader;
using kintree::zvV2XMLWriter;

void Overwrite(const ScratchFolder& folder, const post::zvMachDef& machDef, const Names& names) {
  // What was a temporary pointer is kept, and by a copy too.
  const zvXMLOverwrite first(folder.WidePath("m.xml"), machDef.Clone(), names);
  zvXMLOverwrite(first).Overwrite();
}

std::map<std::string, std::string> AllFiles(const ScratchFolder& folder) {
  std::map<std::string, std::string> files;
  for (const auto& entry : fs::recursive_directory_iterator(folder.Path("")))
    if (entry.is_regular_file()) files[entry.path().string()] = FileText(entry.path().string());
  return files;
}

void SetRange(mkdAxis& axis, double low, double high) {
  axis.SetMinimum(low);
  axis.SetMaximum(high);
}

TEST(MachineOverwrite, ChangesTheNumbersOfTheSampleMachinesAndNothingElse) {
  const Point one{0, 0.6, -0.8}, other{0.8, 0, 0.6};
  for (const auto& entry : fs::directory_iterator(KANDREL_SOURCE_DIR "/machines")) {
    if (entry.path().extension() != ".xml") continue;
    SCOPED_TRACE(entry.path());
    const ScratchFolder folder;
    fs::copy(KANDREL_SOURCE_DIR "/machines", folder.Path(""), fs::copy_options::recursive);
    fs::rename(folder.Path(entry.path().filename().string()), folder.Path("m.xml"));
    const std::wstring path = folder.WidePath("m.xml");
    // The machine as it is to be, told to its own axes.
    const auto wanted = zvV2XMLReader(path).Read(nullptr);
    const post::zvMachDefBuilder read = zvMachDefReader(path).Read();
    const Names& names = read.GetAxisNames();
    const auto turn = [&](std::size_t i, const Point& direction, const Point& pivot, double low) {
      auto& axis = As<kintree::mkdRotationalAxis>(wanted, names.at(i));
      axis.SetInitialDirection(ToFloat(direction));
      axis.SetPivot(ToFloat(pivot));
      SetRange(axis, low, 1 - low);
    };
    const auto machDef = read.GetMachDef()->Clone();
    machDef->SetMinLimits({-1.5, -2.5, -3.5});
    machDef->SetMaxLimits({4.5, 5.5, 6.5});
    for (std::size_t i = 0; i < 3; ++i)
      SetRange(As<mkdAxis>(wanted, names[i]), -1.5 - static_cast<double>(i),
               4.5 + static_cast<double>(i));
    if (auto* four = dynamic_cast<post::zv4axMachDef*>(machDef.Get())) {
      four->SetRotationDirection(one);
      four->SetRotationPivot({11, 12, 13});
      four->SetMinAngle(-14.5);
      four->SetMaxAngle(15.5);
    }
    auto* five = dynamic_cast<post::zv5axMachDef*>(machDef.Get());
    if (five != nullptr) {
      five->SetFirstRotationDirection(one);
      five->SetFirstRotationPivot({11, 12, 13});
      five->SetMinFirstAngle(-14.5);
      five->SetMaxFirstAngle(15.5);
      five->SetSecondRotationDirection(other);
      five->SetSecondRotationPivot({21, 22, 23});
      five->SetMinSecondAngle(-24.5);
      five->SetMaxSecondAngle(25.5);
      turn(4, other, {21, 22, 23}, -24.5);
    }
    if (names.size() > 3) turn(3, one, {11, 12, 13}, -14.5);
    // C and B are what the rotary axes are called without names.
    const bool isUsual = names.size() == 5 && names[3] == L"C" && names[4] == L"B";
    auto files = AllFiles(folder);
    const auto expect = [&] {
      files[folder.Path("m.xml")] = zvV2XMLWriter(*wanted, path).GetBytes();
      for (const auto& [file, bytes] : files) EXPECT_TRUE(FileText(file) == bytes) << file;
    };
    Overwrite(folder, *machDef, names.size() == 3 || isUsual ? Names() : names);
    expect();
    // What was read is written back, and nothing moves any more: but a first pivot in a head.
    const post::zvMachDefBuilder again = zvMachDefReader(path).Read();
    if (five != nullptr && five->GetFiveAxisKind() == 1) turn(3, one, {-10, -10, -10}, -14.5);
    Overwrite(folder, *again.GetMachDef(), names);
    expect();
  }
}

TEST(MachineOverwrite, OfAFileThatGainedAToolpathIsDoneAgainAndAgain) {
  const ScratchFolder folder;
  WriteFile(folder.Path("m.xml"),
            MachineFile("<axis id='X' x='1' y='0' z='0'><axis id='Y' x='0' y='1' z='0'>"
                        "<axis id='Z' x='0' y='0' z='1'>" +
                            Geometry("tool", "") + "</axis></axis></axis>" +
                            "<transform id='workpiece_transform' initialvalue='1,0,0,0,0,1,0,0,0,0,"
                            "1,0,0,0,0,1'>" +
                            Geometry("workpiece", "") + "</transform>",
                        "units='metric' version='1.3'"));
  post::zv3axMachDef machDef;
  for (const double limit : {10.0, 20.0, 30.0}) {
    machDef.SetMaxLimits({limit, limit, limit});
    Overwrite(folder, machDef, {});
    const std::wstring path = folder.WidePath("m.xml");
    EXPECT_EQ(zvMachDefReader(path).Read().GetMachDef()->GetMaxLimits(),
              Point(limit, limit, limit));
    EXPECT_EQ(Nested(zvV2XMLReader(path).Read(nullptr)),
              "X(Y(Z(tool))),workpiece_transform(workpiece,toolpath)");
  }
}

// By a user who may not, where root runs the tests, and on a disk that is full: no file may become
// larger than some bytes.
TEST(MachineOverwrite, ThatFailsLeavesTheFileAsItWasAndNothingBesideIt) {
  const ScratchFolder folder;
  const std::string file = folder.Path("m.xml");
  const std::string old = MachineFile(Axis("X") + Axis("Y") + Axis("Z"), "units='metric'");
  const auto overwrite = [&] { Overwrite(folder, post::zv3axMachDef(), {}); };
  const auto expectRefused = [&](const auto& forbid, const auto& allow) {
    forbid();
    const auto refused = ThrowsId<exceptions::zvFileAccessException>(
        overwrite, 0, L"File '" + folder.WidePath("m.xml") + L"' could not be written.");
    allow();
    EXPECT_TRUE(refused);
    EXPECT_EQ(FileText(file), old);
    EXPECT_EQ(std::distance(fs::directory_iterator(folder.Path("")), {}), 1);
  };
  WriteFile(file, old);
  fs::permissions(file, fs::perms(0444));
  fs::permissions(folder.Path(""), fs::perms(0555));
  const uid_t user = ::geteuid();
  expectRefused([&] { EXPECT_EQ(user == 0 ? ::seteuid(65534) : 0, 0); },
                [&] { EXPECT_EQ(::seteuid(user), 0); });
  fs::permissions(folder.Path(""), fs::perms(0755));
  rlimit before{};
  ::getrlimit(RLIMIT_FSIZE, &before);
  const auto handler = std::signal(SIGXFSZ, SIG_IGN);
  for (const rlim_t bytes : {0, 1, 200}) {
    const rlimit little{bytes, before.rlim_max};
    expectRefused([&] { ::setrlimit(RLIMIT_FSIZE, &little); },
                  [&] { ::setrlimit(RLIMIT_FSIZE, &before); });
  }
  std::signal(SIGXFSZ, handler);
  fs::permissions(file, fs::perms(0640));
  overwrite();
  EXPECT_NE(FileText(file), old);
  EXPECT_EQ(fs::status(file).permissions(), fs::perms(0640));
}

}  // namespace
}  // namespace tests
