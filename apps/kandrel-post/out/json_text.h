// What all JSON texts of this program have in common.
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

namespace kandrel_post {

/// A number; whole ones are written as such: 100000, not 1e+05 or 100000.0. Fails with error 0,
/// which names `what`, for one that is infinite or not a number: JSON has no form for it.
nlohmann::ordered_json JsonNumber(double value, std::string_view what);

/// The text of an object: one key a line, its value on one line, so that a screen holds it.
std::string JsonText(const nlohmann::ordered_json& object);

}  // namespace kandrel_post
