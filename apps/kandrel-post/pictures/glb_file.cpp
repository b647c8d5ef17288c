#include "kandrel-post/pictures/glb_file.h"

#include <kandrel/version.h>

#include <array>
#include <bit>
#include <limits>
#include <string>
#include <utility>

namespace kandrel_post {

namespace {

using nlohmann::ordered_json;

constexpr std::uint32_t kMagic = 0x46546C67;      // "glTF"
constexpr std::uint32_t kJsonChunk = 0x4E4F534A;  // "JSON"
constexpr std::uint32_t kDataChunk = 0x004E4942;  // "BIN"
constexpr std::uint32_t kVersion = 2;
constexpr std::uint64_t kHeader = 12;
constexpr std::uint64_t kChunkHeader = 8;
constexpr std::size_t kNumber = 4;  // bytes of each number of either kind

std::uint64_t ComponentsOf(std::string_view type) {
  return type == "VEC4" ? 4 : type == "VEC3" ? 3 : 1;
}

}  // namespace

void NumberSink::PutBytes(std::span<const std::byte> bytes) {
  const std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
  if constexpr (std::endian::native == std::endian::little) {
    m_sink.Put(text);
  } else {
    for (std::size_t i = 0; i < text.size(); i += kNumber) {
      const std::array<char, kNumber> number{text[i + 3], text[i + 2], text[i + 1], text[i]};
      m_sink.Put(std::string_view(number.data(), number.size()));
    }
  }
}

GlbFile::GlbFile() {
  m_json["asset"] = {{"version", "2.0"},
                     {"generator", "kandrel-post " + std::string(misc::kKandrelVersion)}};
}

int GlbFile::AddArray(const Array& array, Fill fill) {
  const std::uint64_t bytes = array.count * ComponentsOf(array.type) * kNumber;
  ordered_json view = {{"buffer", 0}, {"byteOffset", m_bytes}, {"byteLength", bytes}};
  if (array.use != Use::keys) view["target"] = static_cast<int>(array.use);
  ordered_json accessor = {{"bufferView", Add("bufferViews", std::move(view))},
                           {"componentType", static_cast<int>(array.number)},
                           {"count", array.count},
                           {"type", array.type}};
  if (!array.min.empty()) accessor["min"] = array.min;
  if (!array.max.empty()) accessor["max"] = array.max;
  m_bytes += bytes;
  m_fills.push_back(std::move(fill));
  return Add("accessors", std::move(accessor));
}

int GlbFile::Add(const char* list, ordered_json object) {
  ordered_json& objects = m_json[list];
  objects.push_back(std::move(object));
  return static_cast<int>(objects.size()) - 1;
}

// Chunks begin at multiples of 4; blanks fill up the JSON, and numbers have the length already.
std::string GlbFile::Text() {
  if (m_bytes != 0) m_json["buffers"] = {{{"byteLength", m_bytes}}};
  std::string text = m_json.dump(-1, ' ', false, ordered_json::error_handler_t::replace);
  text.resize((text.size() + 3) / 4 * 4, ' ');
  return text;
}

bool GlbFile::Fits() {
  return kHeader + 2 * kChunkHeader + Text().size() + m_bytes <=
         std::numeric_limits<std::uint32_t>::max();
}

void GlbFile::Write(TextSink& sink) {
  const std::string text = Text();
  NumberSink numbers(sink);
  const std::uint64_t dataBytes = m_bytes == 0 ? 0 : kChunkHeader + m_bytes;
  numbers.Put(kMagic);
  numbers.Put(kVersion);
  numbers.Put(static_cast<std::uint32_t>(kHeader + kChunkHeader + text.size() + dataBytes));
  numbers.Put(static_cast<std::uint32_t>(text.size()));
  numbers.Put(kJsonChunk);
  sink.Put(text);
  if (m_bytes == 0) return;
  numbers.Put(static_cast<std::uint32_t>(m_bytes));
  numbers.Put(kDataChunk);
  for (const Fill& fill : m_fills) fill(numbers);
}

}  // namespace kandrel_post
