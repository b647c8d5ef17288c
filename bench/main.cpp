// Runs the suites: times by Google Benchmark, cases in turn, then a table of ratios against goals.
//   kandrel_bench                         all cases, exit 1 when a goal is missed by over 10%
//   kandrel_bench --benchmark_filter=RE   some cases, and the goals that they suffice for
//   kandrel_bench --list-cases            the cases whose instructions are counted, one a line
//   kandrel_bench --callgrind-case NAME   one case once, for callgrind (toggle CallgrindCase)
//   kandrel_bench --instructions FILE     ratios of "NAME COUNT" lines that callgrind gave
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "bench/suites.h"
#include "bench/support.h"

namespace {

constexpr int kRepetitions = 7;
constexpr double kAllowance = 1.1;
constexpr double kLeastPretouched = 0x20000000;
constexpr double kPretouchedAMove = 200;

// Collects the smallest time of each case: first touches of memory vary with the host.
class MinimumReporter : public benchmark::BenchmarkReporter {
 public:
  // Says nothing: the context would warn of Debian's build of the benchmark library, which times
  // nothing here but the start and the end of a case.
  bool ReportContext(const Context&) override { return true; }

  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& run : runs) {
      if (run.run_type != Run::RT_Iteration) continue;  // means and deviations
      const std::string name = run.run_name.function_name;
      const double seconds = run.real_accumulated_time /
                             static_cast<double>(std::max<std::int64_t>(1, run.iterations));
      auto [it, fresh] = m_seconds.emplace(name, seconds);
      if (!fresh) it->second = std::min(it->second, seconds);
    }
  }

  bool HasRun(const std::string& name) const { return m_seconds.contains(name); }
  double Seconds(const std::string& name) const { return m_seconds.at(name); }

 private:
  std::map<std::string, double> m_seconds;
};

bool Row(const std::string& what, double value, double goal) {
  const bool met = value <= goal * kAllowance;
  std::printf("%-58s %9.3f  goal %7.3f  %s\n", what.c_str(), value, goal,
              !met            ? "MISSED"
              : value <= goal ? "met"
                              : "met within 10%");
  return met;
}

double MovesOf(const bench::Suite& suite, const std::string& name) {
  for (const bench::Case& c : suite.cases)
    if (c.name == name) return c.moves;
  return 1;
}

int RunAll(const bench::Suite& suite) {
  for (const bench::Case& c : suite.cases) {
    benchmark::RegisterBenchmark(
        c.name.c_str(),
        [&c](benchmark::State& state) {
          for ([[maybe_unused]] auto _ : state) {
            state.PauseTiming();
            c.prepare();
            bench::Pretouch(std::max(kLeastPretouched, c.moves * kPretouchedAMove));
            state.ResumeTiming();
            c.run();
          }
        })
        ->Iterations(1)
        ->Repetitions(kRepetitions)
        ->Unit(benchmark::kMillisecond);
  }
  MinimumReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);

  std::printf("\n%-58s %9s\n", "case", "ns/move");
  for (const bench::Case& c : suite.cases) {
    if (reporter.HasRun(c.name))
      std::printf("%-58s %9.2f\n", c.name.c_str(), reporter.Seconds(c.name) / c.moves * 1e9);
  }
  std::printf("\n");
  bool met = true;
  for (const bench::Goal& g : suite.goals) {
    if (!reporter.HasRun(g.subject) || !reporter.HasRun(g.yardstick)) continue;  // filtered out
    const double subject = reporter.Seconds(g.subject);
    const double yardstick = reporter.Seconds(g.yardstick);
    const double scale = g.wholeTime ? 1 : MovesOf(suite, g.yardstick) / MovesOf(suite, g.subject);
    met = Row(g.what, subject / yardstick * scale, g.goal) && met;
  }
  for (const bench::Figure& f : suite.figures) met = Row(f.what, f.measure(), f.goal) && met;
  return met ? 0 : 1;
}

int ShowInstructions(const bench::Suite& suite, const char* path) {
  std::ifstream file(path);
  std::map<std::string, double> counts;
  std::string name;
  for (double count = 0; file >> name >> count;) {
    counts[name] = count / MovesOf(suite, name);
    std::printf("%-58s %9.1f instructions a move\n", name.c_str(), counts[name]);
  }
  bool met = true;
  for (const bench::Goal& g : suite.instructionGoals)
    met = Row(g.what, counts[g.subject] / counts[g.yardstick], g.goal) && met;
  return met ? 0 : 1;
}

}  // namespace

// What callgrind counts; script/bench gives it this name.
extern "C" __attribute__((noinline, visibility("default"))) void CallgrindCase(
    const bench::Case& c) {
  c.run();
}

int main(int argc, char** argv) {
  bench::Suite suite;
  bench::AddThreeAxisCreator(suite);
  bench::AddFourAxisCreator(suite);
  bench::AddFiveAxisCreator(suite);
  bench::AddFacade(suite);
  bench::AddLogs(suite);
  bench::AddMesh(suite);
  bench::AddMachineFiles(suite);
  bench::AddPersistence(suite);
  bench::AddToolMesh(suite);
  bench::AddVerifier(suite);

  const std::string_view command = argc > 1 ? argv[1] : "";
  if (command == "--list-cases") {
    std::map<std::string, bool> listed;
    for (const bench::Goal& g : suite.instructionGoals)
      for (const std::string& name : {g.subject, g.yardstick})
        if (!std::exchange(listed[name], true)) std::printf("%s\n", name.c_str());
    return 0;
  }
  if (command == "--callgrind-case" && argc > 2) {
    for (const bench::Case& c : suite.cases) {
      if (c.name != argv[2]) continue;
      c.prepare();
      CallgrindCase(c);
      return 0;
    }
    return 2;
  }
  if (command == "--instructions" && argc > 2) return ShowInstructions(suite, argv[2]);
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
  return RunAll(suite);
}
