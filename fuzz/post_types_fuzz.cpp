// zvBIPostTypes on any bytes: one byte selects the record, one the version, one the flags (1
// compact, 2 wide strings, 4 64-bit sizes, 8 a stream with a window); the rest is the record.
#include <kandrel/misc/exception.h>
#include <kandrel/misc/memory_pool_list.h>
#include <kandrel/persistence/post_types_reader.h>
#include <kandrel/persistence/post_types_writer.h>
#include <tests/support/memory_streams.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

template <class Value>
std::string Written(const Value& value) {
  tests::MemoryOutput out;
  post::zvBOPostTypes(out).Write(value);
  return out.GetBytes();
}

template <class Move>
void ReadList(post::zvBIPostTypes& reader) {
  misc::zvMemoryPoolProvider provider;
  const auto list = misc::MakeAutoPointer<misc::zvMemoryPoolList<Move>>(provider);
  reader.ReadList(list);
  Written(list);
}

// What was read, written and read again, is written as the same bytes.
void ReadParameters(post::zvBIPostTypes& reader) {
  post::zvKDRParam read(measures::zvUnitsFactory::metric);
  reader.ReadParameters(read);
  const std::string written = Written(read);
  tests::MemoryInput in(written);
  post::zvKDRParam again(measures::zvUnitsFactory::metric);
  post::zvBIPostTypes(in, 226, false, nullptr, true, false).ReadParameters(again);
  if (Written(again) != written) std::abort();
}

void ReadRecord(post::zvBIPostTypes& reader, std::uint8_t record) {
  switch (record % 8) {
    case 0:
      return ReadParameters(reader);
    case 1: {
      post::zv5axControlDef control;
      reader.ReadControl(control);
      Written(control);
      return;
    }
    case 2: {
      post::zvMachDefBuilder builder;
      reader.ReadBuilder(builder);
      Written(builder);
      return;
    }
    case 3:
      return ReadList<post::zvPosted3axMove>(reader);
    case 4:
      return ReadList<post::zvPosted4axMove>(reader);
    case 5:
      return ReadList<post::zvPosted5axMove>(reader);
    case 6:
      return ReadList<post::zvPosted6axMove>(reader);
    default: {
      post::zvPostedTP toolpath;
      reader.ReadPostedTP(toolpath);
      Written(toolpath);
      return;
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  constexpr std::size_t kHead = 3;
  if (size < kHead) return 0;
  try {
    tests::MemoryInput plain(data + kHead, size - kHead);
    tests::WindowedMemoryInput windowed(data + kHead, size - kHead);
    misc::zvBinInputStream* in = &plain;
    if ((data[2] & 8) != 0) in = &windowed;
    std::vector<misc::zvBILostData> lostData;
    post::zvBIPostTypes reader(*in, data[1], (data[2] & 1) != 0, &lostData, (data[2] & 2) != 0,
                               (data[2] & 4) != 0);
    ReadRecord(reader, data[0]);
  } catch (const misc::zvException&) {
    // Refused, which is what most inputs are for.
  }
  return 0;
}
