#include <kandrel/misc/codecvt.h>

#include <algorithm>
#include <cstddef>

namespace misc {

zvCodecvt::~zvCodecvt() = default;

zvASCIICodecvt::~zvASCIICodecvt() = default;

zvCodecvt::result zvASCIICodecvt::do_out(state_type& /*state*/, const intern_type* from,
                                         const intern_type* fromEnd, const intern_type*& fromNext,
                                         extern_type* to, extern_type* toEnd,
                                         extern_type*& toNext) const {
  const std::ptrdiff_t count = std::min(fromEnd - from, toEnd - to);
  fromNext = std::find_if(from, from + count, [](wchar_t c) { return c < 0 || c > 0xFF; });
  toNext = std::transform(from, fromNext, to, [](wchar_t c) { return static_cast<char>(c); });
  if (fromNext != from + count) return error;
  return fromNext == fromEnd ? ok : partial;
}

zvCodecvt::result zvASCIICodecvt::do_in(state_type& /*state*/, const extern_type* from,
                                        const extern_type* fromEnd, const extern_type*& fromNext,
                                        intern_type* to, intern_type* toEnd,
                                        intern_type*& toNext) const {
  const std::ptrdiff_t count = std::min(fromEnd - from, toEnd - to);
  fromNext = from + count;
  // Through unsigned char: a plain one would make the byte FF the mark of a stream's end.
  toNext = std::transform(from, fromNext, to, [](char byte) {
    return static_cast<wchar_t>(static_cast<unsigned char>(byte));
  });
  return fromNext == fromEnd ? ok : partial;
}

zvCodecvt::result zvASCIICodecvt::do_unshift(state_type& /*state*/, extern_type* to,
                                             extern_type* /*toEnd*/, extern_type*& toNext) const {
  toNext = to;
  return noconv;
}

int zvASCIICodecvt::do_length(state_type& /*state*/, const extern_type* from,
                              const extern_type* fromEnd, std::size_t count) const {
  return static_cast<int>(std::min(static_cast<std::size_t>(fromEnd - from), count));
}

}  // namespace misc
