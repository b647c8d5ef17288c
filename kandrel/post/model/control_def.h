// zv5axControlDef: how a machine control wants its rotary values written.
#pragma once

#include <cstdint>

namespace post {

/// One wrapping rule for each rotary axis; the first serves the only axis of a 4-axis machine too.
/// It is applied as the last step of a posting, after all work on wound angles.
class zv5axControlDef {
 public:
  /// The type holds any value that a file may bring; creators leave angles alone for unknown ones.
  enum angleLimit : std::int32_t {
    angleLimitNone = 0,  ///< angles run on past one turn
    angleLimit360 = 1,   ///< wrapped to [0, 360)
    angleLimit180 = 2,   ///< wrapped to (-180, 180]
  };

  /// The rule of each axis.
  angleLimit GetFirstAxisLimit() const noexcept { return m_firstAxisLimit; }
  angleLimit GetSecondAxisLimit() const noexcept { return m_secondAxisLimit; }
  void SetFirstAxisLimit(angleLimit limit) noexcept { m_firstAxisLimit = limit; }
  void SetSecondAxisLimit(angleLimit limit) noexcept { m_secondAxisLimit = limit; }

 private:
  angleLimit m_firstAxisLimit = angleLimitNone;
  angleLimit m_secondAxisLimit = angleLimitNone;
};

}  // namespace post
