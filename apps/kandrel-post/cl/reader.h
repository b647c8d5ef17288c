// Reads CL text, the form in which CAM systems hand over machine-independent toolpaths.
#pragma once

#include <kandrel/cadcam/tool_path.h>
#include <kandrel/misc/units_factory.h>

#include <cstdint>
#include <functional>
#include <map>
#include <string>

#include "kandrel-post/cl/lines.h"

namespace kandrel_post {

class Progress;

struct ClProgram {
  cadcam::zvToolPath toolPath{measures::zvUnitsFactory::metric};
  std::string partName;   ///< of the last PARTNO, as it stands in the text
  bool finished = false;  ///< ends with FINI: nothing was cut off
  std::uint64_t moveCount = 0;
  std::uint64_t rapidCount = 0;
  std::uint64_t feedlessCount = 0;  ///< feed moves before any feed, or under FEDRAT/0
  std::map<std::string, std::uint64_t> skippedWords;  ///< words without a meaning here, counted
};

struct ClOptions {
  std::uint32_t rapidLinkType = 5;  ///< link type of stretches of rapid moves
  std::function<void(unsigned long long bytesRead)> onRead;  ///< called now and then, may be empty
};

/// Builds the toolpath of a CL text. Anything that would move the tool in a way not understood
/// here fails with error 0 and `<name>:<line>: <what was expected>`, as does all that is malformed.
///
/// 1. A feed in the other unit system (FEDRAT/10,IPM in a metric text) is converted.
/// 2. A feed per revolution fails: there is no spindle speed to convert it with.
/// 3. Feed moves before any FEDRAT are taken, with the feed 0, and counted in feedlessCount.
/// 4. UNITS may repeat, but must not change after the first move.
/// 5. Sections that the text begins itself ($$ CONTOUR, $$ LINK n) take all moves up to the next
///    one, rapid or not; elsewhere each run of rapid moves is a link and of others a contour.
ClProgram ReadCl(ByteSource source, const std::string& name, const ClOptions& options);

/// Reads the file; progress is shown by its size.
ClProgram ReadClFile(const std::string& fileName, std::uint32_t rapidLinkType, Progress& progress);

}  // namespace kandrel_post
