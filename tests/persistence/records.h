// What the tests of records and files are written in.
#pragma once

#include <kandrel/cadcam/cadcam_exception.h>
#include <kandrel/misc/misc_exception.h>
#include <kandrel/post/model/post_exception.h>
#include <tests/support/bytes.h>
#include <tests/support/memory_streams.h>
#include <tests/support/numbers.h>
#include <tests/support/scratch_folder.h>
#include <tests/support/throws_id.h>
#include <tests/support/toolpath_builders.h>

namespace tests {

using cadcam::zvcadcamException;
using misc::zvmiscException;
using post::zvPostException;
using Names = std::vector<std::wstring>;

inline constexpr int kNow = 226;  // the version that is written

/// `read` reads `bytes` whole, and ends with 2018 on all that they begin with.
template <class Read>
void ExpectPrefixesRefused(const std::string& bytes, const Read& read) {
  for (std::size_t size = 0; size < bytes.size(); ++size)
    EXPECT_TRUE(ThrowsId<zvmiscException>([&] { read(bytes.substr(0, size)); }, 2018)) << size;
}

}  // namespace tests
