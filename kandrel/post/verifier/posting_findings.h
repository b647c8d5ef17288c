// zvPostingFinding and zvPostingVerdict: what a verification says of a posting.
#pragma once

#include <kandrel/misc/export.h>
#include <kandrel/post/geometry/block_law.h>

#include <array>
#include <cstdint>
#include <vector>

namespace post {

/// One thing that is wrong with a line, or with the block that ends there. Lengths in the machine's
/// units, angles in degrees, feeds in length and rotary speeds in degrees per minute.
struct zvPostingFinding {
  /// What is found of a line or block.
  enum Kind : std::int32_t {
    kTipOffWay = 0,  ///< the tip leaves its way by more than the tolerance: `value` is the bound
                     ///< of its distance
    kAxisOffWay,     ///< the same of the tool axis
    kLineTipOff,     ///< the machine doesn't put the tip where the line says; by `value`
    kLineAxisOff,    ///< nor the tool axis; with `axis` 5 the third axis stands at `value` in place
                     ///< of `bound`
    kTipOffSource,   ///< the line's part position lies off the source move or segment; by `value`
    kAxisOffSource,  ///< the line's orientation lies off its source move's by `value`
    kLinearLimit,    ///< `axis` stands at `value` outside its limit `bound`
    kRotaryLimit,    ///< the same of a rotary axis
    kRotarySpeed,    ///< `axis` turns at `value` where `bound` is allowed, at the line's feed
    kFeed,           ///< the feed `value` is above what the source moves allow
    kRapid,          ///< the line runs rapidly where its source feeds, or feeds where that is rapid
    kSourceMissing,  ///< source moves from `source` on that no line stands for; `value` of them
    kSourceOrder,    ///< the line names the source move `value` where `source` was due
    kSourceUnknown,  ///< the line names the source move `value`, and the toolpath has none such
    kGoesBack,   ///< an inserted line lies behind the one before it on their segment, by `value`
    kTurnsBack,  ///< the same of a turn on the spot: by `value` degrees, on the arc of the tool or,
                 ///< where that stands, of `axis`
    kWholeTurn,  ///< a feed block turns `axis` by `value`, above half a turn
    kNotFinite,  ///< a number of the line is infinite or NaN: nothing else of it is judged
    kKinds,      ///< not a kind: how many there are
  };

  Kind kind = kKinds;
  std::uint64_t line = 0;    ///< counted from 0; of a block, its later line
  std::int64_t source = -1;  ///< the move of the flattened toolpath that the line runs to; -1: none
  int axis = -1;             ///< 0 to 2 linear, 3 to 5 rotary; -1 where no axis is meant
  double value = 0;          ///< what the kind says
  double bound = 0;          ///< what it is held against, for kinds that name one
  double excess = 0;         ///< how far the value lies beyond the bound, never negative
};

/// The outcome of a verification.
struct zvPostingVerdict {
  /// A maximum over the run and where it is. Of several equal ones the first.
  struct Largest {
    double value = 0;
    std::uint64_t line = 0;
    std::int64_t source = -1;
  };

  /// Over all feed blocks: a proven bound of what is reached, less than 2% (or 1e-9 in length, 1e-6
  /// degrees) above it.
  Largest tip;
  Largest axis;
  /// Over all feed blocks at a feed that is above 0 and over a way: degrees per minute.
  Largest rotarySpeed;

  std::uint64_t lines = 0;
  std::uint64_t blocks = 0;   ///< of them those that end in a feed line
  std::uint64_t sources = 0;  ///< source moves that a line stands for
  /// In the order of lines; those beyond the rules' most are counted below alone.
  std::vector<zvPostingFinding> findings;
  std::array<std::uint64_t, zvPostingFinding::kKinds> counts{};

  /// Whether nothing was found.
  bool IsClean() const noexcept {
    for (const std::uint64_t count : counts)
      if (count != 0) return false;
    return true;
  }
};

/// A feed block of a run that is being verified.
struct zvVerifiedBlock {
  std::uint64_t line = 0;    ///< its later line
  std::int64_t source = -1;  ///< as in zvPostingFinding
  zvBlockDeviation deviation;
};

/// Takes the feed blocks of a run in their order.
class KANDREL_API zvBlockSink {
 public:
  virtual ~zvBlockSink();
  /// Called once for each feed block, in the order of the lines; what it throws ends the
  /// verification.
  virtual void Take(const zvVerifiedBlock& block) = 0;
};

}  // namespace post
