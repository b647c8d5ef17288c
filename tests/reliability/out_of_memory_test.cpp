// Each request for memory that the library makes fails once, alone and with all that follow: what
// was asked for then ends in the error for it, leaves nothing half done, and works when it is asked
// for again.
#include <kandrel/cadcam/stl/stl_reader.h>
#include <kandrel/cadcam/stl/stl_writer.h>
#include <kandrel/cadcam/tools/tool_mesh.h>
#include <kandrel/cadcam/tools/tool_types.h>
#include <kandrel/kintree/geometry.h>
#include <kandrel/kintree/machine_file_writer.h>
#include <kandrel/misc/pack/compressed_streams.h>
#include <kandrel/persistence/log_file.h>
#include <kandrel/persistence/post_types_writer.h>
#include <kandrel/persistence/settings_file.h>
#include <kandrel/post/creators/posting_facade.h>
#include <tests/kintree/machine_files.h>
#include <tests/support/every_creator.h>
#include <tests/support/memory_streams.h>
#include <tests/support/memory_watch.h>
#include <tests/support/scratch_folder.h>

#include <set>

namespace tests {
namespace {

using post::zvPathTolerance;

// Whether the failure is for want of memory, by the last of its causes. A file that the C library
// has no memory to open has failed to open, and a wide stream has no better way to tell of its
// buffer; bzip2 has its own text.
bool IsForMemory(const misc::zvException& e) {
  const std::wstring text = e.GetCauses().empty() ? e.GetMessage() : e.GetCauses().back().second;
  return text == L"Failed to allocate memory" || text == L"Memory error!" ||
         text == L"Unexpected end of input stream!" || text.starts_with(L"File open failed.") ||
         e.GetMessage().starts_with(L"File open failed.");
}

// Tells what an attempt has come to, when memory is there again.
using Result = std::function<std::string()>;

// `look` is called when an attempt has failed.
void ExpectAllOrNothing(
    const std::function<Result()>& attempt, const std::function<void()>& look = [] {}) {
  const auto work = [&] { return attempt()(); };
  work();  // what stays for all is there from now on
  const std::string whole = work();
  ASSERT_FALSE(whole.empty());
  for (const bool lasts : {false, true}) {
    int failures = 0;
    for (std::uint64_t requests = 0;; ++requests) {
      SCOPED_TRACE((lasts ? "all from request " : "request ") + std::to_string(requests));
      Result got;
      bool hasFailed = true;
      bool isForMemory = true;
      std::string text;
      bool hasStruck = false;
      {
        MemoryFailure failure(requests, lasts);
        try {
          got = attempt();
          hasFailed = false;
        } catch (const std::bad_alloc&) {
        } catch (const misc::zvException& e) {
          hasStruck = failure.Ends();
          isForMemory = IsForMemory(e);
          if (!isForMemory) text = e.what();
        }
        hasStruck |= failure.Ends();
      }
      if (hasFailed) {
        ++failures;
        EXPECT_TRUE(isForMemory) << text;
        look();
        ASSERT_EQ(work(), whole);
      } else {
        ASSERT_EQ(got(), whole);
      }
      if (!hasStruck) break;
    }
    EXPECT_GT(failures, 1) << lasts;
  }
}

template <class List>
std::string Record(const List& list) {
  MemoryOutput out;
  post::zvBOPostTypes(out).Write(list);
  return out.GetBytes();
}

template <class C>
struct Postings : testing::Test, Workshop<C> {};
TYPED_TEST_SUITE(Postings, EveryCreator);

TYPED_TEST(Postings, OfOneCreator) {
  this->par.SetLimitsCheck(post::zvKDRParam::checkAllAxes);
  this->par.SetAlignToolpath(true);
  const auto path = this->Path(40, 9);
  for (const bool isSmall : {false, true})
    for (const bool isHeld : {false, true}) {
      TypeParam creator = this->Creator();
      if (isHeld) creator.SetPathTolerance(zvPathTolerance{0.01, 0.1});
      SCOPED_TRACE(std::to_string(isSmall) + std::to_string(isHeld));
      ExpectAllOrNothing([&]() -> Result {
        creator.Post(path, isSmall);
        return [&] { return Record(creator.GetPostedList()); };
      });
    }
}

TYPED_TEST(Postings, OfAFacade) {
  zvKDR5AxBase facade(this->machDef, this->control, this->par, this->origin, 100);
  const auto path = this->Path(10, 9);
  ExpectAllOrNothing([&]() -> Result {
    const post::zvPostedTP& posted = facade.Post(path);
    return [&] { return Record(posted); };
  });
}

using Shop = Workshop<zvPosted5axTPCreator>;

struct Files : testing::Test {
  // The names of the files of the folder.
  std::set<std::string> Names() const {
    std::set<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder.Path("")))
      names.insert(entry.path().filename().string());
    return names;
  }
  std::function<void()> LooksForNewFiles() {
    return [this, names = Names()] { EXPECT_EQ(Names(), names); };
  }
  const ScratchFolder folder;
};

TEST_F(Files, Logs) {
  const Shop shop;
  const auto creator = misc::MakeAutoPointer<zvPosted5axTPCreator>(shop.machDef, shop.control,
                                                                   shop.par, shop.origin, 100);
  const auto path = Shop::Path(5, 9);
  creator->Post(path, false);
  const auto tool = cadcam::FindToolType("zvBullMill")->makeDefault();
  const std::wstring name = folder.WidePath("log");
  const auto write = [&]() -> Result {
    zvKDROutput(name, zvKDROutput::CreatorPointer(creator), path, *tool);
    return [&] { return FileText(folder.Path("log")); };
  };
  const auto read = [&]() -> Result {
    const zvKDRInput log(name);
    MemoryOutput out;
    zvKDROutput(out, log.GetPostedTPCreator(), *log.GetToolPathPtr(), *log.GetTool());
    return [bytes = out.GetBytes()] { return bytes; };
  };
  ExpectAllOrNothing(write);
  ExpectAllOrNothing(read);
}

TEST_F(Files, PackedBytes) {
  const std::wstring name = folder.WidePath("packed");
  const std::string plain(100, 'x');
  for (const bool useBzip2 : {false, true})
    ExpectAllOrNothing([&]() -> Result {
      {
        pack::zvCompressedOutputFileStream out(name, useBzip2);
        out.Write(plain.data(), plain.size());
        out.Close();
      }
      std::string bytes(plain.size(), ' ');
      misc::zvStreamSize size = bytes.size();
      pack::zvCompressedInputFileStream(name).Read(bytes.data(), size);
      return [=] { return bytes; };
    });
}

// What is not told in the file is told by the names and numbers of what was read.
TEST_F(Files, Machines) {
  WriteFile(folder.Path("b.stl"), TwoTriangles());
  const std::string bytes = FileText(KANDREL_SOURCE_DIR "/fuzz/corpus/machine_file/whole");
  const std::wstring name = folder.WidePath("m.xml");
  const kintree::zvV2XMLReader reader(name);
  const Reports reports;
  ExpectAllOrNothing([&]() -> Result {
    const auto machine = reader.ReadBytes(bytes, nullptr);
    return [=] {
      const auto& base = As<kintree::mkdPolygonalGeometry>(machine, L"base");
      EXPECT_EQ(base.GetMesh()->GetTriangles().size(), 2u);
      return Nested(machine) + kintree::zvV2XMLWriter(*machine, name).GetBytes();
    };
  });
  const auto machine = reader.ReadBytes(bytes, nullptr);
  std::filesystem::create_directory(folder.Path("there"));
  const kintree::zvV2XMLWriter writer(*machine, folder.WidePath("there/m.xml"));
  ExpectAllOrNothing([&]() -> Result {
    writer.Write();
    return
        [&] { return FileText(folder.Path("there/m.xml")) + FileText(folder.Path("there/b.stl")); };
  });
}

TEST_F(Files, Settings) {
  WriteFile(folder.Path("settings"),
            FileText(KANDREL_SOURCE_DIR "/fuzz/corpus/settings_file/axes5"));
  ExpectAllOrNothing([&]() -> Result {
    const zvKDSInput in(folder.WidePath("settings"));
    zvKDSOutput(folder.WidePath("again"), in.GetMachDefBld());
    return [&] { return FileText(folder.Path("again")); };
  });
}

// A mesh that is read keeps what it had when reading fails; a file likewise.
TEST_F(Files, Meshes) {
  WriteFile(folder.Path("binary"), TwoTriangles());
  WriteFile(folder.Path("text"),
            FileText(KANDREL_SOURCE_DIR "/fuzz/corpus/stl/text_double").substr(1));
  for (const char* name : {"binary", "text"}) {
    SCOPED_TRACE(name);
    cadcam::zvTMesh<float> mesh;
    const std::string out = folder.Path("out");
    WriteFile(out, "");
    ExpectAllOrNothing(
        [&]() -> Result {
          LoadSTL(folder.WidePath(name), mesh);
          WriteText(misc::FromUtf8(out), mesh);
          return [&] { return FileText(out); };
        },
        LooksForNewFiles());
  }
}

// A copy that fails leaves the tree moving as it did.
TEST(OutOfMemoryOf, CopiesOfTrees) {
  kintree::mkdKinematicTree tree;
  const auto x = Slide(L"X"), y = Slide(L"Y");
  const auto body = Body(L"body");
  tree.Add(x, nullptr);
  tree.Add(y, x.Get());
  tree.Add(body, y.Get());
  ExpectAllOrNothing([&]() -> Result {
    const kintree::mkdKinematicTree copy(tree);
    return [&] {
      x->SetValue(x->GetValue() + 1);
      EXPECT_EQ(Apply(body->GetWorldTransform(), {}), Point(x->GetValue(), 0, 0));
      return std::string("moved");
    };
  });
}

TEST(OutOfMemoryOf, ToolMeshes) {
  for (const char* type : {"zvBullMill", "zvDrill", "zvLolMill"}) {
    const auto tool = cadcam::FindToolType(type)->makeDefault();
    ExpectAllOrNothing([&]() -> Result {
      cadcam::zvToolMeshCreator<float> creator(cadcam::zvToolMeshRules{});
      tool->AcceptVisitor(static_cast<cadcam::zvToolBranchVisitor&>(creator));
      MemoryOutput out;
      WriteBinary(out, creator.GetMesh(0));
      WriteBinary(out, creator.GetMesh(1));
      return [bytes = out.GetBytes()] { return bytes; };
    });
  }
}

}  // namespace
}  // namespace tests
