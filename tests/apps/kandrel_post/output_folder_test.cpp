#include <kandrel-post/output_folder.h>

#include "support.h"

namespace {

namespace fs = std::filesystem;
using kandrel_post::OutputFolder;

std::size_t EntriesIn(const std::string& folder) {
  return static_cast<std::size_t>(
      std::distance(fs::directory_iterator(folder), fs::directory_iterator()));
}

TEST(OutputFolder, ReplacesFilesOnlyAtTheCommit) {
  const tests::ScratchFolder scratch;
  std::ofstream(scratch.Path("a")) << "old";
  {
    OutputFolder folder(scratch.Path("."));
    folder.Create("a").Put("new");
    folder.Create("b").Put(std::string(200000, 'b'));
    EXPECT_EQ(tests::FileText(scratch.Path("a")), "old");
    EXPECT_FALSE(fs::exists(scratch.Path("b")));
    folder.Commit();
  }
  EXPECT_EQ(tests::FileText(scratch.Path("a")), "new");
  EXPECT_EQ(tests::FileText(scratch.Path("b")), std::string(200000, 'b'));
  EXPECT_EQ(EntriesIn(scratch.Path(".")), 2u);
}

TEST(OutputFolder, LeavesNothingWithoutACommit) {
  const tests::ScratchFolder scratch;
  {
    OutputFolder folder(scratch.Path("made/for/this/"));
    folder.Create("a").Put("new");
    EXPECT_TRUE(fs::is_directory(scratch.Path("made/for/this")));
  }
  EXPECT_EQ(EntriesIn(scratch.Path(".")), 0u);
}

TEST(OutputFolder, RefusesWhatIsNoFolderOrNoFile) {
  const tests::ScratchFolder scratch;
  std::ofstream(scratch.Path("file")) << "text";
  EXPECT_NE(tests::FailureText([&] { OutputFolder folder(scratch.Path("file")); }), "");
  EXPECT_NE(tests::FailureText([&] { OutputFolder folder(scratch.Path("file/below")); }), "");
  EXPECT_NE(tests::FailureText([&] {
              OutputFolder folder(scratch.Path("."));
              fs::create_directory(scratch.Path("taken"));
              folder.Create("a").Put("text");
              folder.Create("taken");
            }),
            "");
  EXPECT_EQ(EntriesIn(scratch.Path(".")), 2u);
  EXPECT_EQ(tests::FileText(scratch.Path("file")), "text");
}

TEST(TextSink, FailsWhenTheSystemTakesNothing) {
  std::FILE* const full = std::fopen("/dev/full", "w");
  ASSERT_NE(full, nullptr);
  kandrel_post::TextSink sink(::fileno(full), "full");
  sink.Put("text");
  EXPECT_TRUE(tests::FailureText([&] { sink.Flush(); }).starts_with("full: cannot be written"));
  std::fclose(full);
}

}  // namespace
