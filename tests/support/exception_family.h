// Checks that every class of the exception family has to pass.
#pragma once

#include <gtest/gtest.h>
#include <kandrel/misc/exception.h>
#include <kandrel/misc/text.h>

#include <cstdint>
#include <map>
#include <span>
#include <string>
#include <type_traits>
#include <typeinfo>
#include <vector>

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
  const auto make = [&](std::uint32_t id) {
    if constexpr (std::is_constructible_v<E, std::uint32_t, const misc::zvException*>)
      return E(id, &cause);
    else
      return E(id, cause);
  };
  std::map<std::uint32_t, std::wstring> texts;
  for (const Row& row : rows) texts[row.id] = row.text;
  EXPECT_EQ(E::Table().size(), texts.size());
  // Beside each row stand ids that may have none.
  for (const Row& row : rows)
    for (const std::uint32_t id : {row.id - 1, row.id + 1, 0u, 0xFFFFFFFFu})
      texts.emplace(id, fallback);
  for (const auto& [id, text] : texts) {
    const E e = make(id);
    EXPECT_EQ(e.GetId(), id);
    EXPECT_EQ(e.GetMessage(), text) << id;
    EXPECT_EQ(e.GetCauses(), (std::vector<misc::zvException::Cause>{{77, L"inner"}}));
  }
  ExpectKeepsItsClass(make(rows.front().id));
}

}  // namespace tests
