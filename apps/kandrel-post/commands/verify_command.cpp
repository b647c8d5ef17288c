#include <fmt/format.h>
#include <kandrel/post/model/mach_def_utils.h>
#include <kandrel/post/model/posting_parameters.h>
#include <kandrel/post/passes/alignment.h>
#include <kandrel/post/verifier/posting_verifier.h>
#include <unistd.h>

#include <cstdint>
#include <string>

#include "kandrel-post/cl/reader.h"
#include "kandrel-post/commands/commands.h"
#include "kandrel-post/commands/parameters.h"
#include "kandrel-post/commands/verdict_text.h"
#include "kandrel-post/csv/reader.h"
#include "kandrel-post/host/errors.h"
#include "kandrel-post/host/progress.h"
#include "kandrel-post/machine/argument.h"
#include "kandrel-post/machine/machine.h"
#include "kandrel-post/out/text_sink.h"

namespace kandrel_post {

namespace {

constexpr std::uint64_t kLinesBetweenReports = 4096;

post::zvPostingVerdict VerifyFile(const post::zvPostingVerifier& verifier,
                                  const cadcam::zvToolPath& toolPath, const std::string& fileName,
                                  int rotaryCount, UncheckedLimits& limits, Progress& progress) {
  InputFile file(fileName);
  const double size = file.GetSize();
  PostedCsvReader reader(file.Source(), fileName, rotaryCount);
  std::uint64_t count = 0;
  return verifier.Verify(toolPath, [&](post::zvPostedLine& line) {
    if (++count % kLinesBetweenReports == 0 && size > 0)
      progress.Fraction(static_cast<double>(reader.GetBytesRead()) / size);
    const bool isLine = reader.Next(line);
    if (isLine) limits.Add({line.p_mach, line.degs[0], line.degs[1]});
    return isLine;
  });
}

// What alignToolpath turns the path by, null for none; only machines of three and four axes do.
post::zvAlignMatrix AlignmentOf(const cadcam::zvToolPath& toolPath,
                                const post::zvMachDef& machDef) {
  if (toolPath.begin() == toolPath.end()) return {};
  switch (machDef.GetNumbersOfAxes()) {
    case post::zvMachDef::threeAxes:
      return post::AlignToSpindle(toolPath, Normalised(post::zvMachDefUtils::Cast3ax(machDef)));
    case post::zvMachDef::fourAxes:
      return post::AlignToRotaryAxis(toolPath, Normalised(post::zvMachDefUtils::Cast4ax(machDef)));
    default:
      return {};
  }
}

}  // namespace

void RunVerify(const PostOptions& options, const std::string& postedFile) {
  const Machine machine = LoadMachine(options.machine);
  const post::zvMachDef& machDef = *machine.builder.GetMachDef();
  post::zvKDRParam par(machDef.GetUnits());
  // Whoever has made the lines: limits are looked at unless the settings say otherwise.
  par.SetLimitsCheck(post::zvKDRParam::checkAllAxes);
  for (const std::string& setting : options.settings) ApplySetting(par, setting);
  Progress progress;
  progress.Stage("reading");
  const ClProgram program = ReadClFile(options.toolPathFile, options.rapidLinkType, progress);
  post::zvMachDefUtils::RequireUnits(machDef, program.toolPath.GetUnits());
  progress.Stage("verifying");
  post::zvPostingVerifier verifier(machDef, options.control, options.origin, options.toolLength);
  post::zvVerifierRules rules = VerifierRules(options, machine, par, program.toolPath.GetUnits());
  if (par.GetAlignToolpath()) rules.alignment = AlignmentOf(program.toolPath, machDef);
  verifier.SetRules(rules);
  UncheckedLimits limits(machine, options.control, par);
  const post::zvPostingVerdict verdict =
      VerifyFile(verifier, program.toolPath, postedFile, AxisCount(machine) - 3, limits, progress);
  progress.Stop();

  TextSink out(STDOUT_FILENO, "standard output");
  out.Put(VerdictInWords(verdict, machine, verdict.findings.size(), limits.InWords(machine)));
  out.Flush();
  if (!verdict.IsClean()) Fail(fmt::format("{}: not verified", postedFile));
}

}  // namespace kandrel_post
