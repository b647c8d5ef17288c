// Making the mesh of a tool against writing it as an STL file, into memory and to disk.
#include <kandrel/cadcam/stl/stl_writer.h>
#include <kandrel/cadcam/tools/mills.h>
#include <kandrel/cadcam/tools/tool_mesh.h>
#include <kandrel/misc/text.h>
#include <unistd.h>

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "bench/suites.h"
#include "bench/support.h"

namespace bench {

namespace {

// A tool with arcs, arbor and holder: what a machine's tool change loads.
constexpr int kMeshesAtOnce = 100;
constexpr float kTolerance = 0.01f;

class BytesInMemory : public misc::zvBinOutputStream {
 public:
  void Write(const void* buffer, const misc::zvStreamSize& size) override {
    const auto* const bytes = static_cast<const unsigned char*>(buffer);
    m_bytes.insert(m_bytes.end(), bytes, bytes + size);
  }
  const void* Data() const { return m_bytes.data(); }

 private:
  std::vector<unsigned char> m_bytes;
};

cadcam::zvTMesh<float> MakeMesh() {
  const cadcam::zvBarrelMill tool;
  cadcam::zvToolMeshCreator<float> creator(kTolerance, 0, cadcam::kAllToolMeshParts);
  tool.AcceptVisitor(static_cast<cadcam::zvToolBranchVisitor&>(creator));
  cadcam::zvTMesh<float> all(tool.GetUnits());
  for (int part = cadcam::cuttingPart; part <= cadcam::holderPart; ++part)
    all.Merge(creator.GetMesh(part));
  return all;
}

}  // namespace

void AddToolMesh(Suite& suite) {
  const auto mesh = std::make_shared<cadcam::zvTMesh<float>>(MakeMesh());
  const double triangles = kMeshesAtOnce * static_cast<double>(mesh->GetTriangles().size());
  const std::string path = std::filesystem::temp_directory_path() /
                           ("kandrel_bench." + std::to_string(getpid()) + ".tool.stl");
  suite.cases.push_back({"tool_mesh/make", triangles, [] {
                           for (int i = 0; i < kMeshesAtOnce; ++i)
                             Keep(MakeMesh().GetTriangles().data());
                         }});
  suite.cases.push_back({"tool_mesh/write_to_memory", triangles, [mesh] {
                           for (int i = 0; i < kMeshesAtOnce; ++i) {
                             BytesInMemory bytes;
                             cadcam::WriteBinary(bytes, *mesh);
                             Keep(bytes.Data());
                           }
                         }});
  suite.cases.push_back({"tool_mesh/write", triangles, [mesh, path] {
                           for (int i = 0; i < kMeshesAtOnce; ++i)
                             cadcam::WriteBinary(misc::FromUtf8(path), *mesh);
                           std::filesystem::remove(path);
                         }});
  suite.goals.push_back({"the mesh of a tool at 0.01 mm over writing it as STL", "tool_mesh/make",
                         "tool_mesh/write", 1.0});
}

}  // namespace bench
