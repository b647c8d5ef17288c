#include <kandrel/cadcam/stl/detail/line_reader.h>
#include <kandrel/cadcam/stl/parser_stl.h>

#include <cstddef>
#include <limits>

namespace cadcam {

template <class T>
zvParserSTL<T>::zvParserSTL(misc::zvAutoPointer<zvSTLFile<T>> file)
    : zvParser<zvSTLFile<T>>(std::move(file)) {
  const auto& result = this->GetResult();
  Register("vertex", misc::MakeAutoPointer<zvParserCmdVertex<T>>(result));
  Register("facet", misc::MakeAutoPointer<zvParserCmdFacet<T>>(result));
  const auto outer = misc::MakeAutoPointer<zvParserCmdOuter<T>>(result);
  Register("outer", outer);
  Register("endloop", misc::MakeAutoPointer<zvParserCmdEndLoop<T>>(result));
  Register("endfacet", misc::MakeAutoPointer<zvParserCmdEndFacet<T>>(result));
  Register("end", misc::MakeAutoPointer<zvParserCmdEndBlock<T>>(result));
  Register("outerloop", outer);
  Register("solid", misc::MakeAutoPointer<zvParserCmdSolid<T>>(result));
  Register("endsolid", misc::MakeAutoPointer<zvParserCmdEndSolid<T>>(result));
}

template <class T>
zvParserSTL<T>::~zvParserSTL() = default;

template <class T>
void zvParserSTL<T>::Initialise(misc::zvBinInputStream& stream) {
  m_lines = std::make_unique<detail::LineReader>(stream);
  this->m_line = {};
  this->m_number = 0;
}

template <class T>
void zvParserSTL<T>::Parse(misc::zvBinInputStream& stream) {
  Initialise(stream);
  BeforeParse();
  const zvSTLFile<T>& file = *this->GetResult();
  try {
    while (!file.IsEndReached()) {
      const int last = this->m_number;
      if (last < std::numeric_limits<int>::max()) ++this->m_number;
      if (!m_lines->Next(this->m_line)) {
        this->m_number = last;
        break;
      }
      OnLine();
      AfterLine();
    }
    AfterParse();
  } catch (const zvSTLParserException& e) {
    if (e.GetDetail() != 0) throw;
    throw zvSTLParserException(e.GetId(), nullptr, this->m_number);
  }
}

template <class T>
void zvParserSTL<T>::BeforeParse() {}

template <class T>
void zvParserSTL<T>::AfterParse() {
  const zvSTLFile<T>& file = *this->GetResult();
  if (file.IsInFacet() || file.IsInLoop())
    throw zvSTLParserException(zvSTLParserException::kInvalidFormat);
}

template <class T>
void zvParserSTL<T>::OnLine() {
  std::string_view line = this->m_line;
  if (line.empty() || line.front() == '(') return;
  for (const char blank : {' ', '\t', ' '})  // the last for what the tabs stood in front of
    while (line.starts_with(blank)) line.remove_prefix(1);
  if (line.empty()) return;
  std::size_t length = 1;
  while (length < line.size() && line[length] != ' ') ++length;
  const std::string_view word = line.substr(0, length);
  if (Entry* const entry = Find(word))
    entry->second->Execute(line, this->m_number);
  else
    this->UnknownKeyword(word);
}

template <class T>
void zvParserSTL<T>::AfterLine() {}

template <class T>
void zvParserSTL<T>::Register(std::string keyword,
                              misc::zvAutoPointer<zvParserCommand<T>> command) {
  if (Entry* const entry = Find(keyword))
    entry->second = std::move(command);
  else
    m_commands.emplace_back(std::move(keyword), std::move(command));
}

template <class T>
typename zvParserSTL<T>::Entry* zvParserSTL<T>::Find(std::string_view keyword) {
  for (Entry& entry : m_commands)
    if (entry.first == keyword) return &entry;
  return nullptr;
}

template class zvParserSTL<float>;
template class zvParserSTL<double>;

}  // namespace cadcam
