// What stands in an output folder when jobs end well, fail and give up.
#include <kandrel-post/out/output_folder.h>

#include <array>
#include <map>

#include "posting_checks.h"

namespace {

namespace fs = std::filesystem;
using Held = std::map<std::string, std::string>;

constexpr std::array<std::string_view, 3> kNames{"a", "b", "c"};

// Texts by name, hidden files too; "/" for a folder.
Held HeldBy(const std::string& folder) {
  Held held;
  for (const auto& entry : fs::directory_iterator(folder))
    held[entry.path().filename().string()] =
        entry.is_directory() ? "/" : tests::FileText(entry.path().string());
  return held;
}

class OutputFolder : public testing::Test {
 protected:
  // Writes the text into files and, after that, does `then`; returns what fails.
  template <class Then>
  std::string Job(const std::string& text, std::initializer_list<std::string_view> files,
                  const Then& then) const {
    return tests::FailureText([&] {
      kandrel_post::OutputFolder folder(m_out, kNames);
      for (const std::string_view file : files) folder.Create(file).Put(text);
      then(folder);
    });
  }

  const tests::ScratchFolder m_scratch;
  const std::string m_out = m_scratch.Path("out");
};

TEST_F(OutputFolder, HoldsTheFilesOfTheLastJobThatWasDoneAndWhatIsNone) {
  const auto commit = [](kandrel_post::OutputFolder& folder) { folder.Commit(); };
  EXPECT_EQ(Job("1", {"a", "b", "c"}, commit), "");
  EXPECT_EQ(HeldBy(m_out), (Held{{"a", "1"}, {"b", "1"}, {"c", "1"}}));
  tests::WriteFile(m_out + "/other", "mine");
  EXPECT_EQ(Job("2", {"b", "a"}, commit), "");
  const Held second{{"a", "2"}, {"b", "2"}, {"other", "mine"}};
  EXPECT_EQ(HeldBy(m_out), second);

  EXPECT_EQ(Job("3", {"b", "c"}, [](auto&) {}), "");
  EXPECT_EQ(HeldBy(m_out), second);
  // Without one of its files it fails when others have their names, and older ones are gone.
  EXPECT_NE(Job("4", {"b", "c"},
                [&](kandrel_post::OutputFolder& folder) {
                  for (const auto& entry : fs::directory_iterator(m_out))
                    if (entry.path().filename().string().starts_with(".c.")) fs::remove(entry);
                  folder.Commit();
                })
                .find("out/c: cannot be made"),
            std::string::npos);
  EXPECT_EQ(HeldBy(m_out), second);
  // A folder that has come in the place of a file is found when others stand aside.
  EXPECT_NE(Job("5", {"a", "b", "c"},
                [&](kandrel_post::OutputFolder& folder) {
                  fs::create_directory(m_out + "/c");
                  folder.Commit();
                })
                .find("out/c: cannot be made"),
            std::string::npos);
  Held held = second;
  held["c"] = "/";
  EXPECT_EQ(HeldBy(m_out), held);
  EXPECT_EQ(Job("6", {"a"}, commit), "");
  EXPECT_EQ(HeldBy(m_out), (Held{{"a", "6"}, {"c", "/"}, {"other", "mine"}}));
  // What stands without the first of the names is no job's.
  fs::remove(m_out + "/a");
  tests::WriteFile(m_out + "/b", "mine");
  EXPECT_EQ(Job("7", {"a"}, commit), "");
  EXPECT_EQ(HeldBy(m_out), (Held{{"a", "7"}, {"b", "mine"}, {"c", "/"}, {"other", "mine"}}));
}

TEST_F(OutputFolder, ShowsOneRun) {
  const std::string post = fmt::format("post -m preset:mill6_cb_w -o {} -t {}", m_out,
                                       tests::SampleFile(m_scratch, "hemisphere_pole"));
  ASSERT_EQ(tests::RunLine(post).exitCode, 0);
  const Held first = HeldBy(m_out);
  EXPECT_GE(first.size(), std::size_t{4});
  ASSERT_EQ(tests::RunLine(post + " --set limitsCheck=3 --origin 5000,0,0 --small").exitCode, 1);
  EXPECT_EQ(HeldBy(m_out), first);
  // Which has no log either.
  ASSERT_EQ(tests::RunLine(post + " --small --no-report").exitCode, 0);
  const Held second = HeldBy(m_out);
  EXPECT_EQ(second.size(), std::size_t{2});
  EXPECT_TRUE(second.contains("posted.csv") && second.contains("posted.nc"));
}

}  // namespace
