#include <tests/support/throws_id.h>

namespace tests::throws_id {

testing::AssertionResult IsThat(const misc::zvException& thrown, const std::type_info& type,
                                std::uint32_t id, const std::wstring& text) {
  if (typeid(thrown) != type)
    return testing::AssertionFailure() << "thrown class is " << typeid(thrown).name();
  if (thrown.GetId() != id || (!text.empty() && thrown.GetMessage() != text))
    return testing::AssertionFailure() << "thrown is " << thrown.GetId() << ": " << thrown.what();
  return testing::AssertionSuccess();
}

testing::AssertionResult IsAnother(const std::exception& thrown) {
  return testing::AssertionFailure()
         << "thrown is a " << typeid(thrown).name() << ": " << thrown.what();
}

testing::AssertionResult IsNothing() {
  return testing::AssertionFailure() << "nothing thrown";
}

}  // namespace tests::throws_id
