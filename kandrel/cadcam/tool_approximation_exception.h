// zvtoolapproximationException: failures of turning a tool into profiles and meshes.
#pragma once

#include <kandrel/misc/exception.h>
#include <kandrel/misc/export.h>

#include <cstdint>

namespace cadcam {

/// 2176 "Couldn't handle zvLatheTool object" and kInvalidArborProfile "Invalid Arbor Profile". An
/// id without a row has the text "Unknown error.".
class KANDREL_API zvtoolapproximationException
    : public misc::zvExceptionOf<zvtoolapproximationException> {
 public:
  /// A profile that can't be approximated.
  static constexpr std::uint32_t kInvalidArborProfile = 2177;

  /// `previous` becomes the first cause.
  explicit zvtoolapproximationException(std::uint32_t id,
                                        const misc::zvException* previous = nullptr);

  /// All ids that have a text.
  static misc::zvMessageTable Table() noexcept;
};

}  // namespace cadcam
