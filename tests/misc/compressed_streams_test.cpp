#include <bzlib.h>
#include <kandrel/misc/basic_types_reader.h>
#include <kandrel/misc/exception.h>
#include <kandrel/misc/misc_exception.h>
#include <kandrel/misc/pack/bzip2_state.h>
#include <kandrel/misc/pack/compressed_streams.h>
#include <tests/support/bytes.h>
#include <tests/support/scratch_folder.h>
#include <tests/support/seeded.h>
#include <tests/support/testing.h>
#include <tests/support/throws_id.h>
#include <zlib.h>

using misc::zvException;
using pack::zvCompressedInputFileStream;
using pack::zvCompressedOutputFileStream;
using tests::Bytes;
using tests::ScratchFolder;
using tests::ThrowsId;

namespace {

// By the libraries themselves, which know nothing of the containers.
std::string Deflated(const std::string& plain) {
  std::string packed(compressBound(plain.size()), '\0');
  uLongf size = packed.size();
  compress2(reinterpret_cast<Bytef*>(packed.data()), &size,
            reinterpret_cast<const Bytef*>(plain.data()), plain.size(), 9);
  return packed.substr(0, size);
}

std::string Inflated(const std::string& packed, std::size_t size) {
  std::string plain(size + 1, '\0');
  uLongf length = plain.size();
  EXPECT_EQ(uncompress(reinterpret_cast<Bytef*>(plain.data()), &length,
                       reinterpret_cast<const Bytef*>(packed.data()), packed.size()),
            Z_OK);
  return plain.substr(0, length);
}

std::string Bzipped(const std::string& plain) {
  std::string packed(plain.size() * 2 + 1000, '\0');
  auto size = static_cast<unsigned>(packed.size());
  BZ2_bzBuffToBuffCompress(packed.data(), &size, const_cast<char*>(plain.data()),
                           static_cast<unsigned>(plain.size()), 1, 0, 0);
  return packed.substr(0, size);
}

std::string ZlibFile(const std::string& packed, std::uint32_t c, std::uint32_t u) {
  return Bytes().Raw("ZLIB").Int({c, u}).Raw(packed);
}

// All that comes out of a file, read in pieces, and the text of the failure that ended it.
std::pair<std::string, std::string> ReadAll(const std::wstring& path, std::size_t piece) {
  std::string plain;
  try {
    zvCompressedInputFileStream stream(path);
    std::string buffer(piece, '\0');
    for (misc::zvStreamSize size = piece; size == piece;) {
      stream.Read(buffer.data(), size);
      plain += buffer.substr(0, size);
    }
  } catch (const zvException& e) {
    EXPECT_EQ(e.GetId(), 0u);
    return {plain, e.what()};
  }
  return {plain, ""};
}

std::string RandomText(tests::Seeded& random, int size) {
  std::string text;
  while (static_cast<int>(text.size()) < size)
    text.append(static_cast<std::size_t>(random.Integer(1, 9)),
                static_cast<char>(random.Integer(0, 255)));
  return text.substr(0, static_cast<std::size_t>(size));
}

const std::string kSample = Bytes().Raw("KDRT").Int({226}).Byte(1).Byte(0).Double({12.5});

}  // namespace

TEST(CompressedStreams, WhatIsWrittenOtherToolsUnpackAndTheReaderReads) {
  tests::Seeded random;
  const ScratchFolder folder;
  for (const int size : {0, 1, 18, 0x40000, 0x40001, 700'000}) {
    for (const bool useBzip2 : {false, true}) {
      const std::string plain = RandomText(random, size);
      {
        zvCompressedOutputFileStream stream(folder.WidePath("f"), useBzip2);
        for (std::size_t at = 0; at < plain.size();) {
          const std::string piece =
              plain.substr(at, static_cast<std::size_t>(random.Integer(0, 1 + size / 3)));
          stream.Write(piece.data(), piece.size());
          at += piece.size();
        }
      }
      const std::string file = tests::FileText(folder.Path("f"));
      const auto u = static_cast<std::uint32_t>(plain.size());
      if (useBzip2) {
        EXPECT_EQ(file.substr(0, 12), Bytes().Number(u, 8).Raw("BZh9").Get());
        std::string unpacked(plain.size() + 1, '\0');
        auto length = static_cast<unsigned>(unpacked.size());
        EXPECT_EQ(
            BZ2_bzBuffToBuffDecompress(unpacked.data(), &length, const_cast<char*>(file.data() + 8),
                                       static_cast<unsigned>(file.size() - 8), 0, 0),
            BZ_OK);
        EXPECT_TRUE(unpacked.substr(0, length) == plain);
      } else {
        const auto c = static_cast<std::uint32_t>(file.size() - 12);
        EXPECT_EQ(file.substr(0, 12), ZlibFile("", c, u));
        EXPECT_TRUE(Inflated(file.substr(12), plain.size()) == plain);
      }
      // To its end bzip2 delivers what is left; zlib all that is asked for, or nothing.
      EXPECT_TRUE(ReadAll(folder.WidePath("f"), 1).first == plain);
      if (useBzip2) {
        EXPECT_EQ(ReadAll(folder.WidePath("f"), 7), std::pair(plain, std::string()));
      }
    }
  }
}

TEST(CompressedStreams, AnEmptyFileIsWrittenAsTold) {
  const ScratchFolder folder;
  for (const bool useBzip2 : {false, true}) {
    zvCompressedOutputFileStream stream(folder.WidePath("f"), useBzip2);
    stream.Close();
    stream.Close();
    EXPECT_EQ(tests::FileText(folder.Path("f")),
              useBzip2 ? Bytes().Number(0, 8).Hex("42 5A 68 39 17 72 45 38 50 90 00 00 00 00").Get()
                       : ZlibFile(Bytes().Hex("78 01 03 00 00 00 00 01"), 8, 0));
  }
}

// A file, in how large pieces it is read, what comes out of it and how that ends.
TEST(CompressedStreams, FilesOfAllSortsAreReadOrRefusedInWords) {
  const std::string packed = Deflated(kSample);
  const auto c = static_cast<std::uint32_t>(packed.size());
  const std::string bzipped = Bytes().Number(0, 8).Raw(Bzipped(kSample));
  const std::string failed = "Failed to decompress data";
  const std::string more = "Not enough data in stream left";
  const std::string unread = "Couldn't read from the given handle!";
  std::string damaged = bzipped;
  damaged[20] = static_cast<char>(damaged[20] ^ 0x10);
  const struct {
    const char* name;
    std::string file;
    std::size_t piece;
    std::string plain;
    std::string failure;
  } kCases[] = {
      {"whole", ZlibFile(packed, c, 18), 9, kSample, more},
      {"more than is left", ZlibFile(packed, c, 18), 10, kSample.substr(0, 10), more},
      {"promises too much", ZlibFile(packed, c, 0xFFFFFFFF), 18, kSample, more},
      {"promises more than the file has", ZlibFile(packed, 0xFFFFFFFF, 18), 18, kSample, more},
      {"too little", ZlibFile(packed, c, 17), 1, "", failed},
      {"cut", ZlibFile(packed.substr(0, c - 1), c, 18), 1, "", failed},
      {"cut by its length", ZlibFile(packed, c - 6, 18), 1, "", failed},
      {"no data", ZlibFile("", 0, 18), 1, "", failed},
      {"no lengths", "ZLIB1234567", 1, "", failed},
      {"tag alone", "ZLIB", 1, "", failed},
      {"empty data", ZlibFile(Deflated(""), 8, 0), 1, "", "Empty stream"},
      {"bzip2", bzipped, 18, kSample, ""},
      {"bzip2 to its very end", bzipped, 9, kSample, ""},
      {"bzip2 of no data", Bytes().Number(0, 8).Raw(Bzipped("")), 5, "", ""},
      {"bzip2, cut", bzipped.substr(0, 40), 18, "", "Unexpected EOF!"},
      {"bzip2, cut behind its data", bzipped.substr(0, bzipped.size() - 5), 18, kSample,
       "Unexpected EOF!"},
      {"bzip2, damaged", damaged, 18, "", "Data error!"},
      {"nothing", "", 1, "", unread},
      {"three bytes", "ZLI", 1, "", unread},
      {"seven bytes", "1234567", 1, "", unread},
      {"eight bytes", "12345678", 1, "", "Unexpected EOF!"},
      {"nine bytes", "123456789", 1, "", "Magic error!"},
      {"bzip2 by its mark alone", "12345678BZh9 and no more", 1, "", "Data error!"},
      {"neither", "neither of the two", 4, "", "Magic error!"},
  };
  const ScratchFolder folder;
  for (const auto& c2 : kCases) {
    tests::WriteFile(folder.Path("f"), c2.file);
    EXPECT_EQ(ReadAll(folder.WidePath("f"), c2.piece), std::pair(c2.plain, c2.failure)) << c2.name;
  }
  // Nothing is asked for, nothing happens, also where nothing is.
  tests::WriteFile(folder.Path("f"), ZlibFile(Deflated(""), 8, 0));
  misc::zvStreamSize none = 0;
  zvCompressedInputFileStream(folder.WidePath("f")).Read(nullptr, none);
}

TEST(CompressedStreams, OpeningFailsInWords) {
  const ScratchFolder folder;
  const std::wstring failed = L"File open failed.\n";
  const std::wstring remark = L"\nFile path exceeds the maximum path length allowed by OS";
  const std::wstring missing = folder.WidePath("no/such");
  const std::wstring longName = folder.WidePath(std::string(300, 'n'));
  const std::wstring deep = missing + std::wstring(300, L'/') + L"x";
  const auto readFails = [](const std::wstring& path, const std::wstring& text) {
    return ThrowsId<zvException>([&] { zvCompressedInputFileStream stream(path); }, 0, text);
  };
  const auto writeFails = [](const std::wstring& path, const std::wstring& text) {
    return ThrowsId<zvException>([&] { zvCompressedOutputFileStream stream(path, true); }, 0, text);
  };
  EXPECT_TRUE(readFails(missing, failed));
  EXPECT_EQ(tests::LastCauseOf([&] { zvCompressedInputFileStream stream(missing); }), missing);
  EXPECT_TRUE(readFails(folder.WidePath(""), failed));
  EXPECT_TRUE(readFails(L"/dev/zero", failed));
  EXPECT_TRUE(readFails(longName, failed + remark));
  EXPECT_TRUE(readFails({static_cast<wchar_t>(0xDC00)}, failed));
  EXPECT_TRUE(writeFails(missing, failed + L"\n" + missing + L" doesn't exist"));
  EXPECT_TRUE(writeFails(folder.WidePath(""), failed));
  EXPECT_TRUE(writeFails(longName, failed + remark));
  EXPECT_TRUE(writeFails(deep, failed + remark + L"\n" + deep + L" doesn't exist"));
  const auto method = static_cast<zvCompressedOutputFileStream::Method>(3);
  EXPECT_TRUE(ThrowsId<zvException>(
      [&] { zvCompressedOutputFileStream stream(folder.WidePath("f"), method); }, 0,
      L"pack::zvCompressedOutputFileStream::Open Unknown pack method. Please revisit code."));
  pack::zvBzip2State state;
  EXPECT_TRUE(ThrowsId<zvException>([&] { state.Open(nullptr, pack::zvBzip2State::kWriting); }, 0,
                                    L"File open failed!"));
  EXPECT_TRUE(ThrowsId<zvException>([&] { state.Open(stdin, pack::zvBzip2State::kClosed); }, 0,
                                    L"Unsupported open mode!"));
}

// Values of all kinds through either container, in the reader's window and across its end.
TEST(CompressedStreams, ValuesAreReadOutOfBothContainers) {
  const ScratchFolder folder;
  const std::string plain = Bytes().Int({7}).Wide("AB").Double({0.5}).Byte(1).Int({9});
  for (const bool isZlib : {true, false}) {
    for (std::size_t size = 1; size <= plain.size(); ++size) {
      const std::string cut = plain.substr(0, size);
      const std::string packed = isZlib ? Deflated(cut) : Bzipped(cut);
      const auto c = static_cast<std::uint32_t>(packed.size());
      tests::WriteFile(folder.Path("f"), isZlib
                                             ? ZlibFile(packed, c, static_cast<std::uint32_t>(size))
                                             : Bytes().Number(0, 8).Raw(packed).Get());
      zvCompressedInputFileStream stream(folder.WidePath("f"));
      misc::zvBIBasicTypes reader(stream, false, true, false);
      std::int32_t first = 0, last = 0;
      std::wstring text;
      double real = 0;
      bool flag = false;
      const auto read = [&] {
        reader.ReadInt(first).ReadString(text).ReadDouble(real).ReadBool(flag).ReadInt(last);
      };
      if (size == plain.size()) {
        read();
        EXPECT_EQ(std::tuple(first, text, real, flag, last),
                  std::tuple(7, std::wstring(L"AB"), 0.5, true, 9));
      } else if (isZlib) {
        EXPECT_TRUE(ThrowsId<zvException>(read, 0, L"Not enough data in stream left")) << size;
      } else {
        EXPECT_TRUE(ThrowsId<misc::zvmiscException>(read, 2018)) << size;
      }
    }
  }
}

TEST(CompressedStreams, WhatIsClosedTakesNothing) {
  const ScratchFolder folder;
  for (const bool useBzip2 : {false, true}) {
    for (const bool hasData : {false, true}) {
      zvCompressedOutputFileStream stream(folder.WidePath("f"), useBzip2);
      if (hasData) stream.Write("abc", 3);
      stream.Close();
      EXPECT_TRUE(ThrowsId<zvException>(
          [&] { stream.Write("abc", 3); }, 0,
          L"pack::zvCompressedOutputFileStream::Write Unknown pack method. Please revisit code."));
    }
  }
  // The end of a stream that has lost data is no success.
  zvCompressedOutputFileStream lossy(folder.WidePath("f"), true);
  EXPECT_TRUE(ThrowsId<zvException>([&] { lossy.Write(nullptr, 5); }, 0, L"Parameter error!"));
  EXPECT_TRUE(ThrowsId<zvException>([&] { lossy.Close(); }, 0, L"Unknown exception!"));
  pack::zvBzip2State state;
  char byte = 0;
  EXPECT_TRUE(ThrowsId<zvException>([&] { state.Read(&byte, 1); }, 0, L"Sequence error!"));
  EXPECT_TRUE(ThrowsId<zvException>([&] { state.Write(&byte, 1); }, 0, L"Sequence error!"));
}

TEST(CompressedStreams, AFullDiskIsNotLostInSilence) {
  for (const bool useBzip2 : {false, true}) {
    const wchar_t* text = useBzip2 ? L"Unknown exception!" : L"Couldn't write to the given handle!";
    const auto write = [&](zvCompressedOutputFileStream& stream) {
      tests::Seeded random;
      const std::string plain = RandomText(random, 10000);
      stream.Write(plain.data(), plain.size());
    };
    std::optional<zvCompressedOutputFileStream> stream;
    stream.emplace(L"/dev/full", useBzip2);
    write(*stream);
    EXPECT_TRUE(ThrowsId<zvException>([&] { stream->Close(); }, 0, text));
    stream.reset();  // closed it is
    const auto writeAndDie = [&](bool fails) {
      zvCompressedOutputFileStream dies(L"/dev/full", useBzip2);
      write(dies);
      if (fails) throw zvException(77, L"first");  // on whose way the destructor's is swallowed
    };
    EXPECT_TRUE(ThrowsId<zvException>([&] { writeAndDie(false); }, 0, text));
    EXPECT_TRUE(ThrowsId<zvException>([&] { writeAndDie(true); }, 77));
  }
}
