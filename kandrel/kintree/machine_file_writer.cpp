#include <kandrel/cadcam/stl/stl_writer.h>
#include <kandrel/kintree/detail/machine_file_schema.h>
#include <kandrel/kintree/detail/machine_file_values.h>
#include <kandrel/kintree/detail/tree_fill_visitor.h>
#include <kandrel/kintree/kintree_exception.h>
#include <kandrel/kintree/machine_file_writer.h>
#include <kandrel/misc/byte_files.h>
#include <kandrel/misc/misc_exception.h>
#include <kandrel/misc/text.h>

#include <algorithm>
#include <cmath>
#include <vector>

namespace kintree {

using namespace detail;
using exceptions::zvFileAccessException;

namespace {

// A file of one triangle would be taken for a text.
constexpr std::size_t kFewestInBinary = 2;
constexpr std::size_t kCopyBlock = 65536;

template <class Action>
void Accessing(const std::wstring& path, zvFileAccessException::Access access,
               const Action& action) {
  try {
    action();
  } catch (const misc::zvException& e) {
    throw zvFileAccessException(path, access, &e);
  }
}

void WriteBytes(const std::wstring& path, const std::string& bytes) {
  Accessing(path, zvFileAccessException::kWrite, [&] {
    misc::zvBinOutputFile file(path);
    file.Write(bytes.data(), bytes.size());
    file.Commit();
  });
}

void Copy(const std::wstring& from, const std::wstring& to) {
  misc::zvFile source = misc::OpenToRead(from);
  if (source == nullptr) throw zvFileAccessException(from, zvFileAccessException::kOpen);
  std::vector<char> block(kCopyBlock);
  Accessing(to, zvFileAccessException::kWrite, [&] {
    misc::zvBinOutputFile target(to);
    while (const std::size_t size = std::fread(block.data(), 1, block.size(), source.get()))
      target.Write(block.data(), size);
    if (std::ferror(source.get()) != 0)
      throw zvFileAccessException(from, zvFileAccessException::kRead);
    target.Commit();
  });
}

// Never over a file that is there: it may be the source, or another of the same name.
void BringFiles(const zvKintreeMachDef& machine, const std::wstring& folder) {
  for (const std::wstring& file : machine.GetFiles()) {
    const std::wstring name = NamePart(file);
    if (name.empty() || !IsFile(file)) continue;
    std::wstring target = folder;
    (target += L'/') += name;
    if (!IsThere(target)) Copy(file, target);
  }
}

void WriteMesh(const XML2TreeFillVisitor::WrittenMesh& written) {
  if (IsThere(written.path)) return;
  Accessing(written.path, zvFileAccessException::kWrite, [&] {
    if (written.mesh->GetTriangles().size() < kFewestInBinary)
      cadcam::WriteText(written.path, *written.mesh);
    else
      cadcam::WriteBinary(written.path, *written.mesh);
  });
}

void AddMachineData(const zvKintreeMachDef& machine, const XmlElement& root) {
  using enum MachineDataAttribute;
  const float newest = std::max(machine.GetVersion(), machine.GetWriterVersion());
  if (!std::isfinite(newest)) throw misc::zvmiscException(misc::zvmiscException::kNoNumber);
  const bool isInch = machine.GetUnits() == measures::zvUnitsFactory::inch;
  const XmlElement element = root.Add(kMachineData);
  element.Set(NameOf(name), machine.GetName());
  element.Set(NameOf(version), misc::ToFixedText(newest, 1));
  element.Set(NameOf(units), isInch ? kInch : kMetric);
}

void AddPreprocessors(const zvKintreeMachDef& machine, const XmlElement& root) {
  using enum PreprocessorAttribute;
  for (const zvPreprocessor& preprocessor : machine.GetPreprocessors()) {
    const XmlElement element = root.Add(kPreprocessor);
    element.Set(NameOf(fileName), NamePart(preprocessor.fileName));
    element.Set(NameOf(instance), preprocessor.instanceName);
  }
}

// A name with a comma would fall apart.
std::wstring Joined(const std::vector<std::wstring>& names) {
  std::wstring list;
  for (const std::wstring& name : names) {
    if (!list.empty()) list += L',';
    const bool isPlain = name.find(L',') == std::wstring::npos;
    list += isPlain ? name : L'"' + name + L'"';
  }
  return list;
}

const char* IsDynamic(const zvCollisionGroup& group) {
  switch (group.kind) {
    case zvCollisionGroup::isStatic:
      return kFalse;
    case zvCollisionGroup::isDynamic:
      return kTrue;
  }
  throw misc::zvException(0, L"Undefined implementation of collision group type! ");
}

void AddCollisionChecks(const zvKintreeMachDef& machine, const XmlElement& root) {
  using enum CollisionAttribute;
  for (const auto& [identifier, check] : machine.GetCollisionChecks()) {
    const XmlElement element = root.Add(kCollisionCheck);
    element.Set(NameOf(id), identifier);
    element.Set(NameOf(name), check.name.empty() ? identifier : check.name);
    element.Set(NameOf(group1), Joined(check.first.names));
    element.Set(NameOf(dynamic1), IsDynamic(check.first));
    element.Set(NameOf(dynamic2), IsDynamic(check.second));
    element.Set(NameOf(active), kTrue);
    element.Set(NameOf(group2), Joined(check.second.names));
  }
}

struct Content {
  std::string bytes;
  std::vector<XML2TreeFillVisitor::WrittenMesh> meshes;
};

Content ContentOf(const zvKintreeMachDef& machine, const std::wstring& path) {
  XmlDocument document;
  const XmlElement root = document.Add(kRoot);
  AddMachineData(machine, root);
  AddPreprocessors(machine, root);
  XML2TreeFillVisitor visitor(machine, path, root);
  visitor.Fill();
  AddCollisionChecks(machine, root);
  return {document.GetBytes(), visitor.GetMeshes()};
}

}  // namespace

zvV2XMLWriter::zvV2XMLWriter(const zvKintreeMachDef& machine, const std::wstring& path)
    : m_machine(machine), m_path(path) {}

void zvV2XMLWriter::Write() const {
  const Content content = ContentOf(m_machine, m_path);
  BringFiles(m_machine, FolderOf(m_path));
  for (const XML2TreeFillVisitor::WrittenMesh& mesh : content.meshes) WriteMesh(mesh);
  WriteBytes(m_path, content.bytes);
}

std::string zvV2XMLWriter::GetBytes() const {
  return ContentOf(m_machine, m_path).bytes;
}

}  // namespace kintree
