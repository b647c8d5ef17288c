// zvPostedTPCreatorCaster, WithOwnClass: from a creator to its own class.
#pragma once

#include <kandrel/misc/auto_pointer.h>
#include <kandrel/misc/export.h>
#include <kandrel/post/creators/five_axis_creator.h>
#include <kandrel/post/creators/four_axis_creator.h>
#include <kandrel/post/creators/posted_tp_creator.h>
#include <kandrel/post/creators/six_axis_creator.h>
#include <kandrel/post/creators/three_axis_creator.h>
#include <kandrel/post/model/post_exception.h>

#include <cstdint>

/// For callers that hold a zvPostedTPCreator and need what its class alone has. The casts return
/// the same object, as pointers sharing the count.
///
/// They throw zvPostException 5043 "Wrong static method called." for a creator of another of the
/// four classes, 2503 for one of instance type 0, and "Accessing NULL pointer" for a null pointer.
/// The instance type alone decides: one that is none of 0 to 4 passes every cast, so
/// that whoever derives a creator of a type of its own answers for the cast.
class KANDREL_API zvPostedTPCreatorCaster {
 public:
  /// The class that a cast asks for.
  enum VerifyInstance : std::int32_t {
    verify3ax = 0,
    verify4ax = 1,
    verify5ax = 2,
    verify6ax = 3,
  };

  using Pointer = misc::zvAutoPointer<zvPostedTPCreator>;

  // A const pointer gives a const one: the interface has it so.
  // NOLINTBEGIN(readability-const-return-type)
  /// To a 3-axis creator.
  static const zvPosted3axTPCreator& SafeCast3ax(const zvPostedTPCreator& creator);
  static const misc::zvAutoPointer<zvPosted3axTPCreator> SafeCast3ax(const Pointer& creator);
  static misc::zvAutoPointer<zvPosted3axTPCreator> SafeCast3ax(Pointer& creator);

  /// To a 4-axis creator.
  static const zvPosted4axTPCreator& SafeCast4ax(const zvPostedTPCreator& creator);
  static const misc::zvAutoPointer<zvPosted4axTPCreator> SafeCast4ax(const Pointer& creator);
  static misc::zvAutoPointer<zvPosted4axTPCreator> SafeCast4ax(Pointer& creator);

  /// To a 5-axis creator.
  static const zvPosted5axTPCreator& SafeCast5ax(const zvPostedTPCreator& creator);
  static const misc::zvAutoPointer<zvPosted5axTPCreator> SafeCast5ax(const Pointer& creator);
  static misc::zvAutoPointer<zvPosted5axTPCreator> SafeCast5ax(Pointer& creator);

  /// To a 6-axis creator.
  static const zvPosted6axTPCreator& SafeCast6ax(const zvPostedTPCreator& creator);
  static const misc::zvAutoPointer<zvPosted6axTPCreator> SafeCast6ax(const Pointer& creator);
  static misc::zvAutoPointer<zvPosted6axTPCreator> SafeCast6ax(Pointer& creator);
  // NOLINTEND(readability-const-return-type)

  /// Does nothing: there is nothing to assign.
  zvPostedTPCreatorCaster& operator=(const zvPostedTPCreatorCaster&) = default;

 private:
  zvPostedTPCreatorCaster() = default;

  static void Verify(const zvPostedTPCreator& creator, VerifyInstance expected);
  template <class Creator>
  static misc::zvAutoPointer<Creator> Cast(const Pointer& creator, VerifyInstance expected);
};

/// Calls `take` with the creator as its own class and returns what it returns. Throws
/// zvPostException 2503 for an instance type that is none of the four classes, "Accessing NULL
/// pointer" for a null pointer, and what `take` throws.
template <class Take>
auto WithOwnClass(misc::zvAutoPointer<zvPostedTPCreator> creator, const Take& take) {
  using Caster = zvPostedTPCreatorCaster;
  switch (creator->GetInstanceType()) {
    case zvPostedTPCreator::instance3ax:
      return take(*Caster::SafeCast3ax(creator));
    case zvPostedTPCreator::instance4ax:
      return take(*Caster::SafeCast4ax(creator));
    case zvPostedTPCreator::instance5ax:
      return take(*Caster::SafeCast5ax(creator));
    case zvPostedTPCreator::instance6ax:
      return take(*Caster::SafeCast6ax(creator));
    case zvPostedTPCreator::instanceBase:
      break;
  }
  throw post::zvPostException(post::zvPostException::kAbstractMember);
}
