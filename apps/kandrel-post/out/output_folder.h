// The files that a job leaves behind: all of them or none.
#pragma once

#include <filesystem>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "kandrel-post/host/signals.h"
#include "kandrel-post/out/text_sink.h"

namespace kandrel_post {

/// Writes files beside their final places under other names and renames them when all are
/// complete. Until then older files of the same names stay as they are; without a Commit nothing is
/// left, not even by a signal that ends the program. All operations fail with error 0.
class OutputFolder {
 public:
  using Names = std::span<const std::string_view>;

  /// Makes the folder where it is missing; one that was made goes again without a Commit. `names`
  /// are files that belong together, and are referred to: where a file of the first name stands,
  /// those of them that this job doesn't make are another job's, and a Commit removes them.
  explicit OutputFolder(const std::string& folder, Names names = {});
  OutputFolder(const OutputFolder&) = delete;
  OutputFolder& operator=(const OutputFolder&) = delete;
  ~OutputFolder();

  /// A new file; the sink lives as long as this object.
  TextSink& Create(std::string_view fileName);

  /// Completes all files and gives them their names. When it fails, older files are there again
  /// as they were.
  void Commit();

 private:
  struct File {
    std::filesystem::path target;
    std::filesystem::path temporary;
    int descriptor;
    std::unique_ptr<RemovedBySignal> removed;
    std::unique_ptr<TextSink> sink;
  };

  bool IsMade(const std::filesystem::path& target) const;

  std::filesystem::path m_folder;
  Names m_names;
  std::filesystem::path m_firstMade;  // the outermost folder made here, empty for none
  std::vector<std::unique_ptr<RemovedBySignal>> m_madeRemoved;  // from the inside out
  std::vector<File> m_files;
  bool m_committed = false;
};

}  // namespace kandrel_post
