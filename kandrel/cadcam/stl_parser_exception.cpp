#include <kandrel/cadcam/stl_parser_exception.h>

#include <utility>

namespace cadcam {

namespace {

constexpr misc::zvMessageRow kParserRows[] = {
    {6250, L"Parser not implemented !"},
    {6251, L"Unknown keyword !"},
};
static_assert(misc::IsSortedById(kParserRows));

constexpr misc::zvMessageRow kStlRows[] = {
    {3501, L"Invalid .stl file format !"},
    {3502, L"Keyword 'facet' with wrong parameters found"},
    {3503, L"Not detected 'outer loop' keyword"},
    {3504, L"Keyword 'vertex' with wrong parameters found"},
    {3505, L"Found keyword 'endloop' or 'end loop' followed by other string"},
    {3506, L"Found keyword 'endfacet' or 'end facet' followed by other string"},
    {3507,
     L"Found word 'end' but not detected any of \n keywords' : 'end solid', 'end loop' ,'end "
     L"facet' "},
    {3508, L"Error opening input file !"},
    {3509, L"Error reading triangle from file !"},
    {3510, L"Invalid Syntax"},
    {3511, L"Invalid number of triangles found in .stl file!"},
};
static_assert(misc::IsSortedById(kStlRows));

}  // namespace

zvParserException::zvParserException(std::uint32_t id, const misc::zvException* previous)
    : zvExceptionOf(id, misc::FindMessage(kParserRows, id, misc::kUnknownError), previous) {}

zvParserException::zvParserException(std::uint32_t id, std::wstring text,
                                     const misc::zvException* previous)
    : zvExceptionOf(id, std::move(text), previous) {}

misc::zvMessageTable zvParserException::Table() noexcept {
  return kParserRows;
}

zvSTLParserException::zvSTLParserException(std::uint32_t id, const misc::zvException* previous)
    : zvExceptionOf(id, misc::FindMessage(kStlRows, id, misc::kUnknownError), previous) {}

misc::zvMessageTable zvSTLParserException::Table() noexcept {
  return kStlRows;
}

}  // namespace cadcam
