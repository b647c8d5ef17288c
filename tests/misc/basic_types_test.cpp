#include <kandrel/misc/basic_types_reader.h>
#include <kandrel/misc/basic_types_writer.h>
#include <kandrel/misc/misc_exception.h>
#include <tests/support/bytes.h>
#include <tests/support/memory_streams.h>
#include <tests/support/testing.h>
#include <tests/support/throws_id.h>

using misc::zvBIBasicTypes;
using misc::zvBOBasicTypes;
using misc::zvmiscException;
using tests::Bytes;
using tests::MemoryInput;
using tests::MemoryOutput;
using tests::ThrowsId;

namespace {

enum Flags : int { kPlain = 0, kCompact = 1, kWide = 2, kSizes64 = 4 };

zvBIBasicTypes ReaderOf(MemoryInput& stream, int flags) {
  return {stream, (flags & kCompact) != 0, (flags & kWide) != 0, (flags & kSizes64) != 0};
}

// What `read` makes of bytes that are all FE but the lowest, which is 81: the value, its sign or
// the lack of it visible, and how many bytes it took.
template <class Value>
std::pair<long double, std::size_t> Read(zvBIBasicTypes& (zvBIBasicTypes::*operation)(Value&),
                                         int flags) {
  const std::string bytes = "\x81" + std::string(15, '\xFE');
  MemoryInput stream(bytes);
  zvBIBasicTypes reader = ReaderOf(stream, flags);
  Value value{};
  EXPECT_EQ(&(reader.*operation)(value), &reader);
  return {static_cast<long double>(value), 16 - stream.GetLeft()};
}

std::wstring ReadString(const std::string& bytes, int flags) {
  MemoryInput stream(bytes);
  std::wstring text = L"old";
  ReaderOf(stream, flags).ReadString(text);
  EXPECT_EQ(stream.GetLeft(), 0u);
  return text;
}

std::string Written(bool compact, const std::function<void(zvBOBasicTypes&)>& write) {
  MemoryOutput stream;
  zvBOBasicTypes writer(stream, compact);
  write(writer);
  return stream.GetBytes();
}

}  // namespace

TEST(BasicTypes, EachOperationTakesItsBytes) {
  using R = zvBIBasicTypes;
  using Pair = std::pair<long double, std::size_t>;
  const auto signed4 = static_cast<std::int32_t>(0xFEFEFE81);
  const auto signed2 = static_cast<std::int16_t>(0xFE81);
  EXPECT_EQ(Read(&R::ReadInt64, kPlain), Pair(static_cast<std::int64_t>(0xFEFEFEFEFEFEFE81), 8));
  EXPECT_EQ(Read(&R::ReadUnsigned64, kCompact), Pair(0xFEFEFEFEFEFEFE81, 8));
  EXPECT_EQ(Read(&R::ReadInt, kPlain), Pair(signed4, 4));
  EXPECT_EQ(Read(&R::ReadInt, kCompact), Pair(signed2, 2));
  EXPECT_EQ(Read(&R::ReadLong, kPlain), Pair(signed4, 4));
  EXPECT_EQ(Read(&R::ReadLong, kCompact), Pair(signed2, 2));
  EXPECT_EQ(Read(&R::ReadUnsigned, kPlain), Pair(0xFEFEFE81, 4));
  EXPECT_EQ(Read(&R::ReadUnsigned, kCompact), Pair(0xFE81, 2));
  EXPECT_EQ(Read(&R::ReadUnsignedLong, kPlain), Pair(0xFEFEFE81, 4));
  EXPECT_EQ(Read(&R::ReadUnsignedLong, kCompact), Pair(0xFE81, 2));
  EXPECT_EQ(Read(&R::ReadSize, kPlain), Pair(0xFEFEFE81, 4));
  EXPECT_EQ(Read(&R::ReadSize, kCompact), Pair(0xFE81, 2));
  EXPECT_EQ(Read(&R::ReadWideChar, kCompact), Pair(0xFE81, 2));
  EXPECT_EQ(Read(&R::ReadUnsignedShort, kPlain), Pair(0xFE81, 2));
  EXPECT_EQ(Read(&R::ReadShort, kPlain), Pair(signed2, 2));
  EXPECT_EQ(Read(&R::ReadUnsignedChar, kPlain), Pair(0x81, 1));
  EXPECT_EQ(Read(&R::ReadChar, kPlain), Pair(-127, 1));
  EXPECT_EQ(Read(&R::ReadBool, kPlain), Pair(1, 1));
  EXPECT_EQ(Read(&R::ReadFloat, kCompact).second, 4u);
  EXPECT_EQ(Read(&R::ReadDouble, kPlain).second, 8u);
  EXPECT_EQ(Read(&R::ReadDouble, kCompact).second, 4u);
  EXPECT_EQ(Read(&R::ReadLongDouble, kPlain), Read(&R::ReadDouble, kPlain));
  EXPECT_EQ(Read(&R::ReadLongDouble, kCompact).second, 4u);
}

TEST(BasicTypes, TwoWordsAndSizesAreReadThroughTheirSlots) {
  const std::string bytes = Bytes().Int({1, 2, 3, 4, 5, 6, 0, 7}).Number(8, 8);
  MemoryInput stream(bytes);
  zvBIBasicTypes reader(stream, true, true, true);
  misc::zvWords64 words;
  reader.ReadWords64(words);
  EXPECT_EQ(words, (misc::zvWords64{1, 2}));
  EXPECT_EQ(reader.ReadWords64Value(), (misc::zvWords64{3, 4}));
  std::int64_t number = 0;
  reader.ReadInt64(number);
  EXPECT_EQ(number, 0x600000005);
  reader.ReadWords64(words);
  EXPECT_EQ(reader.ReadSizeValue(), 8u);  // 8 bytes, also where integers are compact
  EXPECT_EQ(stream.GetLeft(), 0u);

  // A subclass that reads ints otherwise is asked where another operation goes through them.
  struct Doubling : zvBIBasicTypes {
    using zvBIBasicTypes::zvBIBasicTypes;
    zvBIBasicTypes& ReadUnsigned(std::uint32_t& value) override {
      zvBIBasicTypes::ReadUnsigned(value);
      value *= 2;
      return *this;
    }
  };
  MemoryInput again(bytes);
  Doubling doubling(again, false, true, false);
  unsigned long value = 0;
  doubling.ReadUnsignedLong(value);
  EXPECT_EQ(value, 2u);
  EXPECT_EQ(doubling.ReadSizeValue(), 4u);
}

TEST(BasicTypes, SizesOf64BitsAreRefusedFrom31On) {
  const auto read = [](std::uint64_t size) {
    const std::string bytes = Bytes().Number(size, 8);
    MemoryInput stream(bytes);
    return ReaderOf(stream, kWide | kSizes64).ReadSizeValue();
  };
  EXPECT_EQ(read(0x7FFFFFFF), 0x7FFFFFFF);
  for (const std::uint64_t size : {0x80000000ull, 0x100000000ull, 0xFFFFFFFFFFFFFFFFull})
    EXPECT_TRUE(ThrowsId<zvmiscException>([&] { read(size); }, 2157)) << size;
}

TEST(BasicTypes, CompactDoublesComeBackInSixDecimals) {
  const auto roundTrip = [](double value) {
    const std::string bytes = Written(true, [&](zvBOBasicTypes& w) { w.WriteDouble(value); });
    EXPECT_EQ(bytes.size(), 4u);
    MemoryInput stream(bytes);
    double read = 7;
    ReaderOf(stream, kCompact).ReadDouble(read);
    return read;
  };
  for (int i = -2'000'000; i <= 3'000'000; i += 5) {
    const double value = (i <= 2'000'000 ? i : i + 6'000'000) / 1e6;  // to 2, then from 8
    ASSERT_EQ(roundTrip(value), value);
  }
  EXPECT_EQ(roundTrip(1e308), std::numeric_limits<double>::infinity());
}

TEST(BasicTypes, StringsAreReadInAllTheirForms) {
  const std::wstring tool{L'X', static_cast<wchar_t>(0x1F527)};
  EXPECT_EQ(ReadString(Bytes().Hex("03 00 00 00 58 00 3D D8 27 DD"), kWide), tool);
  EXPECT_EQ(ReadString(Bytes().Hex("03 00 58 00 3D D8 27 DD"), kWide | kCompact), tool);
  EXPECT_EQ(ReadString(Bytes().Hex("02 00 00 00 00 00 00 00 58 00 59 00"), kWide | kSizes64),
            L"XY");
  EXPECT_EQ(ReadString(Bytes().Hex("00 00 00 00"), kWide), L"");
  // Halves of pairs stay, in whatever order.
  const std::wstring halves{static_cast<wchar_t>(0xDC00), static_cast<wchar_t>(0xD800),
                            static_cast<wchar_t>(0xD800), L'A'};
  EXPECT_EQ(ReadString(Bytes().Hex("04 00 00 00 00 DC 00 D8 00 D8 41 00"), kWide), halves);
  EXPECT_EQ(ReadString(Bytes().Hex("08 00 00 00 41 80 81 9F 9D A0 FF 00"), kPlain),
            std::wstring(L"A\u20AC\x81\u0178\x9D\xA0\xFF\0", 8));
  // Longer than the blocks in which they are read, with a pair across a block's end.
  std::wstring wide(4095, L'a');
  wide += static_cast<wchar_t>(0x10FFFF);
  wide += std::wstring(9000, L'b');
  const std::string bytes = Written(false, [&](zvBOBasicTypes& w) { w.WriteString(wide); });
  EXPECT_EQ(bytes.size(), 4 + 2 * 13097u);
  EXPECT_EQ(ReadString(bytes, kWide), wide);
}

TEST(BasicTypes, WritersGiveTheBytesThatReadersTake) {
  const auto write = [](zvBOBasicTypes& w) {
    w.WriteByte(true);
    w.WriteInt(-2);
    w.WriteUnsigned(0xFFFE);
    w.WriteDouble(-0.5);
    w.WriteStrings(
        {L"",
         {L'X', static_cast<wchar_t>(0x1F527)},
         {static_cast<wchar_t>(0xD800), static_cast<wchar_t>(0x110000), static_cast<wchar_t>(-1)}});
  };
  const std::string plain = Bytes().Hex(
      "01 FE FF FF FF FE FF 00 00 00 00 00 00 00 00 E0 BF | flag, -2, FFFE, -0.5\n"
      "03 00 00 00 00 00 00 00 03 00 00 00 58 00 3D D8 27 DD\n"
      "03 00 00 00 00 D8 FD FF FD FF | half a pair, and what is no character\n");
  EXPECT_EQ(Written(false, write), plain);
  EXPECT_EQ(Written(true, write),
            Bytes()
                .Hex("01 FE FF FE FF 00 00 00 BF 03 00 00 00 03 00 58 00 3D D8 27 DD\n"
                     "03 00 00 D8 FD FF FD FF")
                .Get());
  // Gathered they are the same, and what is gathered within what is gathered too.
  EXPECT_EQ(Written(false,
                    [&](zvBOBasicTypes& w) {
                      const zvBOBasicTypes::Gathering outer(w);
                      const zvBOBasicTypes::Gathering inner(w);
                      write(w);
                    }),
            plain);
  std::string expected;
  const std::string many = Written(false, [&](zvBOBasicTypes& w) {
    const zvBOBasicTypes::Gathering gathering(w);
    for (std::uint32_t i = 0; i < 20000; ++i) {
      w.WriteByte(static_cast<std::uint8_t>(i));
      w.WriteUnsigned(i);
      expected += Bytes().Number(i, 1).Number(i, 4).Get();
    }
    w.WriteString(std::wstring(20000, L'z'));
    expected += Bytes().Wide(std::string(20000, 'z')).Get();
  });
  EXPECT_EQ(many, expected);
}

TEST(BasicTypes, CountsThatDontFitAreRefused) {
  const auto refused = [](bool compact, std::uint32_t id, const auto& write) {
    MemoryOutput stream;
    zvBOBasicTypes writer(stream, compact);
    return ThrowsId<zvmiscException>([&] { write(writer); }, id);
  };
  EXPECT_TRUE(refused(true, 2157, [](zvBOBasicTypes& w) { w.WriteCount(0x10000); }));
  EXPECT_TRUE(refused(false, 2157, [](zvBOBasicTypes& w) { w.WriteCount(0x100000000); }));
  EXPECT_TRUE(refused(true, 2578, [](zvBOBasicTypes& w) {
    w.WriteString(std::wstring(0x8000, static_cast<wchar_t>(0x10000)));
  }));
}

// Every prefix of a stream of all kinds, and a size that promises more than there is.
TEST(BasicTypes, AnEndThatComesTooEarlyIsSaid) {
  const std::string whole = Bytes().Hex("01 02 00 00 00").Double({1}).Wide("AB");
  for (std::size_t size = 0; size < whole.size(); ++size) {
    MemoryInput stream(whole.data(), size);
    const auto read = [&] {
      bool flag = false;
      std::int32_t number = 0;
      double real = 0;
      std::wstring text;
      ReaderOf(stream, kWide).ReadBool(flag).ReadInt(number).ReadDouble(real).ReadString(text);
    };
    EXPECT_TRUE(ThrowsId<zvmiscException>(read, 2018)) << size;
  }
  for (const int flags : {kPlain, kWide})
    EXPECT_TRUE(ThrowsId<zvmiscException>(
        [&] { ReadString(Bytes().Hex("FF FF FF FF 41 00 42 00"), flags); }, 2018));
}

TEST(BasicTypes, WhatWasGatheredIsNotLostInSilence) {
  struct FullDisk final : misc::zvBinOutputStream {
    void Write(const void*, const misc::zvStreamSize&) override { throw zvmiscException(2149); }
  } disk;
  zvBOBasicTypes writer(disk, false);
  for (const std::uint32_t other : {0, 2578})
    EXPECT_TRUE(ThrowsId<zvmiscException>(
        [&] {
          const zvBOBasicTypes::Gathering gathering(writer);
          writer.WriteInt(1);
          if (other != 0) throw zvmiscException(other);
        },
        other != 0 ? other : 2149))
        << "on the way of another exception the disk's is swallowed";
}
