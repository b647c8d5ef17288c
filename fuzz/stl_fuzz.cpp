// LoadSTL on any bytes, of either form, into floats or doubles by the first of them. What it
// accepts, written and read again, is the same mesh.
#include <kandrel/cadcam/stl/stl_reader.h>
#include <kandrel/cadcam/stl/stl_writer.h>
#include <kandrel/misc/exception.h>
#include <tests/support/memory_streams.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <type_traits>

namespace {

using cadcam::zvSTLForm;
using cadcam::zvTMesh;

template <class T>
void ExpectSame(const zvTMesh<T>& mesh, const std::string& written, zvSTLForm form) {
  tests::MemoryInput in(written);
  zvTMesh<T> again;
  if (LoadSTL(in, written.size(), again) != form) std::abort();
  if (!std::ranges::equal(again.GetVertices(), mesh.GetVertices())) std::abort();
  if (!std::ranges::equal(again.GetTriangles(), mesh.GetTriangles())) std::abort();
}

template <class T>
void Read(const std::uint8_t* data, std::size_t size) {
  tests::MemoryInput in(data, size);
  zvTMesh<T> mesh;
  try {
    LoadSTL(in, size, mesh);
  } catch (const misc::zvException&) {
    return;  // refused, which is what most inputs are for
  }
  tests::MemoryOutput text, binary;
  WriteText(text, mesh);
  ExpectSame(mesh, text.GetBytes(), zvSTLForm::text);
  // Shorter ones count as texts, and doubles have no such form.
  if (!std::is_same_v<T, float> || mesh.GetTriangles().size() < 2) return;
  WriteBinary(binary, mesh);
  ExpectSame(mesh, binary.GetBytes(), zvSTLForm::binary);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  data[0] % 2 == 0 ? Read<float>(data + 1, size - 1) : Read<double>(data + 1, size - 1);
  return 0;
}
