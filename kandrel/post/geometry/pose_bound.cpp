#include <kandrel/post/geometry/pose_bound.h>

namespace post {

zvPoseBound::zvPoseBound(const zvBlockLaw& law) noexcept
    : m_isInHead(law.m_carrier == zvBlockLaw::Carrier::kOuter),
      m_isNoseInner(law.m_carrier == zvBlockLaw::Carrier::kInner),
      m_first(law.m_first),
      m_outer(law.m_outer),
      m_along(0),
      m_secondAlong(Dot(law.m_second, law.m_spindle)),
      m_standing(0),
      m_across(0),
      m_size(law.m_size) {
  if (law.m_carrier != zvBlockLaw::Carrier::kMiddle) {
    m_middleAlong = Dot(law.m_middle, m_first) * m_first;
    m_standing = law.m_middle.Length();
    m_across = (law.m_middle - m_middleAlong).Length();
  }
  if (!m_isNoseInner) {
    m_along = Dot(law.m_inner, law.m_spindle);
    m_standing += law.m_inner.Length();
    m_across += (law.m_inner - m_along * law.m_spindle).Length();
  }
}

}  // namespace post
