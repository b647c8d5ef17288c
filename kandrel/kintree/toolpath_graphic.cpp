#include <kandrel/cadcam/stl/parser_commands.h>
#include <kandrel/cadcam/stl_parser_exception.h>
#include <kandrel/kintree/detail/machine_file_values.h>
#include <kandrel/kintree/toolpath_graphic.h>
#include <kandrel/misc/byte_files.h>
#include <kandrel/misc/misc_exception.h>

#include <array>
#include <cmath>
#include <string_view>

namespace kintree {

namespace {

// The words of a text and the numbers of their lines. No word of any use is longer than kLongest:
// of a longer one, the rest is dropped, and it stays as useless as it was.
class Tokens {
 public:
  explicit Tokens(misc::zvBinInputStream& stream) : m_stream(stream) {}

  // False at the end. A token is valid until the next call.
  bool Next(std::string_view& token) {
    m_token.clear();
    for (char c = 0; Get(c);) {
      if (c == ' ' || c == '\t' || c == '\r' || c == '\n' || c == ';') {
        if (!m_token.empty()) {
          --m_next;
          break;
        }
        m_line += c == '\n';
      } else if (m_token.size() < kLongest) {
        m_token += c;
      }
    }
    token = m_token;
    return !token.empty();
  }

  int GetLine() const noexcept { return m_line; }

 private:
  static constexpr std::size_t kLongest = 1024;

  bool Get(char& c) {
    if (m_next == m_end) {
      misc::zvStreamSize size = m_block.size();
      m_stream.Read(m_block.data(), size);
      m_next = 0;
      m_end = static_cast<std::size_t>(size);
      if (m_end == 0) return false;
    }
    c = m_block[m_next++];
    return true;
  }

  misc::zvBinInputStream& m_stream;
  std::string m_token;
  std::array<char, 1 << 14> m_block{};
  std::size_t m_next = 0;
  std::size_t m_end = 0;
  int m_line = 1;
};

template <class T>
cadcam::zvTPoint3d<T> ThreeNumbers(Tokens& tokens) {
  cadcam::zvTPoint3d<T> numbers;
  for (int i = 0; i < 3; ++i) {
    std::string_view token;
    if (!tokens.Next(token) || !cadcam::ReadSTLNumber(token, numbers[i]) ||
        !std::isfinite(numbers[i]))
      throw misc::zvmiscException(misc::zvmiscException::kNoNumber);
  }
  return numbers;
}

}  // namespace

template <class T>
zvToolPathGraphic<T>::zvToolPathGraphic(Units units) : zvMeasurable(units) {}

template <class T>
void zvToolPathGraphic<T>::Begin(const Point& colour, const Point& point) {
  m_points.push_back(point);
  m_lines.push_back({colour, m_points.size() - 1});
}

template <class T>
void zvToolPathGraphic<T>::Append(const Point& point) {
  if (IsEmpty()) throw misc::zvmiscException(misc::zvmiscException::kIndexOutOfBounds);
  m_points.push_back(point);
}

template <class T>
const typename zvToolPathGraphic<T>::Line& zvToolPathGraphic<T>::LineAt(std::size_t line) const {
  if (line >= m_lines.size()) throw misc::zvmiscException(misc::zvmiscException::kIndexOutOfBounds);
  return m_lines[line];
}

template <class T>
const typename zvToolPathGraphic<T>::Point& zvToolPathGraphic<T>::GetColour(
    std::size_t line) const {
  return LineAt(line).colour;
}

template <class T>
std::span<const typename zvToolPathGraphic<T>::Point> zvToolPathGraphic<T>::GetPoints(
    std::size_t line) const {
  const std::size_t first = LineAt(line).first;
  const std::size_t last = line + 1 < m_lines.size() ? m_lines[line + 1].first : m_points.size();
  return std::span(m_points).subspan(first, last - first);
}

template <class T>
void zvToolPathGraphic<T>::Scale(Units, double factor) {
  for (Point& point : m_points)
    for (int i = 0; i < 3; ++i) point[i] = static_cast<T>(point[i] * factor);
}

template <class T>
void ReadToolPathGraphic(misc::zvBinInputStream& stream, zvToolPathGraphic<T>& graphic) {
  using Point = cadcam::zvTPoint3d<T>;
  zvToolPathGraphic<T> read(graphic.GetUnits());
  Tokens tokens(stream);
  Point colour(1, 1, 1);
  bool isOpen = false;
  for (std::string_view word; tokens.Next(word);) {
    const bool isStart = word == "PA";
    const bool isEnd = word == "PE";
    if (word == "RGB") {
      colour = ThreeNumbers<T>(tokens);
      continue;
    }
    if (!isStart && !isEnd && word != "PT")
      throw cadcam::zvParserException(cadcam::zvParserException::kUnknownKeyword, nullptr,
                                      tokens.GetLine());
    const Point point = ThreeNumbers<T>(tokens);
    if (isOpen && !isStart)
      read.Append(point);
    else
      read.Begin(colour, point);
    isOpen = isStart || (isOpen && !isEnd);
  }
  graphic = std::move(read);
}

template <class T>
bool LoadToolPathGraphic(const std::wstring& path, zvToolPathGraphic<T>& graphic) {
  if (!detail::IsFile(path)) {
    graphic = zvToolPathGraphic<T>(graphic.GetUnits());
    return false;
  }
  misc::zvBinInputFile file(path);
  ReadToolPathGraphic(file, graphic);
  return true;
}

template class zvToolPathGraphic<float>;
template KANDREL_API void ReadToolPathGraphic(misc::zvBinInputStream&, zvToolPathGraphic<float>&);
template KANDREL_API bool LoadToolPathGraphic(const std::wstring&, zvToolPathGraphic<float>&);

}  // namespace kintree
