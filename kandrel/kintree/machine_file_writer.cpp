#include <kandrel/cadcam/stl/stl_reader.h>
#include <kandrel/cadcam/stl/stl_writer.h>
#include <kandrel/kintree/detail/machine_file_schema.h>
#include <kandrel/kintree/detail/machine_file_values.h>
#include <kandrel/kintree/detail/tree_fill_visitor.h>
#include <kandrel/kintree/kintree_exception.h>
#include <kandrel/kintree/machine_file_writer.h>
#include <kandrel/kintree/message_hook.h>
#include <kandrel/misc/byte_files.h>
#include <kandrel/misc/misc_exception.h>
#include <kandrel/misc/text.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <map>
#include <optional>
#include <set>
#include <utility>
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

void Copy(const std::wstring& from, const std::wstring& to) {
  misc::zvFile source = misc::OpenToRead(from);
  if (source == nullptr) throw zvFileAccessException(from, zvFileAccessException::kOpen);
  std::vector<char> block(kCopyBlock);
  bool isRead = true;
  Accessing(to, zvFileAccessException::kWrite, [&] {
    misc::zvBinOutputFile target(to);
    while (const std::size_t size = std::fread(block.data(), 1, block.size(), source.get()))
      target.Write(block.data(), size);
    isRead = std::ferror(source.get()) == 0;
    if (isRead) target.Commit();
  });
  if (!isRead) throw zvFileAccessException(from, zvFileAccessException::kRead);
}

// False where one of them can't be read: nobody knows then that nothing is lost.
bool HaveSameBytes(const std::wstring& first, const std::wstring& second) {
  const misc::zvFile a = misc::OpenToRead(first), b = misc::OpenToRead(second);
  if (a == nullptr || b == nullptr) return false;
  std::vector<char> fromA(kCopyBlock), fromB(kCopyBlock);
  for (;;) {
    const std::size_t size = std::fread(fromA.data(), 1, kCopyBlock, a.get());
    if (std::fread(fromB.data(), 1, kCopyBlock, b.get()) != size) return false;
    if (!std::equal(fromA.begin(), fromA.begin() + static_cast<std::ptrdiff_t>(size),
                    fromB.begin()))
      return false;
    if (size < kCopyBlock) return std::ferror(a.get()) == 0 && std::ferror(b.get()) == 0;
  }
}

// Corner by corner: a file says nothing of which vertices were one, and its normals may be rounded.
bool IsMeshOfFile(const cadcam::zvTMesh<float>& mesh, const std::wstring& path) {
  cadcam::zvTMesh<float> there(mesh.GetUnits());
  try {
    cadcam::LoadSTL(path, there);
  } catch (const misc::zvException&) {
    return false;
  }
  const auto sameTriangle = [&](const auto& a, const auto& b) {
    for (std::size_t i = 0; i < a.corners.size(); ++i)
      if (!(mesh.GetVertices()[static_cast<std::size_t>(a.corners[i])] ==
            there.GetVertices()[static_cast<std::size_t>(b.corners[i])]))
        return false;
    return true;
  };
  const auto a = mesh.GetTriangles(), b = there.GetTriangles();
  return std::equal(a.begin(), a.end(), b.begin(), b.end(), sameTriangle);
}

// Brings to the folder of the file what the machine is made of. Never over a file that is there: it
// may be the source, or another of the same name. The user is told of each file of the machine
// in whose place another one stays.
class FileBringer {
 public:
  explicit FileBringer(std::wstring folder) : m_folder(std::move(folder)) {}

  void Bring(const std::wstring& source) {
    const std::wstring name = NamePart(source);
    if (name.empty() || !m_brought.insert(source).second) return;
    const std::wstring target = m_folder + L'/' + name;
    if (source == target) return;
    if (!IsThere(target)) {
      if (!IsFile(source))
        return TellUser(
            L"The file '" + source +
            L"' isn't there; the machine file names it without its folder from now on.");
      Copy(source, target);
      m_copies.emplace(target, source);
    } else if (!IsFile(source)) {
      Tell(target, L"the machine is made of '" + source + L"', which isn't there.");
    } else if (!HaveSameBytes(source, target)) {
      Tell(target, L"the machine is made of '" + source + L"', which is another file.");
    }
  }

  void Write(const XML2TreeFillVisitor::WrittenMesh& written) {
    if (IsThere(written.path)) {
      if (m_kept.contains(written.path) || IsMeshOfFile(*written.mesh, written.path)) return;
      // A copy of the body's own file, made just now, gives way to triangles that have become
      // others since they were read: by other units, or cut.
      const auto copy = m_copies.find(written.path);
      if (copy == m_copies.end() || copy->second != written.source)
        return Tell(written.path, L"a body of the machine with this file has other triangles.");
    }
    Accessing(written.path, zvFileAccessException::kWrite, [&] {
      if (written.mesh->GetTriangles().size() < kFewestInBinary)
        cadcam::WriteText(written.path, *written.mesh);
      else
        cadcam::WriteBinary(written.path, *written.mesh);
    });
    m_copies.erase(written.path);
  }

 private:
  void Tell(const std::wstring& kept, const std::wstring& what) {
    m_kept.insert(kept);
    TellUser(L"The file '" + kept + L"' was there and stays, and the machine file names it: " +
             what);
  }

  std::wstring m_folder;
  std::set<std::wstring> m_brought;
  std::map<std::wstring, std::wstring> m_copies;  // to what each was made of
  std::set<std::wstring> m_kept;
};

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

// A name with a comma would fall apart, and one with a quote can't be told at all.
std::wstring Joined(const std::vector<std::wstring>& names) {
  std::wstring list;
  for (const std::wstring& name : names) {
    if (name.find(L'"') != std::wstring::npos)
      throw misc::zvException(0, L"A collision check can't name an object with a quote: " + name);
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
  const std::wstring folder = FolderOf(m_path);
  if (folder.empty()) throw zvFileAccessException(m_path, zvFileAccessException::kWrite);
  // First of all, so that nothing is brought where the file itself can't be written.
  std::optional<misc::zvBinOutputFile> file;
  Accessing(m_path, zvFileAccessException::kWrite, [&] { file.emplace(m_path); });
  FileBringer bringer(folder);
  for (const std::wstring& source : m_machine.GetFiles()) bringer.Bring(source);
  for (const XML2TreeFillVisitor::WrittenMesh& mesh : content.meshes) bringer.Write(mesh);
  Accessing(m_path, zvFileAccessException::kWrite, [&] {
    file->Write(content.bytes.data(), content.bytes.size());
    file->Commit();
  });
}

std::string zvV2XMLWriter::GetBytes() const {
  return ContentOf(m_machine, m_path).bytes;
}

}  // namespace kintree
