#include <kandrel/cadcam/stl_parser_exception.h>

#include <utility>

namespace cadcam {

namespace {

constexpr misc::zvMessageRow kParserRows[] = {
    {zvParserException::kNotImplemented, L"Parser not implemented !"},
    {zvParserException::kUnknownKeyword, L"Unknown keyword !"},
};
static_assert(misc::IsSortedById(kParserRows));

constexpr misc::zvMessageRow kStlRows[] = {
    {zvSTLParserException::kInvalidFormat, L"Invalid .stl file format !"},
    {zvSTLParserException::kWrongFacet, L"Keyword 'facet' with wrong parameters found"},
    {zvSTLParserException::kWrongOuter, L"Not detected 'outer loop' keyword"},
    {zvSTLParserException::kWrongVertex, L"Keyword 'vertex' with wrong parameters found"},
    {zvSTLParserException::kWrongEndLoop,
     L"Found keyword 'endloop' or 'end loop' followed by other string"},
    {zvSTLParserException::kWrongEndFacet,
     L"Found keyword 'endfacet' or 'end facet' followed by other string"},
    {zvSTLParserException::kWrongEnd,
     L"Found word 'end' but not detected any of \n keywords' : 'end solid', 'end loop' ,'end "
     L"facet' "},
    {zvSTLParserException::kNotOpened, L"Error opening input file !"},
    {zvSTLParserException::kWrongTriangle, L"Error reading triangle from file !"},
    {zvSTLParserException::kInvalidSyntax, L"Invalid Syntax"},
    {zvSTLParserException::kWrongCount, L"Invalid number of triangles found in .stl file!"},
};
static_assert(misc::IsSortedById(kStlRows));

}  // namespace

zvParserException::zvParserException(std::uint32_t id, const misc::zvException* previous, int line)
    : zvParserException(id, std::wstring(misc::FindMessage(kParserRows, id, misc::kUnknownError)),
                        previous, line) {}

zvParserException::zvParserException(std::uint32_t id, std::wstring text,
                                     const misc::zvException* previous, int line)
    : zvExceptionOf(id, std::move(text), previous, line) {}

misc::zvMessageTable zvParserException::Table() noexcept {
  return kParserRows;
}

zvSTLParserException::zvSTLParserException(std::uint32_t id, const misc::zvException* previous,
                                           int line)
    : zvExceptionOf(id, misc::FindMessage(kStlRows, id, misc::kUnknownError), previous, line) {}

misc::zvMessageTable zvSTLParserException::Table() noexcept {
  return kStlRows;
}

}  // namespace cadcam
