// Holds all exception classes of the library to what their family promises, and each table of texts
// to the letters that it had.
#include <kandrel/cadcam/cadcam_exception.h>
#include <kandrel/cadcam/stl_parser_exception.h>
#include <kandrel/cadcam/tool_approximation_exception.h>
#include <kandrel/kintree/kintree_exception.h>
#include <kandrel/misc/final.h>
#include <kandrel/misc/math_exception.h>
#include <kandrel/misc/mathdef_exception.h>
#include <kandrel/misc/misc_exception.h>
#include <kandrel/misc/range_exception.h>
#include <kandrel/misc/text.h>
#include <kandrel/misc/units_factory.h>
#include <kandrel/post/model/post_exception.h>
#include <tests/support/testing.h>

#include <climits>

namespace {

using Causes = std::vector<misc::zvException::Cause>;

// Ids and texts run together by the FNV-1a rule, character by character, each text ended by a zero.
class Digest {
 public:
  void Add(std::uint32_t id, const std::wstring& text) {
    Add(id);
    for (const wchar_t c : text) Add(static_cast<std::uint32_t>(c));
    Add(0);
  }
  std::uint64_t Value() const { return m_value; }

 private:
  void Add(std::uint32_t unit) { m_value = (m_value ^ unit) * 0x100000001B3; }

  std::uint64_t m_value = 0xCBF29CE484222325;
};

// `count` ids have a text of their own; any other keeps its number and has the fallback's text.
template <class E>
void ExpectTexts(std::size_t count, std::uint64_t digest,
                 const std::wstring& fallback = L"Unknown error.") {
  std::vector<std::uint32_t> ids(10000);
  std::iota(ids.begin(), ids.end(), 0u);
  for (const misc::zvMessageRow& row : E::Table()) ids.push_back(row.id + 0x10000);
  ids.insert(ids.end(), {0x80000000, 0xFFFFFFFF});
  std::size_t found = 0;
  Digest texts;
  for (const std::uint32_t id : ids) {
    const E e(id);
    ASSERT_EQ(e.GetId(), id);
    ASSERT_EQ(e.GetDetail(), 0);
    if (e.GetMessage() == fallback) continue;
    ++found;
    texts.Add(id, e.GetMessage());
  }
  EXPECT_EQ(found, count) << typeid(E).name();
  EXPECT_EQ(E::Table().size(), count) << typeid(E).name();
  EXPECT_EQ(texts.Value(), digest) << typeid(E).name() << std::hex << ": 0x" << texts.Value();
}

// `digest` is that of what `make` makes of each of `arguments`.
template <class Make, class Argument>
void ExpectTextsOf(Make make, const std::vector<Argument>& arguments, std::uint64_t digest) {
  Digest texts;
  for (const Argument argument : arguments) {
    const misc::zvException& e = make(argument);
    texts.Add(e.GetId(), e.GetMessage());
  }
  EXPECT_EQ(texts.Value(), digest) << std::hex << ": 0x" << texts.Value();
}

// The texts are the interface, misspellings included. A digest names no letter: who changes a text
// on purpose takes the new digest from the failure.
TEST(ExceptionFamily, EveryClassHasItsTexts) {
  ExpectTexts<misc::zvmiscException>(38, 0x6DF5DA3A62FCFDBA);
  ExpectTexts<mathdef::zvMathDefException>(9, 0x7D057AD79517AA55);
  ExpectTexts<mathdef::zvWMException>(4, 0x2F6835C01E5CDDC2);
  ExpectTexts<measures::zvmeasuresException>(2, 0xD7CCDA090AD01EAC);
  ExpectTexts<cadcam::zvcadcamException>(82, 0xA89892493A941316);
  ExpectTexts<cadcam::zvParserException>(2, 0xA025888B87BB1DD7);
  ExpectTexts<cadcam::zvSTLParserException>(11, 0x2C5EBE068BD6F1B6);
  ExpectTexts<cadcam::zvtoolapproximationException>(2, 0x783CE779BB787E8F);
  ExpectTexts<post::zvPostException>(54, 0x0FDD34A0D0569E89, L"Unknown exception.");
  ExpectTexts<zvKandrelException>(5, 0x99D2F0F46213D096);
  // Of these the id is the kind's, or the reason itself, also where there is no such kind.
  ExpectTextsOf([](int kind) { return misc::zvMathException(L"why", kind); },
                std::vector{0, 1, 2, 3, 4, 5, 6, 7, 8, 9, -1, INT_MIN, INT_MAX},
                0x4931B30331EF8281);
  using kintree::zvMachineSimulatorException;
  const std::vector reasons{0u, 1u, 2u, 3u, 4u, 5u, 6u, 0xFFFFFFFFu};
  ExpectTextsOf([](std::uint32_t reason) { return zvMachineSimulatorException(reason); }, reasons,
                0x7E5BB72843D7EBFE);
  ExpectTextsOf([](std::uint32_t reason) { return zvMachineSimulatorException(reason, L"A"); },
                reasons, 0x6379DA53FA5C8964);
}

// Thrown through its base, `e` arrives as its own class, whole; so does a clone.
template <class E>
void ExpectKeepsItsClass(const E& e, const Causes& causes, int detail = 0) {
  const misc::zvException& base = e;
  EXPECT_EQ(base.GetCauses(), causes) << typeid(E).name();
  EXPECT_EQ(base.GetDetail(), detail) << typeid(E).name();
  const misc::zvAutoPointer<misc::zvException> clone = base.Clone();
  for (const misc::zvException* raised :
       {&base, static_cast<const misc::zvException*>(clone.Get())}) {
    EXPECT_EQ(typeid(*raised), typeid(E));
    try {
      raised->Raise();
    } catch (const misc::zvException& caught) {
      EXPECT_EQ(typeid(caught), typeid(E));
      EXPECT_NE(&caught, raised);
      EXPECT_EQ(caught.GetId(), e.GetId());
      EXPECT_EQ(caught.GetMessage(), e.GetMessage());
      EXPECT_EQ(caught.GetCauses(), causes);
      EXPECT_EQ(caught.GetDetail(), detail);
      EXPECT_EQ(std::string(caught.what()), misc::ToUtf8(e.GetMessage()));
    }
  }
}

TEST(ExceptionFamily, EveryClassCarriesItsCausesAndArrivesAsItself) {
  const misc::zvException inner(9, L"inner");
  const misc::zvException middle(8, L"middle", &inner);
  const misc::zvException cause(7, L"outer", &middle);
  const auto expectAll = [](const auto&... e) {
    (ExpectKeepsItsClass(e, {{7, L"outer"}, {8, L"middle"}, {9, L"inner"}}), ...);
  };
  // clang-format off
  expectAll(
      misc::zvException(1, L"pl\u00e4in", &cause), misc::zvmiscException(2052, &cause), misc::zvmiscException(3600, L"No. 4", &cause),
      mathdef::zvMathDefException(2504, &cause), mathdef::zvWMException(2504, &cause), measures::zvmeasuresException(2141, &cause),
      misc::zvRangeException<double>(1, 2, 3, &cause), misc::zvIdxRangeException<std::uint32_t>(9, 10, &cause),
      misc::zvDiscreteValueException<double>(1.3, &cause), misc::zvMathException(L"why", 7, &cause),
      cadcam::zvcadcamException(2189, &cause), cadcam::zvtoolapproximationException(2176, &cause),
      cadcam::zvParserException(6250, &cause), cadcam::zvSTLParserException(3510, &cause),
      exceptions::zvKintreeException(12, L"plain", &cause), kintree::zvMachineSimulatorException(0, L"A", &cause),
      exceptions::zvKintreeMachDefSemanticException(L"axis", L"B", L"why", 100, &cause),
      post::zvPostException(5002, cause), zvKandrelException(2637, cause));
  // clang-format on
  ExpectKeepsItsClass(exceptions::zvFileAccessException(
                          L"m.xml", exceptions::zvFileAccessException::kWrite, &inner),
                      {{9, L"inner"}}, 2);
  ExpectKeepsItsClass(misc::zvException(0, L"plain", nullptr, 5), {}, 5);
  ExpectKeepsItsClass(misc::zvOutOfMemory(), {});
  ExpectKeepsItsClass(post::zvPostException(5002, -7), {}, -7);
  ExpectKeepsItsClass(zvKandrelException(2637, -7), {}, -7);
}

// Callers may catch one of these for another.
template <class Base, class... E>
constexpr bool kAreCaughtAs = (std::is_convertible_v<E*, Base*> && ...);
static_assert(kAreCaughtAs<std::exception, misc::zvException>);
static_assert(kAreCaughtAs<cadcam::zvParserException, cadcam::zvSTLParserException>);
static_assert(kAreCaughtAs<exceptions::zvKintreeException, exceptions::zvFileAccessException,
                           exceptions::zvKintreeMachDefSemanticException,
                           kintree::zvMachineSimulatorException>);

void Expect(const misc::zvException& e, const wchar_t* text) {
  EXPECT_EQ(e.GetMessage(), text);
  EXPECT_EQ(e.GetId(), 0u);
}

TEST(RangeException, NamesTheValueAndWhatItHadToKeep) {
  const misc::zvRangeException<double> both(-180.5, 180, 200.25);
  Expect(both, L"Given value (200.25) is out of range (-180.5, 180)");
  EXPECT_EQ(both.GetMinimum(), -180.5);
  EXPECT_EQ(both.GetMaximum(), 180);
  EXPECT_EQ(both.GetValue(), 200.25);
  Expect(misc::zvRangeException<double>(0.1, std::nullopt, -1),
         L"Given value (-1) is less than allowed min value (0.1)");
  Expect(misc::zvRangeException<double>(std::nullopt, 1e308, 1.5e308),
         L"Given value (1.5e+308) is greater than allowed max value (1e+308)");
  Expect(misc::zvRangeException<float>(0.f, 1.f, 1.1f),
         L"Given value (1.1) is out of range (0, 1)");
  Expect(misc::zvRangeException<int>(1, 2, -3), L"Given value (-3) is out of range (1, 2)");
  const misc::zvIdxRangeException<std::uint32_t> index(9, 4000000000u);
  Expect(index, L"Index out of bounds. Max index accepted: 9, index given: 4000000000");
  EXPECT_EQ(index.GetMaximum(), 9u);
  EXPECT_EQ(index.GetIndex(), 4000000000u);
  const misc::zvDiscreteValueException<double> discrete(1.3);
  Expect(discrete, L"Discrete variable doesn't support passed value");
  EXPECT_EQ(discrete.GetValue(), 1.3);
}

// Nothing may derive from a final class: what does so can't be made in any way.
struct Leaf : misc::zvFinal<Leaf> {
  Leaf() = default;
  explicit Leaf(int) {}
};
struct BelowLeaf : Leaf {};
struct Inheriting : Leaf {
  using Leaf::Leaf;
};
struct BelowMathException : misc::zvMathException {
  using zvMathException::zvMathException;
};

static_assert(std::is_default_constructible_v<Leaf> && std::is_constructible_v<Leaf, int> &&
              std::is_copy_constructible_v<Leaf> && std::is_copy_assignable_v<Leaf>);
static_assert(!std::is_default_constructible_v<BelowLeaf>);
static_assert(!std::is_copy_constructible_v<BelowLeaf>);
static_assert(!std::is_constructible_v<Inheriting, int>);
static_assert(std::is_constructible_v<misc::zvMathException, std::wstring, int>);
static_assert(!std::is_constructible_v<BelowMathException, std::wstring, int>);
static_assert(
    !std::is_constructible_v<BelowMathException, std::wstring, int, const misc::zvException*>);
static_assert(!std::is_default_constructible_v<misc::zvFinalBase<Leaf>>);
static_assert(!std::is_copy_constructible_v<misc::zvFinalBase<Leaf>>);

}  // namespace
