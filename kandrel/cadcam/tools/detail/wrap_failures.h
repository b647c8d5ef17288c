// WrapFailures: failures on the way to an object, told as the failure to make it.
#pragma once

#include <kandrel/cadcam/cadcam_exception.h>
#include <kandrel/misc/exception.h>

#include <cstdint>

namespace cadcam::detail {

/// Runs `action`. A zvException out of it is thrown on as the cause of a zvcadcamException `id`, or
/// as it is where `id` is 0.
template <class Action>
void WrapFailures(std::uint32_t id, Action&& action) {
  try {
    action();
  } catch (const misc::zvException& e) {
    if (id == 0) throw;
    throw zvcadcamException(id, &e);
  }
}

}  // namespace cadcam::detail
