#include <kandrel/persistence/settings_file.h>
#include <kandrel/persistence/writer_parameters.h>
#include <tests/persistence/records.h>

using namespace tests;
using post::zvMachDefBuilder;

namespace {

// The default machine of three axes, worked out by hand.
const std::string kThreeAxes = Bytes().Hex(
    "4B 44 53 20 E2 00 00 00 01 00                    | \"KDS \", 226, wide, no 64-bit sizes\n"
    "01 00 00 00 00 00 00 00                          | metric, three axes\n"
    "00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 F0 3F | spindle\n"
    "00 00 00 00 00 6A F8 C0 00 00 00 00 00 6A F8 C0 00 00 00 00 00 6A F8 C0 | -100000\n"
    "00 00 00 00 00 6A F8 40 00 00 00 00 00 6A F8 40 00 00 00 00 00 6A F8 40 | 100000\n"
    "00 00 00 00 00 00 F0 3F 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 | X\n"
    "00 00 00 00 00 00 00 00 00 00 00 00 00 00 F0 3F 00 00 00 00 00 00 00 00 | Y\n"
    "00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 F0 3F | Z\n"
    "03 00 00 00 01 00 00 00 58 00 01 00 00 00 59 00 01 00 00 00 5A 00       | names\n"
    "00 00 00 00                                      | kind\n");

zvKDSInput Read(const std::string& bytes) {
  MemoryInput stream(bytes);
  return zvKDSInput(stream);
}

std::string Written(const zvMachDefBuilder& builder) {
  MemoryOutput stream;
  const zvKDSOutput output(stream, builder);
  return stream.GetBytes();
}

zvMachDefBuilder Builder(const misc::zvAutoPointer<post::zvMachDef>& machDef, const Names& names) {
  zvMachDefBuilder builder;
  builder.SetMachDef(machDef);
  builder.SetAxisNames(names);
  return builder;
}

}  // namespace

TEST(SettingsFile, IsWhatIsWrittenDownAndComesBack) {
  const zvMachDefBuilder builder =
      Builder(misc::MakeAutoPointer<post::zv3axMachDef>(), {L"X", L"Y", L"Z"});
  EXPECT_EQ(Written(builder), kThreeAxes);
  const zvKDSInput read = Read(kThreeAxes);
  EXPECT_EQ(read.GetMachDefBld().GetAxisNames(), (Names{L"X", L"Y", L"Z"}));
  EXPECT_EQ(read.GetMachDefBld().GetKind(), 0);
  EXPECT_TRUE(read.ActivateSpindleRotation());
  EXPECT_TRUE(read.GetLostData().empty());
  ExpectPrefixesRefused(kThreeAxes, [](const std::string& bytes) { Read(bytes); });
}

TEST(SettingsFile, NamesBeyondTheAxesAreDropped) {
  const Names all = {L"X", L"Y", L"Z", L"A", L"B", L"C", L"", L"\u00E9"};
  const auto kept = [&](const misc::zvAutoPointer<post::zvMachDef>& machDef, std::size_t given) {
    const Names names(all.begin(), all.begin() + static_cast<std::ptrdiff_t>(given));
    const Names read = Read(Written(Builder(machDef, names))).GetMachDefBld().GetAxisNames();
    EXPECT_EQ(read, Names(all.begin(), all.begin() + static_cast<std::ptrdiff_t>(read.size())));
    return read.size();
  };
  const auto six = misc::MakeAutoPointer<post::zv6axMachDef>();
  six->SetThirdRotationDirection({1, 1, 1});
  const misc::zvAutoPointer<post::zvMachDef> machines[] = {
      misc::MakeAutoPointer<post::zv3axMachDef>(), misc::MakeAutoPointer<post::zv4axMachDef>(),
      misc::MakeAutoPointer<post::zv5axMachDef>(), six};
  for (std::size_t i = 0; i < 4; ++i) {
    EXPECT_EQ(kept(machines[i], 2), 2u);
    EXPECT_EQ(kept(machines[i], 8), i == 3 ? 8u : 3 + i);
  }
}

TEST(SettingsFile, OlderVersionsLackFlagsAndKind) {
  // At 143 kind and the axes' directions are not there; below 51 and 19 the flags.
  const std::string body = kThreeAxes.substr(10, 80) + kThreeAxes.substr(162, 22);
  const auto file = [&](int version) {
    Bytes bytes;
    bytes.Raw("KDS ").Int({version});
    if (version >= 19) bytes.Byte(1);
    if (version >= 51) bytes.Byte(0);
    return bytes;
  };
  EXPECT_EQ(file(143).Raw(body).Get().size(), 112u);
  EXPECT_EQ(Read(file(143).Raw(body)).GetMachDefBld().GetKind(), 2);
  EXPECT_EQ(Read(file(144).Raw(body).Int({7})).GetMachDefBld().GetKind(), 7);
  for (const int version : {211, 212})
    EXPECT_EQ(Read(file(version).Raw(kThreeAxes.substr(10))).ActivateSpindleRotation(),
              version == 212);
  // Five axes, as they were from 3 on; narrow names below 19.
  const auto old = [&](int version) {
    Bytes bytes = file(version);
    if (version >= 25) bytes.Int({1});
    bytes.Int({3}).Double({0, 0, 1, 0, 0, 1, 0, 1, 0, 0, 0, 0, 0, 0, 0, -1, -2, 1, 2});
    if (version >= 16) bytes.Double({-1, -1, -1, 1, 1, 1});
    return bytes;
  };
  const Names names = {L"\u20AC"};
  EXPECT_EQ(Read(old(5).Int({1, 1}).Byte(0x80)).GetMachDefBld().GetAxisNames(), names);
  EXPECT_EQ(Read(old(18).Int({1, 1}).Byte(0x80)).GetMachDefBld().GetAxisNames(), names);
  EXPECT_EQ(Read(old(19).Int({1, 1}).Hex("AC 20")).GetMachDefBld().GetAxisNames(), names);
  EXPECT_EQ(Read(old(50).Int({1, 1}).Hex("AC 20")).GetMachDefBld().GetAxisNames(), names);
  // Sizes of 64 bits are those of the strings, not the count in front of them.
  Bytes sizes64 = old(51);
  std::string bytes = sizes64.Int({1}).Number(1, 8).Hex("AC 20");
  bytes[9] = 1;
  EXPECT_EQ(Read(bytes).GetMachDefBld().GetAxisNames(), names);
}

TEST(SettingsFile, WhatIsNoneIsRefused) {
  const auto refusedHeader = [](const std::string& tag, std::int64_t version) {
    return [=] { Read(Bytes().Raw(tag).Int({version}).Byte(1).Byte(0)); };
  };
  EXPECT_TRUE(ThrowsId<zvKandrelException>(refusedHeader("KDR ", 226), 2019));
  EXPECT_TRUE(ThrowsId<zvKandrelException>(refusedHeader("KDS\n", 227), 2019));
  for (const std::int64_t version : {0ll, 2ll, 227ll, 0xFFFFFFFFll})
    EXPECT_TRUE(ThrowsId<cadcam::zvcadcamException>(refusedHeader("KDS ", version), 2027));
}

TEST(SettingsFile, FilesAreWrittenAndReadByTheirPath) {
  const ScratchFolder folder;
  const std::string path = folder.Path("machine.kds");
  const std::wstring wide = folder.WidePath("machine.kds");
  WriteFile(path, std::string(1000, 'x'));
  const zvMachDefBuilder builder =
      Builder(misc::MakeAutoPointer<post::zv3axMachDef>(), {L"X", L"Y", L"Z"});
  const zvKDSOutput output(wide, builder);
  EXPECT_EQ(FileText(path), kThreeAxes);
  EXPECT_EQ(zvKDSInput(wide).GetMachDefBld().GetAxisNames().size(), 3u);
  WriteFile(path, kThreeAxes.substr(0, 187));
  EXPECT_TRUE(ThrowsId<zvmiscException>([&] { zvKDSInput input(wide); }, 2148));
  EXPECT_TRUE(ThrowsId<zvmiscException>([&] { zvKDSOutput full(L"/dev/full", builder); }, 2149));
  // Without a definition the header has gone out already.
  EXPECT_TRUE(ThrowsNull([&] { zvKDSOutput null(wide, zvMachDefBuilder()); }));
  EXPECT_EQ(FileText(path), kThreeAxes.substr(0, 10));
}

TEST(WriterParameters, NamesAreCounted) {
  zvKDRWriterParam p(measures::zvUnitsFactory::metric);
  const Names six = {L"X", L"Y", L"Z", L"A", L"B", L"C"};
  const auto first = [&](int count) { return Names(six.begin(), six.begin() + count); };
  for (int kind = 0; kind <= 3; ++kind) {
    const auto axes = static_cast<post::zvMachDef::NumbersOfAxes>(kind);
    for (int count = 0; count <= 6; ++count) {
      const auto set = [&] { p.SetAxisNames(first(count), axes); };
      if (count == 3 + kind)
        EXPECT_NO_THROW(set());
      else
        EXPECT_TRUE(ThrowsId<zvPostException>(set, 5003)) << kind << count;
    }
    EXPECT_EQ(p.GetAxisNames(), first(3 + kind));
  }
  const auto refused = [&](const auto& set, std::uint32_t id) {
    return ThrowsId<zvPostException>(set, id) && p.GetAxisNames() == six;
  };
  for (const int kind : {-1, 4})
    EXPECT_TRUE(refused(
        [&] { p.SetAxisNames(six, static_cast<post::zvMachDef::NumbersOfAxes>(kind)); }, 5031));
  EXPECT_TRUE(refused([&] { p.SetAxisNames(six, 1); }, 5003));
  EXPECT_TRUE(refused([&] { p.SetAxisNames({L"X", L"Y", L"X"}, 2); }, 5003));
  EXPECT_TRUE(refused([&] { p.SetAxisNames({L"X", L"Y", L"X"}, 3); }, 5004));
  p.SetAxisNames({}, 0);
  EXPECT_TRUE(p.GetAxisNames().empty());
}
