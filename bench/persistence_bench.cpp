// Writing and reading posted moves against what the bytes alone cost.
#include <bzlib.h>
#include <kandrel/misc/file_streams.h>
#include <kandrel/misc/memory_pool_list.h>
#include <kandrel/misc/pack/compressed_streams.h>
#include <kandrel/misc/std_streams.h>
#include <kandrel/misc/text.h>
#include <kandrel/persistence/post_types_reader.h>
#include <kandrel/persistence/post_types_writer.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "bench/suites.h"
#include "bench/support.h"

namespace bench {

namespace {

using Move = post::zvPosted5axMove;
using List = misc::zvMemoryPoolList<Move>;

// Memory that is there already, as far as it has been written once.
class Memory final : public misc::zvBinOutputStream {
 public:
  explicit Memory(std::size_t capacity) : m_bytes(capacity) {}

  void Write(const void* buffer, const misc::zvStreamSize& size) override {
    std::memcpy(m_bytes.data() + m_size, buffer, size);
    m_size += size;
  }

  void Empty() { m_size = 0; }
  const unsigned char* Data() const { return m_bytes.data(); }
  std::size_t Size() const { return m_size; }

 private:
  std::vector<unsigned char> m_bytes;
  std::size_t m_size = 0;
};

// Reads such memory.
class MemoryReader final : public misc::zvWindowedInput {
 public:
  explicit MemoryReader(const Memory& memory) {
    GetWindow() = {memory.Data(), memory.Data() + memory.Size()};
  }

  void Read(void* buffer, misc::zvStreamSize& size) override {
    misc::zvByteWindow& window = GetWindow();
    size = std::min<misc::zvStreamSize>(size, static_cast<std::size_t>(window.end - window.next));
    std::memcpy(buffer, window.next, size);
    window.next += size;
  }
};

// A list of small moves on a smooth path, its bytes, and a file to write to.
struct Scene {
  explicit Scene(int moves) : count(moves), bytes(Size()), copy(Size()) {
    list = misc::MakeAutoPointer<List>(provider);
    for (int i = 0; i < count; ++i) {
      const double turn = i * 0.01;
      const auto axis = Direction(0.3, turn);
      list->EmplaceBack(Move({50 * std::cos(turn), 50 * std::sin(turn), i * 1e-3},
                             {i * 1e-3, 1, axis.z}, axis, turn / kDegree, 17, 0, 1200, false,
                             post::zvPostedMove::noLink));
    }
    Serialise();
    copy.Write(bytes.Data(), bytes.Size());
  }
  ~Scene() { std::filesystem::remove(path); }

  std::size_t Size() const { return static_cast<std::size_t>(count) * 120; }
  void Serialise() {
    bytes.Empty();
    post::zvBOPostTypes(bytes).Write(list);
  }

  int count;
  misc::zvMemoryPoolProvider provider;
  misc::zvAutoPointer<List> list;
  Memory bytes;
  Memory copy;
  std::string path =
      std::filesystem::temp_directory_path() / ("kandrel_bench." + std::to_string(getpid()));
};

void Memcpy(Scene& scene) {
  scene.copy.Empty();
  scene.copy.Write(scene.bytes.Data(), scene.bytes.Size());
  Keep(scene.copy.Data());
}

void ReadList(Scene& scene) {
  misc::zvMemoryPoolProvider provider;
  const auto list = misc::MakeAutoPointer<List>(provider);
  MemoryReader stream(scene.bytes);
  post::zvBIPostTypes(stream, 226, false, nullptr, true, false).ReadList(list);
  Keep(&*list);
}

void CopyList(Scene& scene) {
  misc::zvMemoryPoolProvider provider;
  const auto list = misc::MakeAutoPointer<List>(provider);
  for (const Move& move : *scene.list) list->PushBack(move);
  Keep(&*list);
}

void WritePlain(Scene& scene) {
  misc::zvOFStream file(misc::FromUtf8(scene.path), std::ios::out | std::ios::binary);
  misc::zvStdOutputStream stream(&file);
  post::zvBOPostTypes(stream).Write(scene.list);
  stream.Flush();
}

// The moves by hand, through 16 KiB and fwrite.
void StagedFwrite(Scene& scene) {
  std::FILE* const file = std::fopen(scene.path.c_str(), "wb");
  std::vector<char> stage;
  stage.reserve(16384);
  const auto put = [&](const auto& value) {
    const auto* begin = reinterpret_cast<const char*>(&value);
    stage.insert(stage.end(), begin, begin + sizeof value);
  };
  for (const Move& move : *scene.list) {
    if (stage.size() > 16384 - 200) {
      std::fwrite(stage.data(), 1, stage.size(), file);
      stage.clear();
    }
    put(move.GetMachinePosition());
    put(move.GetPartPosition());
    put(move.GetOrientation());
    put(move.GetAngle(0));
    put(move.GetAngle(1));
    put(move.GetPoleStatus());
    put(move.GetFeed());
    put(move.IsRapid());
    put(true);
    put(move.GetType());
    put(move.GetMoveTime());
  }
  std::fwrite(stage.data(), 1, stage.size(), file);
  std::fclose(file);
}

void WriteBzip2(Scene& scene) {
  pack::zvCompressedOutputFileStream stream(misc::FromUtf8(scene.path), true);
  post::zvBOPostTypes(stream).Write(scene.list);
  stream.Close();
}

void Bzip2Alone(Scene& scene) {
  std::FILE* const file = std::fopen(scene.path.c_str(), "wb");
  int result = BZ_OK;
  BZFILE* const stream = BZ2_bzWriteOpen(&result, file, 9, 0, 0);
  auto* const bytes = const_cast<unsigned char*>(scene.bytes.Data());
  for (std::size_t at = 0; at < scene.bytes.Size(); at += 1 << 20)
    BZ2_bzWrite(&result, stream, bytes + at,
                static_cast<int>(std::min<std::size_t>(1 << 20, scene.bytes.Size() - at)));
  BZ2_bzWriteClose(&result, stream, 0, nullptr, nullptr);
  std::fclose(file);
}

}  // namespace

void AddPersistence(Suite& suite) {
  // Made when first asked for, so that runs of other suites go without it.
  const auto scene = std::make_shared<std::unique_ptr<Scene>>();
  const auto add = [&](const std::string& name, int count, void (*run)(Scene&)) {
    const auto prepare = [scene, count] {
      if (*scene == nullptr || (*scene)->count != count) {
        scene->reset();
        *scene = std::make_unique<Scene>(count);
      }
    };
    suite.cases.push_back({name, double(count), [scene, run] { run(**scene); }, prepare});
  };
  add("files/memcpy/1M", kMillion, Memcpy);
  add("files/serialise/1M", kMillion, [](Scene& s) { s.Serialise(); });
  add("files/copy_list/1M", kMillion, CopyList);
  add("files/read_list/1M", kMillion, ReadList);
  add("files/staged_fwrite/1M", kMillion, StagedFwrite);
  add("files/plain_file/1M", kMillion, WritePlain);
  add("files/bzip2_alone/100k", kMillion / 10, Bzip2Alone);
  add("files/bzip2_file/100k", kMillion / 10, WriteBzip2);

  suite.goals.push_back(
      {"serialising to memory over memcpy", "files/serialise/1M", "files/memcpy/1M", 3.5});
  suite.goals.push_back({"a plain file over fwrite of the same bytes", "files/plain_file/1M",
                         "files/staged_fwrite/1M", 2.2});
  suite.goals.push_back(
      {"a bzip2 file over bzip2 alone", "files/bzip2_file/100k", "files/bzip2_alone/100k", 1.02});
  suite.goals.push_back({"reading a list from memory over copying it", "files/read_list/1M",
                         "files/copy_list/1M", 1.5});
}

}  // namespace bench
