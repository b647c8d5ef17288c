#include "kandrel-post/out/stl_output.h"

#include <kandrel/cadcam/stl/stl_writer.h>
#include <kandrel/misc/byte_files.h>
#include <kandrel/misc/text.h>

#include <optional>

#include "kandrel-post/host/errors.h"
#include "kandrel-post/host/signals.h"

namespace kandrel_post {

template <class T>
void WriteMesh(const std::string& file, const cadcam::zvTMesh<T>& mesh, cadcam::zvSTLForm form) {
  NamingFile(file, [&] {
    std::optional<misc::zvBinOutputFile> out;
    std::optional<RemovedBySignal> removed;
    {
      const SignalsHeld held;  // no file without what removes it
      out.emplace(misc::FromUtf8(file));
      removed.emplace(out->GetTemporary());
    }
    form == cadcam::zvSTLForm::text ? WriteText(*out, mesh) : WriteBinary(*out, mesh);
    out->Commit();
  });
}

template void WriteMesh(const std::string&, const cadcam::zvTMesh<float>&, cadcam::zvSTLForm);
template void WriteMesh(const std::string&, const cadcam::zvTMesh<double>&, cadcam::zvSTLForm);

}  // namespace kandrel_post
