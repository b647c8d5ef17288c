#include <kandrel/persistence/helper_writer.h>
#include <kandrel/persistence/log_setup.h>
#include <kandrel/persistence/versions.h>
#include <kandrel/post/creators/five_axis_creator.h>
#include <kandrel/post/creators/four_axis_creator.h>
#include <kandrel/post/creators/six_axis_creator.h>
#include <kandrel/post/creators/three_axis_creator.h>
#include <kandrel/post/model/post_exception.h>

#include <utility>

zvBOKDRParams::zvBOKDRParams(misc::zvBinOutputStream& stream, bool compact)
    : m_basic(stream, compact), m_post(stream, compact) {}

zvBOKDRParams::~zvBOKDRParams() = default;

template <class Source>
void zvBOKDRParams::Write(const post::zvMachDef& machDef, const Source& source) {
  m_post.Write(machDef);
  m_post.Write(source.GetControlDef());
  persistence::Put(m_basic, source.GetPartOrigin());
  m_basic.WriteDouble(source.GetToolLengthCompensationValue());
  m_post.Write(source.GetPar());
}

zvBOKDRParams& zvBOKDRParams::operator<<(const misc::zvAutoPointer<zvPostedTPCreator>& creator) {
  Write(*creator->GetMachDefPtr(), *creator);
  return *this;
}

zvBOKDRParams& zvBOKDRParams::operator<<(const zvKDR5AxBase& base) {
  Write(base.GetMachDef(), base);
  return *this;
}

zvBIKDRParams::zvBIKDRParams(misc::zvBinInputStream& stream, std::uint32_t version, bool compact,
                             std::vector<misc::zvBILostData> lostData, bool wideStrings,
                             bool sizes64)
    : m_basic(stream, compact, wideStrings, sizes64),
      m_version((CheckVersion(version), version)),
      m_lostData(std::move(lostData)),
      m_post(stream, version, compact, &m_lostData, wideStrings, sizes64),
      m_setup(misc::MakeAutoPointer<Setup>()) {}

zvBIKDRParams::~zvBIKDRParams() = default;

std::uint32_t zvBIKDRParams::GetUpperKnownBinVersion() const noexcept {
  return persistence::kCurrentVersion;
}

void zvBIKDRParams::CheckVersion(std::uint32_t version) const {
  persistence::RequireKnown<zvKandrelException>(version, GetLowerKnownBinVersion());
}

zvBIKDRParams::SetupPointer zvBIKDRParams::Read() {
  auto setup = misc::MakeAutoPointer<Setup>();
  m_post.ReadMachDef(setup->machDef);
  m_post.ReadControl(setup->control);
  m_post.ReadVector(setup->partOrigin);
  m_basic.ReadDouble(setup->toolLengthCompensation);
  setup->par = misc::MakeAutoPointer<post::zvKDRParam>(measures::zvUnitsFactory::metric);
  m_post.ReadParameters(*setup->par);
  return setup;
}

zvKDR5AxBase zvBIKDRParams::MakeBase(const SetupPointer& setup) {
  zvKDR5AxBase base(setup->machDef, setup->control, *setup->par, setup->partOrigin,
                    setup->toolLengthCompensation);
  base.KeepAlive(setup);
  return base;
}

zvKDR5AxBase zvBIKDRParams::MakeBase() const {
  return MakeBase(m_setup);
}

namespace {

template <class Creator, class Setup>
misc::zvAutoPointer<zvPostedTPCreator> MakeCreatorOf(const Setup& setup) {
  auto creator = misc::MakeAutoPointer<Creator>(setup->machDef, setup->control, *setup->par,
                                                setup->partOrigin, setup->toolLengthCompensation);
  creator->KeepAlive(setup);
  return creator;
}

}  // namespace

misc::zvAutoPointer<zvPostedTPCreator> zvBIKDRParams::MakeCreator(const SetupPointer& setup) {
  switch (setup->machDef->GetNumbersOfAxes()) {
    case post::zvMachDef::threeAxes:
      return MakeCreatorOf<zvPosted3axTPCreator>(setup);
    case post::zvMachDef::fourAxes:
      return MakeCreatorOf<zvPosted4axTPCreator>(setup);
    case post::zvMachDef::fiveAxes:
      return MakeCreatorOf<zvPosted5axTPCreator>(setup);
    case post::zvMachDef::sixAxes:
      return MakeCreatorOf<zvPosted6axTPCreator>(setup);
  }
  return nullptr;
}

zvBIKDRParams& zvBIKDRParams::operator>>(misc::zvAutoPointer<zvKDR5AxBase>& base) {
  SetupPointer setup = Read();
  base = misc::MakeAutoPointer<zvKDR5AxBase>(MakeBase(setup));
  m_setup = std::move(setup);
  return *this;
}

zvBIKDRParams& zvBIKDRParams::operator>>(misc::zvAutoPointer<zvPostedTPCreator>& creator) {
  SetupPointer setup = Read();
  creator = MakeCreator(setup);
  m_setup = std::move(setup);
  return *this;
}
