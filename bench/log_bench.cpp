// Writing and reading logs against what zlib alone costs on the same bytes.
#include <kandrel/cadcam/tools/mills.h>
#include <kandrel/misc/pack/compressed_streams.h>
#include <kandrel/misc/text.h>
#include <kandrel/persistence/log_file.h>
#include <kandrel/post/creators/five_axis_creator.h>
#include <unistd.h>
#include <zlib.h>

#include <cmath>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "bench/suites.h"
#include "bench/support.h"

namespace bench {

namespace {

constexpr int kMoves = 200'000;

class Bytes final : public misc::zvBinOutputStream {
 public:
  void Write(const void* buffer, const misc::zvStreamSize& size) override {
    const auto* const begin = static_cast<const unsigned char*>(buffer);
    m_bytes.insert(m_bytes.end(), begin, begin + size);
  }
  const std::vector<unsigned char>& Get() const { return m_bytes; }

 private:
  std::vector<unsigned char> m_bytes;
};

// A run on five axes, its log in a file, and the same bytes for zlib.
struct Run {
  explicit Run(int moves) {
    machDef.SetSecondRotationDirection({1, 0, 0});
    machDef.SetFirstRotationDirection({0, 0, 1});
    creator = misc::MakeAutoPointer<zvPosted5axTPCreator>(machDef, control, parameters, origin, 0);
    for (int i = 0; i < moves; ++i) {
      const double turn = i * 0.01;
      path.AddMove(misc::MakeAutoPointer<cadcam::zv5axMove>(
          cadcam::zvCNCMove({50 * std::cos(turn), 50 * std::sin(turn), i * 1e-3},
                            Direction(0.3, turn), 1200, false),
          cadcam::zvTPoint3d<double>(), cadcam::zvTPoint3d<double>(), 0u, false));
    }
    creator->PostRun(path, true);
    Bytes written;
    zvKDROutput(written, creator, path, tool);
    plain = written.Get();
    packed.resize(compressBound(plain.size()));
    WriteLog();
    CompressAlone();
  }
  ~Run() { std::filesystem::remove(file); }

  void WriteLog() { zvKDROutput(misc::FromUtf8(file), creator, path, tool); }
  void ReadLog() { Keep(zvKDRInput(misc::FromUtf8(file)).GetToolPathPtr().Get()); }
  // Into a file as the log goes into one.
  void CompressAlone() {
    uLongf size = packed.size();
    compress2(packed.data(), &size, plain.data(), plain.size(), 1);
    packedSize = size;
    std::FILE* const out = std::fopen((file + ".z").c_str(), "wb");
    std::fwrite(packed.data(), 1, size, out);
    std::fclose(out);
    std::filesystem::remove(file + ".z");
  }
  void UncompressAlone() {
    uLongf size = plain.size();
    uncompress(plain.data(), &size, packed.data(), packedSize);
    Keep(plain.data());
  }

  post::zv5axMachDef machDef;
  post::zv5axControlDef control;
  post::zvKDRParam parameters{measures::zvUnitsFactory::metric};
  cadcam::zvTPoint3d<double> origin;
  cadcam::zvToolPath path{measures::zvUnitsFactory::metric};
  cadcam::zvEndMill tool;
  misc::zvAutoPointer<zvPostedTPCreator> creator;
  std::vector<unsigned char> plain;
  std::vector<unsigned char> packed;
  std::size_t packedSize = 0;
  std::string file =
      std::filesystem::temp_directory_path() / ("kandrel_bench_log." + std::to_string(getpid()));
};

}  // namespace

void AddLogs(Suite& suite) {
  const auto run = std::make_shared<std::unique_ptr<Run>>();
  const auto add = [&](const std::string& name, void (Run::*work)()) {
    const auto prepare = [run] {
      if (*run == nullptr) *run = std::make_unique<Run>(kMoves);
    };
    suite.cases.push_back({name, double(kMoves), [run, work] { (**run.*work)(); }, prepare});
  };
  add("logs/compress2_alone/200k", &Run::CompressAlone);
  add("logs/write_zlib/200k", &Run::WriteLog);
  add("logs/uncompress_alone/200k", &Run::UncompressAlone);
  add("logs/read_zlib/200k", &Run::ReadLog);

  suite.goals.push_back({"a log as a zlib file over compress2 alone", "logs/write_zlib/200k",
                         "logs/compress2_alone/200k", 1.05});
  suite.goals.push_back({"reading a zlib log over uncompress alone", "logs/read_zlib/200k",
                         "logs/uncompress_alone/200k", 1.4});
}

}  // namespace bench
