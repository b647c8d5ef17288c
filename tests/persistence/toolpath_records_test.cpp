#include <kandrel/persistence/cadcam_types_reader.h>
#include <kandrel/persistence/cadcam_types_writer.h>
#include <tests/persistence/records.h>

namespace {

using namespace tests;
using cadcam::zvToolPath;

// A move as a version stores it, every number another; `kind` 1 or 2.
std::string Move(int version, int kind, bool hasData) {
  Bytes bytes;
  bytes.Int({kind}).Double({1, 2, 3, 500}).Byte(1);
  if (version < 80) bytes.Int({77});
  bytes.Int({-9}).Double({0, 0.6, 0.8});
  if (version >= 175) bytes.Double({12.5});
  if (kind == 2) return bytes;
  bytes.Byte(hasData);
  if (hasData) bytes.Double({4, 5, 6, 7, 8, 9});
  if (hasData && version >= 91) bytes.Int({0xFFFFFFFE});
  return bytes;
}

// A pass with an empty slice and one of a contour and a link; an empty pass.
std::string Tree(int version) {
  Bytes bytes;
  if (version >= 117) bytes.Int({2});
  if (version < 32) {
    bytes.Int({2}).Raw(Move(version, 1, true)).Raw(Move(version, 2, false));
    return bytes;
  }
  bytes.Int({2, 2, 0, 2}).Int({0, 2}).Raw(Move(version, 1, true)).Raw(Move(version, 2, false));
  bytes.Int({1, 1}).Raw(Move(version, 1, false));
  if (version >= 72) bytes.Int({7});
  return bytes.Int({0});
}

zvToolPath Read(const std::string& bytes, int version) {
  MemoryInput stream(bytes);
  cadcam::zvBICadcamTypes2 reader(stream, static_cast<std::uint32_t>(version), false, nullptr, true,
                                  false);
  zvToolPath toolpath(kMetric);
  reader.ReadToolPath(toolpath);
  EXPECT_EQ(stream.GetLeft(), 0u) << version;
  return toolpath;
}

std::string Written(const zvToolPath& toolpath) {
  MemoryOutput out;
  cadcam::zvBOCadcamTypes(out).WriteToolPath(toolpath);
  return out.GetBytes();
}

TEST(ToolpathRecords, AreReadInEveryVersion) {
  for (int version = 3; version <= kNow; ++version) {
    SCOPED_TRACE(version);
    const zvToolPath toolpath = Read(Tree(version), version);
    EXPECT_EQ(toolpath.GetUnits(), version >= 117 ? kInch : kMetric);
    const bool isTree = version >= 32;
    EXPECT_EQ(toolpath.Children().size(), isTree ? 2u : 1u);
    EXPECT_EQ(toolpath.GetMoveCount(), isTree ? 3u : 2u);
    const auto& sections = toolpath.Children().front()->Children().back()->Children();
    cadcam::zvTPSLinkVisitor visitor;
    sections.back()->AcceptVisitor(visitor);
    EXPECT_EQ(visitor.IsLink(), isTree);
    EXPECT_EQ(visitor.GetLinkType(), !isTree ? 0u : version >= 72 ? 7u : 2u);

    const auto& first = dynamic_cast<const cadcam::zv5axMove&>(**toolpath.begin());
    EXPECT_EQ(first.GetPosition(), (cadcam::zvTPoint3d<double>{1, 2, 3}));
    EXPECT_EQ(first.GetOrientation(), (cadcam::zvTPoint3d<double>{0, 0.6, 0.8}));
    EXPECT_EQ(first.GetFeed(), 500);
    EXPECT_TRUE(first.IsRapid());
    EXPECT_EQ(first.GetTag(), static_cast<std::uint32_t>(-9));
    EXPECT_EQ(first.GetStamp(), version >= 175 ? 12.5 : 0);
    EXPECT_TRUE(first.HasExtendedData());
    EXPECT_EQ(first.GetExtendedPoint(), (cadcam::zvTPoint3d<double>{4, 5, 6}));
    EXPECT_EQ(first.GetExtendedVector(), (cadcam::zvTPoint3d<double>{7, 8, 9}));
    EXPECT_EQ(first.GetExtendedId(), version >= 91 ? 0xFFFFFFFE : 0);
    const cadcam::zvCNCMove& second = **std::next(toolpath.begin());
    EXPECT_NE(dynamic_cast<const cadcam::zv3axMove*>(&second), nullptr);
    EXPECT_EQ(second.GetStamp(), first.GetStamp());
  }
  EXPECT_EQ(Written(Read(Tree(kNow), kNow)), Tree(kNow));
  EXPECT_EQ(Written(zvToolPath(kMetric)), Bytes().Int({1, 0}).Get());
}

TEST(ToolpathRecords, ThatCantBeMeantAreRefused) {
  for (const int version : {31, kNow}) {
    ExpectPrefixesRefused(Tree(version), [=](const std::string& bytes) { Read(bytes, version); });
  }
  const std::tuple<Bytes, std::uint32_t> cases[] = {{Bytes().Int({1, 1, 1, 1, 2}), 2639},
                                                    {Bytes().Int({1, 1, 1, 1, -1}), 2639},
                                                    {Bytes().Int({1, 1, 1, 1, 0, 1, 0}), 2637},
                                                    {Bytes().Int({1, 1, 1, 1, 1, 1, 3}), 2637}};
  for (const auto& [bytes, id] : cases) {
    const std::string stored = bytes;
    EXPECT_TRUE(ThrowsId<zvcadcamException>([&] { Read(stored, kNow); }, id));
  }
  const std::string odd = Bytes().Int({3, 0});
  EXPECT_TRUE(ThrowsId<measures::zvmeasuresException>([&] { Read(odd, kNow); }, 2141));
  // Counts that nothing stands behind cost nothing.
  for (const std::int64_t count : {0x7FFFFFFFll, 0xFFFFFFFFll})
    for (const auto& bytes : {Bytes().Int({1, count}), Bytes().Int({1, 1, 1, 1, 0, count})})
      EXPECT_TRUE(ThrowsId<misc::zvmiscException>([&] { Read(bytes, kNow); }, 2018));
  for (const std::uint32_t version : {2u, 227u}) {
    MemoryInput stream(nullptr, 0);
    EXPECT_TRUE(ThrowsId<zvcadcamException>(
        [&] { cadcam::zvBICadcamTypes2(stream, version, false, nullptr, true, false); }, 2027));
  }
}

class OddSection : public cadcam::zvTPSection {
 public:
  void AcceptVisitor(cadcam::zvTPSVisitor& visitor) const override { visitor.Visit(*this); }
};

TEST(ToolpathRecords, OfNoClassAreNotWritten) {
  zvToolPath toolpath(kMetric);
  toolpath.AddMove(misc::MakeAutoPointer<cadcam::zvCNCMove>());
  EXPECT_TRUE(ThrowsId<zvcadcamException>([&] { Written(toolpath); }, 2637));
  toolpath.Children().front()->Children().front()->Children().front() =
      misc::MakeAutoPointer<OddSection>();
  EXPECT_TRUE(ThrowsId<zvcadcamException>([&] { Written(toolpath); }, 2639));
  toolpath.Children().front() = nullptr;
  EXPECT_TRUE(ThrowsNull([&] { Written(toolpath); }));
}

}  // namespace
