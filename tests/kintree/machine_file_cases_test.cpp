// The cases of machine_file_cases.txt, a line each.
#include <tests/kintree/machine_files.h>

#include <regex>

namespace tests {
namespace {

using kintree::mkdAxis;

constexpr const wchar_t* kNotPlaced =
    L"Coordinate transformation matrix contains more than rotations or/and "
    L"transformations.\nIdentity matrix will be used by default.";
constexpr const wchar_t* kNot16 =
    L"Coordinate transformation matrix does not conform 4x4 requirement.\nIdentity matrix will be "
    L"considered by default.";

// What the cases leave out where it stands.
const std::pair<const char*, const char*> kAbbreviations[] = {
    {" minvalue='-1000' maxvalue='1000'", ""},
    {" type='translation' x='1' y='0' z='0'", ""},
    {" valuetype='cont'", ""},
    {" initialvalue='1,0,0,0,0,1,0,0,0,0,1,0,0,0,0,1'", ""},
    {" clrr='1' clrg='0' clrb='0'", ""},
    {" alpha='0' reflectivity='0' reflectivityBitmapFileName=''", ""},
    {" geo=''", ""},
    {"<machine_data name='' version='1.4' units='metric'/>", ""},
    {"cuttr='1' cuttg='0.50196081' cuttb='0' noncuttr='0.5' noncuttg='0.5' noncuttb='0.5' "
     "arborr='0.75294119' arborg='0' arborb='0' holderr='0' holderg='1' holderb='1'",
     "@parts"}};

std::string Replaced(std::string text, const std::string& from, const std::string& to) {
  for (std::size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += to.size())
    text.replace(at, from.size(), to);
  return text;
}

// A machine as it is written, without the frame, line ends and zeros of decimals, and with single
// quotes; then the axes that don't stand at 0.
std::string InShort(const kintree::zvKintreeMachDef& machine) {
  std::string text = kintree::zvV2XMLWriter(machine, L"/nowhere/out.xml").GetBytes();
  text = Replaced(text, "\"", "'");
  for (const auto& [what, by] : std::initializer_list<std::pair<const char*, const char*>>{
           {"\n *", ""},
           {"<.xml[^>]*>|</?machine_definition/?>", ""},
           {R"((\d\.\d*?)0+(?=[',]))", "$1"},
           {R"((\d)\.(?=[',]))", "$1"}})
    text = std::regex_replace(text, std::regex(what), by);
  for (const auto& [full, brief] : kAbbreviations) text = Replaced(text, full, brief);
  for (const auto& [name, entry] : machine.GetObjectMap()) {
    const auto* axis = dynamic_cast<const mkdAxis*>(entry.object.Get());
    if (axis != nullptr && axis->GetValue() != 0)
      text += ' ' + misc::ToUtf8(name) + '=' + misc::ToText(axis->GetValue());
  }
  return text;
}

std::string ReadInShort(const std::string& body, const std::string& data) {
  const Reports reports;
  std::string text = InShort(*ReadBody(body, data));
  for (const std::wstring& report : reports.Get()) {
    const bool isGone =
        report.starts_with(L"The file '/") && report.ends_with(L"has no triangles.");
    text += isGone ? " ~gone" : report == kNot16 ? " ~16" : " ~placed";
    EXPECT_TRUE(isGone || report == kNot16 || report == kNotPlaced) << misc::ToUtf8(report);
  }
  return text;
}

// What failed, as the cases have it. Each failure in an element is told with the element.
std::string FailureInShort(const std::string& body, const std::string& data) {
  try {
    return ReadInShort(body, data);
  } catch (const exceptions::zvKintreeMachDefSemanticException& e) {
    const std::string message = misc::ToUtf8(e.GetMessage());
    std::smatch parts;
    const std::regex form(R"(Semantic error in element <(\w+)>, ID - " (.*?) " : ([^]*) )");
    // A second cause says which attribute.
    const std::size_t causes = e.GetCauses().size();
    if (causes < 1 || causes > 2 || !std::regex_match(message, parts, form)) return message;
    const auto& [id, cause] = e.GetCauses()[0];
    if (e.GetId() != 0 || misc::ToUtf8(cause) != parts[3]) return message;
    const std::string identifier = parts[2].length() == 0 ? "-" : parts[2].str();
    return "! " + parts[1].str() + ' ' + identifier + ' ' + std::to_string(id) + ' ' +
           parts[3].str();
  }
}

TEST(MachineFileCases, AreReadAndWrittenSo) {
  const auto check = [](std::string body, std::string wanted) {
    std::string data = "version='1.4' units='metric'";
    if (const std::size_t end = body.find('}'); body.starts_with('{')) {
      data = body.substr(1, end - 1);
      body.erase(0, end + 1);
    }
    body = Replaced(body, "@x", "x='1' y='0' z='0'");
    body = Replaced(body, "@red", "clrr='1' clrg='0' clrb='0'");
    wanted = Replaced(wanted, "@number", "Conversion from string to value failed.");
    if (wanted.ends_with(" @")) wanted.pop_back();
    EXPECT_EQ(FailureInShort(body, data), wanted);
  };
  EXPECT_GT(ForEachCase("machine_file_cases.txt", check), 70);
}

}  // namespace
}  // namespace tests
