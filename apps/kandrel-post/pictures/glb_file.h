// Files of glTF 2.0 in their binary form (.glb): JSON, and the numbers that it refers to.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <nlohmann/json.hpp>
#include <span>
#include <string_view>
#include <type_traits>
#include <vector>

#include "kandrel-post/out/text_sink.h"

namespace kandrel_post {

/// Puts numbers of four bytes into a sink, little-endian whatever the machine. Many at a time: each
/// call copies.
class NumberSink {
 public:
  explicit NumberSink(TextSink& sink) : m_sink(sink) {}

  void Put(std::uint32_t number) { Put(std::span<const std::uint32_t>(&number, 1)); }
  /// Of floats, of whole numbers of 32 bits or of arrays of either.
  template <class Number>
  void Put(std::span<const Number> numbers) {
    static_assert(sizeof(Number) % 4 == 0 && std::is_trivially_copyable_v<Number>);
    PutBytes(std::as_bytes(numbers));
  }

 private:
  void PutBytes(std::span<const std::byte> bytes);

  TextSink& m_sink;
};

/// A file that is put together piece by piece and then written in one go. Arrays of numbers are
/// asked for only while they are written: none is kept here.
class GlbFile {
 public:
  /// What an array holds; the values are those of glTF.
  enum class Number : int { u32 = 5125, f32 = 5126 };
  /// What an array is for, as glTF has it: keys, vertices or the order of these.
  enum class Use : int { keys = 0, vertices = 34962, indices = 34963 };

  struct Array {
    std::string_view type;  ///< "SCALAR", "VEC3" or "VEC4"
    Number number = Number::f32;
    Use use = Use::keys;
    std::uint64_t count = 0;
    /// The least and the largest of each component, which glTF asks for in vertices and in times;
    /// empty for none.
    std::vector<float> min{};
    std::vector<float> max{};
  };
  /// Puts all numbers of an array.
  using Fill = std::function<void(NumberSink&)>;

  /// Begins with the version of the format and the program's.
  GlbFile();

  /// Adds an array, of one number at least, and returns the index of its accessor. What `fill`
  /// refers to must live until Write.
  int AddArray(const Array& array, Fill fill);

  /// All else that the JSON has: scenes, nodes and so on. Arrays of the JSON that are still empty
  /// are left out, as glTF wants it.
  nlohmann::ordered_json& Json() noexcept { return m_json; }

  /// Adds an object to one of the JSON's lists and returns its index.
  int Add(const char* list, nlohmann::ordered_json object);

  /// Whether the lengths of the file and of its parts, which are numbers of 32 bits, hold it.
  bool Fits();
  void Write(TextSink& sink);

 private:
  std::string Text();

  nlohmann::ordered_json m_json;
  std::vector<Fill> m_fills;
  std::uint64_t m_bytes = 0;
};

}  // namespace kandrel_post
