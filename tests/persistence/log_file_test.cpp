#include <kandrel/cadcam/tools/hole_tools.h>
#include <kandrel/cadcam/tools/mills.h>
#include <kandrel/misc/pack/compressed_streams.h>
#include <kandrel/persistence/detail/source_references.h>
#include <kandrel/persistence/log_file.h>
#include <kandrel/persistence/log_parts.h>
#include <kandrel/post/creators/creator_caster.h>
#include <tests/persistence/records.h>
#include <tests/support/every_creator.h>

namespace {

using namespace tests;
using post::zvPosted5axMove;
using Manager = zvKDRBinaryIOManager;

// The same small path, with a link, a steep move and contact data, for all machines.
cadcam::zvToolPath Path(bool turns) {
  const Point tilted = turns ? Point(0, 0.6, 0.8) : Point(0, 0, 1);
  return PathBuilder()
      .Link(3, {Move3({0, 0, 10}, 500, true)})
      .Contour({Move3({0, 0, 0}), Move5({10, 0, 0}, tilted), Move3({20, 5, 0})})
      .Path();
}

// What a log holds, and a creator of each class.
template <class C>
struct Setup : Workshop<C> {
  using Creator = C;
  Setup() {
    this->par.SetMaxAngleStep(2);
    this->par.SetAlignToolpath(true);
    this->control.SetFirstAxisLimit(post::zv5axControlDef::angleLimit360);
    this->control.SetSecondAxisLimit(post::zv5axControlDef::angleLimit180);
    this->origin = {1, 2, 3};
    this->toolLength = 75;
  }
  misc::zvAutoPointer<C> Make() const {
    return misc::MakeAutoPointer<C>(this->machDef, this->control, this->par, this->origin,
                                    this->toolLength);
  }
  zvKDR5AxBase Base() const {
    return {this->machDef, this->control, this->par, this->origin, this->toolLength};
  }
  cadcam::zvBullMill tool;
};
using ThreeAxes = Setup<zvPosted3axTPCreator>;
using FiveAxes = Setup<zvPosted5axTPCreator>;
using SixAxes = Setup<zvPosted6axTPCreator>;

template <class T>
class Logs : public testing::Test {};
using Setups = testing::Types<ThreeAxes, Setup<zvPosted4axTPCreator>, FiveAxes, SixAxes>;
TYPED_TEST_SUITE(Logs, Setups);

template <class Creator>
std::vector<typename Creator::Move> Lines(const Creator& creator) {
  return {creator.GetPostedList()->begin(), creator.GetPostedList()->end()};
}

template <class... Source>
std::string Log(const Source&... source) {
  MemoryOutput out;
  zvKDROutput(out, source...);
  return out.GetBytes();
}

// A log outlived by what was in it.
template <class Creator>
misc::zvAutoPointer<Creator> CreatorOf(const std::string& bytes) {
  MemoryInput stream(bytes);
  const zvKDRInput log(stream);
  return {log.GetPostedTPCreator(), &dynamic_cast<Creator&>(*log.GetPostedTPCreator())};
}

TYPED_TEST(Logs, OfCreatorsComeBackAndCanBeWrittenAgain) {
  const TypeParam setup;
  const auto creator = setup.Make();
  const cadcam::zvToolPath path = Path(TypeParam::kAxes > 3);
  for (const bool isSmall : {false, true}) {
    if (isSmall && std::is_same_v<TypeParam, SixAxes>) continue;  // which nobody can read
    creator->Post(path, isSmall);
    creator->SetAlignMatrix(misc::MakeAutoPointer<cadcam::zvMatrix<double, 4, 4>>(
        cadcam::zvMatrix<double, 4, 4>::Identity()));
    const std::string bytes = Log(zvKDROutput::CreatorPointer(creator), path, setup.tool);
    MemoryInput stream(bytes);
    const zvKDRInput log(stream);
    EXPECT_EQ(stream.GetLeft(), 0u);
    EXPECT_EQ(log.GetPartOrigin(), setup.origin);
    EXPECT_EQ(log.GetToolLengthCompensation(), 75);
    EXPECT_EQ(log.GetKDRParam()->GetMaxAngleStep(), 2);
    EXPECT_EQ(log.GetControlDef().GetSecondAxisLimit(), post::zv5axControlDef::angleLimit180);
    EXPECT_EQ(log.GetTool()->GetShoulderLength(), 40);
    EXPECT_TRUE(log.GetLostData().empty());

    const auto again = CreatorOf<typename TypeParam::Creator>(bytes);
    ASSERT_TRUE(again->GetPostedList());
    EXPECT_EQ(Lines(*again), Lines(*creator));
    EXPECT_EQ(again->IsAlignMatrixValide(), TypeParam::kAxes <= 4);
    EXPECT_EQ(Log(zvKDROutput::CreatorPointer(again), *log.GetToolPathPtr(), *log.GetTool()),
              bytes);
    // All that it refers to is alive, in copies too.
    const typename TypeParam::Creator copy(*again);
    EXPECT_EQ(copy.GetPartOrigin(), setup.origin);
    again->Post(path, isSmall);
    EXPECT_EQ(Lines(*again), Lines(*creator));
  }
}

TYPED_TEST(Logs, OfFacadesComeBackAndCanBeReplayed) {
  const TypeParam setup;
  const cadcam::zvToolPath path = Path(TypeParam::kAxes > 3);
  zvKDR5AxBase base = setup.Base();
  const post::zvPostedTP& posted = base.Post(path);
  const std::string bytes = Log(base, path, posted, setup.tool);
  std::optional<zvKDR5AxBase> replayed;
  {
    MemoryInput stream(bytes);
    zvKDRInput log(stream);
    // Behind a list of five and six axes stands a matrix that nobody reads.
    const bool hasMore = TypeParam::kAxes > 4;
    EXPECT_EQ(stream.GetLeft(), hasMore ? Bytes().Wide("NULL").Get().size() : 0);
    EXPECT_EQ(log.GetPosted5axTP().GetCount(), posted.GetCount());
    EXPECT_EQ(log.GetPosted5axTP().GetCount(), 2 * posted.GetCount());
    replayed.emplace(log.ctrefKDR5AxBase());
  }
  const post::zvPostedTP& again = replayed->Post(path);
  EXPECT_EQ(Log(*replayed, path, again, setup.tool), bytes);
}

TYPED_TEST(Logs, WithoutALineAreWrittenAsTold) {
  const TypeParam setup;
  const cadcam::zvToolPath path(kMetric);
  const auto creator = setup.Make();
  const zvKDROutput::CreatorPointer pointer = creator;
  EXPECT_TRUE(ThrowsNull([&] { Log(pointer, path, setup.tool); }));  // nothing posted
  creator->Post(path, false);
  EXPECT_FALSE(
      CreatorOf<typename TypeParam::Creator>(Log(pointer, path, setup.tool))->GetPostedList());
  zvKDR5AxBase base = setup.Base();
  const std::string bytes = Log(base, path, base.Post(path), setup.tool);
  MemoryInput stream(bytes);
  if (std::is_same_v<TypeParam, FiveAxes>)
    EXPECT_EQ(zvKDRInput(stream).GetPosted5axTP().GetCount(), 0u);
  else
    EXPECT_TRUE(ThrowsId<zvcadcamException>([&] { zvKDRInput log(stream); }, 2027));
}

TEST(LogFiles, ArePlainOrCompressed) {
  const ScratchFolder folder;
  const FiveAxes setup;
  const cadcam::zvToolPath path = Path(true);
  const auto creator = setup.Make();
  creator->Post(path, false);
  const zvKDROutput::CreatorPointer pointer = creator;
  const std::string bytes = Log(pointer, path, setup.tool);
  zvKDROutput(folder.WidePath("zlib"), pointer, path, setup.tool);
  EXPECT_EQ(FileText(folder.Path("zlib")).substr(0, 4), "ZLIB");
  zvKDR5AxBase base = setup.Base();
  const post::zvPostedTP& posted = base.Post(path);
  zvKDROutput(folder.WidePath("plain"), base, path, posted, setup.tool);
  EXPECT_EQ(FileText(folder.Path("plain")), Log(base, path, posted, setup.tool));
  {
    pack::zvCompressedOutputFileStream bzip2(folder.WidePath("bzip2"), true);
    bzip2.Write(bytes.data(), bytes.size());
    bzip2.Close();
  }
  for (const char* const name : {"zlib", "bzip2", "plain"}) {
    EXPECT_EQ(zvKDRInput::IsFileCompress(folder.WidePath(name)), name != std::string("plain"));
    const zvKDRInput log(folder.WidePath(name));
    EXPECT_EQ(log.GetToolPathPtr()->GetMoveCount(), 4u) << name;
  }
  // Another failure than that of a plain file passes.
  const std::pair<const char*, const wchar_t*> shortFiles[] = {
      {"KDR", L"Couldn't read from the given handle!"},
      {"KDR 1234", L"Unexpected EOF!"},
      {"ZLIB\x08\0\0\0\0\0\0\0\x78\x01\x03\0\0\0\0\x01", L"Failed to decompress data"}};
  for (const auto& file : shortFiles) {
    std::ofstream(folder.Path("short"), std::ios::binary) << file.first;
    EXPECT_TRUE(ThrowsId<misc::zvException>([&] { zvKDRInput log(folder.WidePath("short")); }, 0,
                                            file.second));
  }
  std::ofstream(folder.Path("cut"), std::ios::binary)
      << FileText(folder.Path("plain")).substr(0, 900);
  EXPECT_TRUE(ThrowsId<zvmiscException>([&] { zvKDRInput log(folder.WidePath("cut")); }, 2148));
  EXPECT_TRUE(ThrowsId<zvmiscException>(
      [&] { zvKDROutput(L"/dev/full", base, path, posted, setup.tool); }, 2149));
  EXPECT_TRUE(ThrowsId<misc::zvException>(
      [&] { zvKDROutput(L"/dev/full", pointer, path, setup.tool); }, 0));
}

// A log of five axes of some version: a path of four moves in a line, and six posted moves.
std::string OldLog(int v, const char* tag = "KDR ") {
  Bytes b;
  b.Raw(tag).Int({v});
  if (v >= 19) b.Byte(1);
  if (v >= 51) b.Byte(0);
  if (v >= 25) b.Int({1});
  if (v >= 109) b.Int({2});
  b.Int({3}).Double({0, 0, 1, 1, 0, 0, 0, 0, 1, 1, 2, 3, 4, 5, 6, -10, -20, 10, 20});
  if (v >= 16) b.Double({-1, -1, -1, 1, 1, 1});
  if (v >= 205) b.Double({1, 0, 0, 0, 1, 0, 0, 0, 1});
  if (v >= 50) b.Int({1, 2});
  b.Double({7, 8, 9, 75});
  v >= 25 ? b.Int({1}) : b.Byte(1);
  b.Byte(1).Byte(0).Double({120, 3, 1}).Byte(0).Double({100});
  if (v >= 16) b.Double({0.57}).Byte(0);
  if (v >= 55) b.Double({0.0001}).Byte(0).Byte(0).Double({0});
  if (v >= 100) b.Byte(0);
  for (int i = v >= 165 ? 1 : v >= 162 ? 2 : v >= 156 ? 1 : 0; i > 0; --i) b.Byte(0);
  if (v >= 181) b.Byte(0);
  if (v >= 220) b.Byte(0).Byte(0);
  b.Int({8});  // an end mill
  if (v >= 25) b.Int({1});
  b.Double({10, 20, 40});
  const std::string solid = Bytes().Int({1, 1, 0}).Double({30, 0, 0, 0});
  for (const int since : {22, 23}) v >= since ? b.Raw(solid) : b.Double({30, 5});
  if (v >= 130) b.Int({1}).Double({10, 20});
  if (v >= 117) b.Int({1});
  if (v >= 32) b.Int({1, 1, 1, 0});
  b.Int({4});
  for (int i = 0; i < 4; ++i) {
    b.Int({2}).Double({i * 1.0, 0, 0, 500}).Byte(0);
    if (v < 80) b.Int({0});
    b.Int({0}).Double({0, 0, 1});
    if (v >= 175) b.Double({0});
  }
  b.Int({6});
  if (v >= 119) b.Int({2});
  for (const double x : {-1.0, 0.0, 0.5, 1.0, 2.0, 2.0}) {
    b.Double({x, 0, 0, x, 0, 0, 0, 0, 1, 0, 0}).Int({0}).Double({500}).Byte(0);
    if (v >= 191) b.Byte(0);
    if (v >= 83) b.Int({6});
    if (v >= 41) b.Double({1.5});
    if (v >= 92) b.Byte(0);
    if (v >= 103) b.Int({77}).Byte(1);
  }
  return b;
}

TEST(LogFiles, OfOldVersionsAreReadAndTheirSourcesFound) {
  for (const int v : {11,  15,  16,  18,  19,  21,  22,  23,  24,  25,  31,  32,  40,  41,
                      49,  50,  51,  54,  55,  79,  80,  82,  83,  91,  92,  99,  100, 102,
                      103, 108, 109, 116, 117, 118, 119, 129, 130, 155, 156, 161, 162, 164,
                      165, 174, 175, 180, 181, 183, 184, 190, 191, 204, 205, 219, 220, 226}) {
    SCOPED_TRACE(v);
    const std::string bytes = OldLog(v);
    MemoryInput stream(bytes);
    const zvKDRInput log(stream);
    EXPECT_EQ(stream.GetLeft(), 0u);
    EXPECT_EQ(log.GetVersion(), static_cast<std::uint32_t>(v));
    // The second axis stands along the spindle: it is mended, and noted.
    ASSERT_EQ(log.GetLostData().size(), 1u);
    EXPECT_EQ(log.GetLostData()[0].code, 5u);
    EXPECT_EQ(log.GetToolPathPtr()->GetMoveCount(), 4u);
    EXPECT_EQ(log.GetTool()->GetArbor().GetHeight(), 30);
    const auto creator = CreatorOf<zvPosted5axTPCreator>(bytes);
    const auto& list = *creator->GetPostedList();
    ASSERT_EQ(list.GetCount(), 6u);
    std::vector<int> sources;
    for (const zvPosted5axMove& move : list)
      sources.push_back(move.IsInserted() ? -10 - move.GetSourceIndex() : move.GetSourceIndex());
    EXPECT_EQ(sources,
              v < 184 ? (std::vector{-9, 0, -10, 1, 2, -12}) : std::vector<int>(6, -10 - 77));
  }
  ExpectPrefixesRefused(OldLog(226), [](const std::string& bytes) {
    MemoryInput stream(bytes);
    zvKDRInput log(stream);
  });
}

TEST(LogFiles, OfOtherKindsAreRefused) {
  const auto read = [](const std::string& bytes) {
    MemoryInput stream(bytes);
    zvKDRInput log(stream);
  };
  for (const int version : {10, 227})
    EXPECT_TRUE(ThrowsId<zvKandrelException>([&] { read(OldLog(version)); }, 2027));
  EXPECT_TRUE(ThrowsId<zvKandrelException>([&] { read(OldLog(226, "KDRM")); }, 2019));
  std::string bytes = OldLog(226);
  bytes[14] = 4;  // number of axes
  EXPECT_TRUE(ThrowsId<post::zvPostException>([&] { read(bytes); }, 5024));
  bytes = OldLog(226);
  const std::size_t list = bytes.rfind(Bytes().Int({6, 2}).Get());
  bytes[list + 4] = 3;
  EXPECT_TRUE(ThrowsId<zvcadcamException>([&] { read(bytes); }, 2027));
  FiveAxes setup;
  const auto creator = setup.Make();
  creator->Post(Path(true), false);
  const std::string spotDrill =
      Log(zvKDROutput::CreatorPointer(creator), Path(true), cadcam::zvSpotDrill());
  EXPECT_TRUE(ThrowsId<zvcadcamException>([&] { read(spotDrill); }, 2118));
}

// Positions of the toolpath, of the posted moves, and what is found.
TYPED_TEST(Logs, SourcesAreFoundByPosition) {
  using Move = typename TypeParam::Creator::Move;
  const struct {
    std::vector<double> path, posted;
    std::vector<int> indices;
    std::vector<bool> inserted;
  } cases[] = {{{}, {1}, {55}, {false}},
               {{1}, {0, 1, 2}, {-1, 0, 0}, {true, false, true}},
               {{1, 2}, {1, 2, 2, 3, 2}, {0, 1, 2, 2, 3}, {false, false, false, true, false}},
               {{1, 1, 2}, {1, 1, 2}, {0, 1, 2}, {false, false, false}}};
  for (const auto& c : cases) {
    std::vector<cadcam::zvMovePointer> moves;
    for (const double x : c.path) moves.push_back(Move3({x, 0, 0}));
    misc::zvMemoryPoolProvider provider;
    const auto list = misc::MakeAutoPointer<misc::zvMemoryPoolList<Move>>(provider);
    for (const double x : c.posted) {
      Move move(false);
      move.SetPartPosition({x, 0, 0});
      move.SetSourceIndex(55);
      list->PushBack(move);
    }
    persistence::FixReferenceBetweenTPAndpTP(PathBuilder().Contour(moves).Path(), list);
    std::vector<int> indices;
    std::vector<bool> inserted;
    for (const Move& move : *list) {
      indices.push_back(move.GetSourceIndex());
      inserted.push_back(move.IsInserted());
    }
    EXPECT_EQ(indices, c.indices);
    EXPECT_EQ(inserted, c.inserted);
  }
  EXPECT_NO_THROW(persistence::FixReferenceBetweenTPAndpTP(
      Path(false), misc::zvAutoPointer<misc::zvMemoryPoolList<Move>>()));
}

TEST(LogParts, AreSavedAndLoadedByTheirTags) {
  const auto saved = [](const auto& save) {
    MemoryOutput out;
    save(out);
    return out.GetBytes();
  };
  const FiveAxes setup;
  const std::string machine =
      saved([&](auto& out) { Manager::SaveMachineDefinition(out, setup.machDef); });
  const std::string control =
      saved([&](auto& out) { Manager::SaveControlDefinition(out, setup.control); });
  const std::string parameters =
      saved([&](auto& out) { Manager::SaveKandrelParams(out, setup.par); });
  const std::string tool = saved([&](auto& out) { Manager::SaveToolParams(out, 12.5); });
  zvKDRWriterParam par(kInch);
  EXPECT_EQ(par.GetUnits(), kInch);
  const std::string defaults = saved([&](auto& out) { Manager::SaveWriterParams(out, par); });
  par.SetOutputAbsoluteMachineCoordsFlag(true);
  par.SetProgNo(2);
  par.SetAxisNames({L"U", L"V"}, 2);
  par.SetToolComment(L"\x1F527");
  par.SetToolPathComment(L"p");
  par.SetToolNumber(3);
  par.SetStartLineNo(4);
  par.SetLineNoIncrement(6);
  par.SetSpindleSpeed(-5);
  par.SetOutputCoordinatesType(static_cast<zvKDRWriterParam::OutputCoordinatesType>(-2));
  par.SetOutputNCFormat(static_cast<zvKDRWriterParam::OutputNCFormat>(3));
  const std::string writer = saved([&](auto& out) { Manager::SaveWriterParams(out, par); });
  zvKDR5AxBase base = setup.Base();
  const std::string all = saved([&](auto& out) { Manager::SaveAllKandrelParams(out, base, par); });

  const auto header = [](const char* tag) {
    return Bytes().Raw(tag).Int({226}).Byte(1).Byte(0).Get();
  };
  Bytes defaultBytes = Bytes().Raw(header("KDRW")).Int({2}).Byte(0).Int({1, 5});
  for (const char* text : {"X", "Y", "Z", "A", "B", "SAMPLE TOOL", "SOME 5 AXIS OPERATION"})
    defaultBytes.Wide(text);
  EXPECT_EQ(defaults, defaultBytes.Int({1, 10, 5, 1000}).Byte(0).Get());
  Bytes writerBytes = Bytes().Raw(header("KDRW")).Int({2}).Byte(1).Int({2, 2});
  writerBytes.Wide("U").Wide("V").Int({2}).Hex("3D D8 27 DD").Wide("p").Int({3, 4, 6, -5});
  EXPECT_EQ(writer, writerBytes.Byte(-2).Get());
  EXPECT_EQ(par.GetOutputNCFormat(), 3);
  EXPECT_EQ(tool, Bytes().Raw(header("KDRT")).Double({12.5}).Get());
  EXPECT_EQ(control, Bytes().Raw(header("KDRM")).Int({1, 2}).Get());
  EXPECT_EQ(parameters.substr(0, 10), header("KDRM"));
  EXPECT_EQ(all.substr(0, 10), header("KDRA"));
  EXPECT_EQ(all.substr(all.size() - writer.size()), writer);

  misc::zvAutoPointer<post::zvMachDef> machDef;
  misc::zvAutoPointer<post::zvKDRParam> loadedParameters;
  misc::zvAutoPointer<zvKDRWriterParam> loadedWriter;
  misc::zvAutoPointer<zvKDR5AxBase> loadedBase;
  post::zv5axControlDef loadedControl;
  double value = 0;
  // Under the tags that the loaders want.
  const std::tuple<std::string, std::string, std::function<void(misc::zvBinInputStream&)>> cases[] =
      {{"KDRM", machine, [&](auto& in) { Manager::LoadMachineDefinition(in, machDef); }},
       {"KDRC", control, [&](auto& in) { Manager::LoadControlDefinition(in, loadedControl); }},
       {"KDRP", parameters, [&](auto& in) { Manager::LoadKandrelParams(in, loadedParameters); }},
       {"KDRT", tool, [&](auto& in) { Manager::LoadToolParams(in, value); }},
       {"KDRW", writer, [&](auto& in) { Manager::LoadWriterParams(in, loadedWriter); }},
       {"KDRA", all,
        [&](auto& in) { Manager::LoadAllKandrelParams(in, loadedBase, loadedWriter); }}};
  for (const auto& loader : cases)
    for (const auto& file : cases) {
      const std::string &tag = std::get<0>(file), bytes = tag + std::get<1>(file).substr(4);
      const auto load = [&](const std::string& stored) {
        MemoryInput stream(stored);
        std::get<2>(loader)(stream);
        EXPECT_EQ(stream.GetLeft(), 0u);
      };
      if (std::get<0>(loader) != tag) {
        EXPECT_TRUE(ThrowsId<zvKandrelException>([&] { load(bytes); }, 2019));
        continue;
      }
      EXPECT_NO_THROW(load(bytes)) << tag;
      for (const std::size_t size : {10u, 14u})
        EXPECT_TRUE(ThrowsId<zvmiscException>([&] { load(bytes.substr(0, size)); }, 2018));
      std::string future = bytes;
      future[4] = '\xE3';
      EXPECT_EQ(IdOf([&] { load(future); }), tag == "KDRT" || tag == "KDRW" ? 0u : 2027u) << tag;
    }
  EXPECT_EQ(value, 12.5);
  EXPECT_EQ(loadedControl.GetSecondAxisLimit(), post::zv5axControlDef::angleLimit180);
  EXPECT_EQ(loadedParameters->GetMaxAngleStep(), 2);
  const auto saveAgain = [&](auto& out) { Manager::SaveWriterParams(out, *loadedWriter); };
  EXPECT_EQ(saved(saveAgain), writer);
  EXPECT_EQ(loadedWriter->GetOutputNCFormat(), zvKDRWriterParam::outputNCFormatDefault);
  EXPECT_EQ(loadedBase->Post(Path(true)).GetCount(), base.Post(Path(true)).GetCount());
  // What is saved under a machine's tag is none.
  for (const std::string& bytes : {control, parameters}) {
    MemoryInput stream(bytes);
    EXPECT_TRUE(
        ThrowsId<zvmiscException>([&] { Manager::LoadMachineDefinition(stream, machDef); }, 2018));
  }
}

}  // namespace
