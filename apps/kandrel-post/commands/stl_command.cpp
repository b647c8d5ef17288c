#include <fmt/format.h>
#include <kandrel/cadcam/stl/stl_reader.h>
#include <kandrel/misc/text.h>
#include <unistd.h>

#include <optional>
#include <string>

#include "kandrel-post/commands/commands.h"
#include "kandrel-post/host/errors.h"
#include "kandrel-post/host/progress.h"
#include "kandrel-post/out/stl_output.h"
#include "kandrel-post/out/text_sink.h"

namespace kandrel_post {

namespace {

using cadcam::zvSTLForm;
using cadcam::zvTMesh;

template <class T>
zvSTLForm Load(const std::string& file, zvTMesh<T>& mesh) {
  return NamingFile(file, [&] { return LoadSTL(misc::FromUtf8(file), mesh); });
}

std::string Corner(const cadcam::zvTPoint3d<float>& p) {
  return fmt::format("[{}, {}, {}]", p.x + 0, p.y + 0, p.z + 0);  // -0 is 0
}

std::string InWords(const zvTMesh<float>& mesh, const char* form) {
  std::string text =
      fmt::format("form       {}\ntriangles  {}\n", form, mesh.GetTriangles().size());
  for (int axis = 0; axis < 3 && !mesh.IsEmpty(); ++axis)
    text += fmt::format("{}          {} to {}\n", "XYZ"[axis], mesh.GetMinimum()[axis] + 0,
                        mesh.GetMaximum()[axis] + 0);
  return text;
}

std::string AsJson(const zvTMesh<float>& mesh, const char* form) {
  const bool isEmpty = mesh.IsEmpty();
  return fmt::format("{{\"form\": \"{}\", \"triangles\": {}, \"min\": {}, \"max\": {}}}\n", form,
                     mesh.GetTriangles().size(), isEmpty ? "null" : Corner(mesh.GetMinimum()),
                     isEmpty ? "null" : Corner(mesh.GetMaximum()));
}

}  // namespace

void ShowSTL(const std::string& file, bool json) {
  Progress progress;
  progress.Stage("reading");
  zvTMesh<float> mesh;
  const char* const form = Load(file, mesh) == zvSTLForm::text ? "text" : "binary";
  progress.Stop();
  TextSink out(STDOUT_FILENO, "standard output");
  out.Put(json ? AsJson(mesh, form) : InWords(mesh, form));
  out.Flush();
}

void ConvertSTL(const std::string& in, const std::string& out, std::optional<bool> toText) {
  Progress progress;
  progress.Stage("reading");
  zvTMesh<float> mesh;
  const zvSTLForm from = Load(in, mesh);
  const zvSTLForm to = !toText ? from : *toText ? zvSTLForm::text : zvSTLForm::binary;
  if (from == zvSTLForm::binary || to == zvSTLForm::binary) {
    progress.Stage("writing");
    return WriteMesh(out, mesh, to);
  }
  // A text may have more digits than a float keeps.
  zvTMesh<double> fine;
  Load(in, fine);
  progress.Stage("writing");
  WriteMesh(out, fine, to);
}

}  // namespace kandrel_post
