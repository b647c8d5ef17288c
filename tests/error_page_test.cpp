// Holds docs/errors.md against the exception classes: each has its section, with all its ids and
// texts and no others.
#include <kandrel/cadcam/cadcam_exception.h>
#include <kandrel/cadcam/stl_parser_exception.h>
#include <kandrel/cadcam/tool_approximation_exception.h>
#include <kandrel/kintree/kintree_exception.h>
#include <kandrel/misc/math_exception.h>
#include <kandrel/misc/mathdef_exception.h>
#include <kandrel/misc/misc_exception.h>
#include <kandrel/misc/text.h>
#include <kandrel/misc/units_factory.h>
#include <kandrel/post/model/post_exception.h>
#include <tests/support/testing.h>

#include <cctype>
#include <fstream>
#include <map>

namespace {

using Rows = std::vector<std::string>;

// As the page has a row: one line, without blanks at its ends.
std::string Row(std::uint32_t id, const std::wstring& message) {
  std::string text = misc::ToUtf8(message);
  for (std::size_t at = 0; (at = text.find('\n', at)) != std::string::npos;)
    text.replace(at, 1, "\\n");
  text.erase(text.find_last_not_of(' ') + 1);
  return std::to_string(id) + " | " + text;
}

template <class E>
Rows RowsOf() {
  Rows rows;
  for (const misc::zvMessageRow& row : E::Table()) rows.push_back(Row(row.id, row.text));
  return rows;
}

// Of each section its rows, up to the text.
std::map<std::string, Rows> ReadPage() {
  std::ifstream page(KANDREL_SOURCE_DIR "/docs/errors.md");
  EXPECT_TRUE(page);
  std::map<std::string, Rows> sections;
  std::string section;
  for (std::string line; std::getline(page, line);) {
    if (line.starts_with("## ")) section = line.substr(3);
    if (line.size() < 3 || line[0] != '|' || !std::isdigit(static_cast<unsigned char>(line[2])))
      continue;
    const std::size_t end = line.find(" | ", line.find(" | ") + 3);
    sections[section].push_back(line.substr(2, end - 2));
  }
  return sections;
}

TEST(ErrorPage, HasEachClassWithItsIdsAndTexts) {
  std::map<std::string, Rows> expected = {
      {"post::zvPostException", RowsOf<post::zvPostException>()},
      {"zvKandrelException", RowsOf<zvKandrelException>()},
      {"cadcam::zvcadcamException", RowsOf<cadcam::zvcadcamException>()},
      {"cadcam::zvSTLParserException", RowsOf<cadcam::zvSTLParserException>()},
      {"cadcam::zvParserException", RowsOf<cadcam::zvParserException>()},
      {"cadcam::zvtoolapproximationException", RowsOf<cadcam::zvtoolapproximationException>()},
      {"misc::zvmiscException", RowsOf<misc::zvmiscException>()},
      {"measures::zvmeasuresException", RowsOf<measures::zvmeasuresException>()},
      {"mathdef::zvMathDefException", RowsOf<mathdef::zvMathDefException>()},
      {"mathdef::zvWMException", RowsOf<mathdef::zvWMException>()}};
  // These have no table: the id is the kind's or the reason.
  for (int kind = 0; kind <= 8; ++kind) {
    const misc::zvMathException e(L"", kind);
    expected["misc::zvMathException"].push_back(Row(e.GetId(), e.GetMessage()));
  }
  for (std::uint32_t reason = 0; reason < 10; ++reason) {
    const kintree::zvMachineSimulatorException e(reason);
    if (e.GetMessage() != misc::kUnknownError)
      expected["kintree::zvMachineSimulatorException"].push_back(Row(reason, e.GetMessage()));
  }
  const std::map<std::string, Rows> page = ReadPage();
  for (const auto& [name, rows] : expected) {
    ASSERT_TRUE(page.contains(name)) << name;
    EXPECT_EQ(page.at(name), rows) << name;
  }
  EXPECT_EQ(page.size(), expected.size());
}

}  // namespace
