#include <kandrel/kintree/detail/machine_interpreter.h>
#include <kandrel/kintree/machine_input.h>
#include <kandrel/kintree/machine_reader.h>
#include <kandrel/misc/platform.h>
#include <kandrel/misc/text.h>
#include <kandrel/persistence/settings_file.h>
#include <kandrel/post/model/mach_def_utils.h>
#include <kandrel/post/model/post_exception.h>

#include <filesystem>
#include <system_error>

namespace {

constexpr int kFromMachineFile = 0;
constexpr int kNamesFromSettings = 1;

std::wstring SettingsPath(const std::wstring& xmlPath) {
  const std::size_t last = xmlPath.find_last_not_of(L"xml");
  const std::size_t kept = last == std::wstring::npos ? 0 : last + 1;
  if (kept == xmlPath.size()) throw zvKandrelException(zvKandrelException::kWrongXml);
  return xmlPath.substr(0, kept) + L"kds";
}

// What is there and can't be read is not passed over: opening it says so.
bool IsThere(const std::wstring& path) {
  std::string bytes;
  if (!misc::ToPathBytes(path, bytes)) return false;
  std::error_code error;
  return misc::platform::KindOfFile(bytes.c_str()) != misc::platform::FileKind::kMissing &&
         !std::filesystem::is_directory(bytes, error);
}

}  // namespace

post::zvMachDefBuilder zvMachDefReader::Read() {
  m_rotAxisFound.clear();
  m_tranAxisFound.clear();
  m_activateSpindleRotation = false;
  m_machine = {};
  m_fileAtEnd = m_path;
  post::zvMachDefBuilder builder;
  const std::wstring settingsPath = SettingsPath(m_path);
  if (IsThere(settingsPath)) {
    m_fileAtEnd = settingsPath;
    const zvKDSInput settings(settingsPath);
    builder = settings.GetMachDefBld();
    m_activateSpindleRotation = settings.ActivateSpindleRotation();
  }
  const int kind = builder.GetKind();
  if (kind != kFromMachineFile && kind != kNamesFromSettings) return builder;
  m_fileAtEnd = m_path;
  std::vector<std::wstring> names;
  zvXMLInputSurround::Point spindle(0, 0, 1);
  if (kind == kNamesFromSettings) {
    names = builder.GetAxisNames();
    spindle = builder.GetMachDef()->GetSpindleDirection();
  }
  zvXMLInputSurround input(m_path, names, spindle);
  builder.SetMachDef(input.GetMachDef());
  if (kind == kFromMachineFile) builder.SetAxisNames(input.GetAxisName());
  m_machine = input.GetMachine();
  m_rotAxisFound = input.GetRotAxisFound();
  m_tranAxisFound = input.GetTranAxisFound();
  if (!m_activateSpindleRotation)
    m_activateSpindleRotation = kintree::detail::HasDirections(input.GetVersion());
  return builder;
}
