#include <kandrel/post/creators/creator_caster.h>
#include <kandrel/post/model/post_exception.h>

using Caster = zvPostedTPCreatorCaster;
using misc::zvAutoPointer;

void Caster::Verify(const zvPostedTPCreator& creator, VerifyInstance expected) {
  const zvPostedTPCreator::InstanceType type = creator.GetInstanceType();
  switch (type) {
    case zvPostedTPCreator::instanceBase:
      throw post::zvPostException(post::zvPostException::kAbstractMember);
    case zvPostedTPCreator::instance3ax:
    case zvPostedTPCreator::instance4ax:
    case zvPostedTPCreator::instance5ax:
    case zvPostedTPCreator::instance6ax:
      if (type - zvPostedTPCreator::instance3ax != expected)
        throw post::zvPostException(post::zvPostException::kWrongCast);
      return;
  }
}

// The instance type has made sure of the class, so the cast itself needs no check.
template <class Creator>
zvAutoPointer<Creator> Caster::Cast(const Pointer& creator, VerifyInstance expected) {
  Verify(*creator, expected);
  return {creator, static_cast<Creator*>(creator.Get())};
}

const zvPosted3axTPCreator& Caster::SafeCast3ax(const zvPostedTPCreator& creator) {
  Verify(creator, verify3ax);
  return static_cast<const zvPosted3axTPCreator&>(creator);
}
const zvPosted4axTPCreator& Caster::SafeCast4ax(const zvPostedTPCreator& creator) {
  Verify(creator, verify4ax);
  return static_cast<const zvPosted4axTPCreator&>(creator);
}
const zvPosted5axTPCreator& Caster::SafeCast5ax(const zvPostedTPCreator& creator) {
  Verify(creator, verify5ax);
  return static_cast<const zvPosted5axTPCreator&>(creator);
}
const zvPosted6axTPCreator& Caster::SafeCast6ax(const zvPostedTPCreator& creator) {
  Verify(creator, verify6ax);
  return static_cast<const zvPosted6axTPCreator&>(creator);
}

// NOLINTBEGIN(readability-const-return-type)
const zvAutoPointer<zvPosted3axTPCreator> Caster::SafeCast3ax(const Pointer& creator) {
  return Cast<zvPosted3axTPCreator>(creator, verify3ax);
}
const zvAutoPointer<zvPosted4axTPCreator> Caster::SafeCast4ax(const Pointer& creator) {
  return Cast<zvPosted4axTPCreator>(creator, verify4ax);
}
const zvAutoPointer<zvPosted5axTPCreator> Caster::SafeCast5ax(const Pointer& creator) {
  return Cast<zvPosted5axTPCreator>(creator, verify5ax);
}
const zvAutoPointer<zvPosted6axTPCreator> Caster::SafeCast6ax(const Pointer& creator) {
  return Cast<zvPosted6axTPCreator>(creator, verify6ax);
}
// NOLINTEND(readability-const-return-type)

zvAutoPointer<zvPosted3axTPCreator> Caster::SafeCast3ax(Pointer& creator) {
  return Cast<zvPosted3axTPCreator>(creator, verify3ax);
}
zvAutoPointer<zvPosted4axTPCreator> Caster::SafeCast4ax(Pointer& creator) {
  return Cast<zvPosted4axTPCreator>(creator, verify4ax);
}
zvAutoPointer<zvPosted5axTPCreator> Caster::SafeCast5ax(Pointer& creator) {
  return Cast<zvPosted5axTPCreator>(creator, verify5ax);
}
zvAutoPointer<zvPosted6axTPCreator> Caster::SafeCast6ax(Pointer& creator) {
  return Cast<zvPosted6axTPCreator>(creator, verify6ax);
}
