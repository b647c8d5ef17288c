// The page of a posted run before the run is put in, as the build has made it of
// apps/kandrel-post/web.
#pragma once

#include <span>
#include <string_view>

namespace kandrel_post {

/// Where the run goes; it stands in the template once.
inline constexpr std::string_view kRunPlace = "<!--KANDREL-RUN-->";

/// The template in pieces, none of which cuts kRunPlace; empty when it was not built.
std::span<const std::string_view> PageTemplate();

/// Why it was not built: "built without Node.js"; empty when it was.
std::string_view PageLeftOut();

}  // namespace kandrel_post
