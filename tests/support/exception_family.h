// Checks that every class of the exception family has to pass.
#pragma once

#include <gtest/gtest.h>
#include <kandrel/misc/exception.h>
#include <kandrel/misc/text.h>

#include <cstdint>
#include <set>
#include <span>
#include <string>
#include <typeinfo>

namespace tests {

struct Row {
  std::uint32_t id;
  const wchar_t* text;
};

/// `e` thrown through its base arrives as its own class, whole; so does a clone.
template <class E>
void ExpectKeepsItsClass(const E& e) {
  const misc::zvException& base = e;
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
      EXPECT_EQ(caught.GetCauses(), e.GetCauses());
      EXPECT_EQ(caught.GetDetail(), e.GetDetail());
      EXPECT_EQ(std::string(caught.what()), misc::ToUtf8(e.GetMessage()));
    }
  }
}

/// The class has exactly `rows`; any other id keeps its number and has the fallback's text.
template <class E>
void ExpectTexts(std::span<const Row> rows, const std::wstring& fallback = L"Unknown error.") {
  const misc::zvException cause(77, L"inner");
  std::set<std::uint32_t> ids;
  for (const Row& row : rows) {
    const E e(row.id, &cause);
    EXPECT_EQ(e.GetId(), row.id);
    EXPECT_EQ(e.GetMessage(), row.text);
    EXPECT_EQ(e.GetCauses(), (std::vector<misc::zvException::Cause>{{77, L"inner"}}));
    ids.insert(row.id);
  }
  EXPECT_EQ(E::Table().size(), ids.size());
  for (std::uint32_t id : {1u, 2185u, 2188u, 9999u, 0xFFFFFFFFu}) {
    if (ids.contains(id)) continue;
    EXPECT_EQ(E(id).GetId(), id);
    EXPECT_EQ(E(id).GetMessage(), fallback);
  }
  ExpectKeepsItsClass(E(rows.front().id, &cause));
}

}  // namespace tests
