// zvCodecvt, zvASCIICodecvt, zvUTF16LECodecvt: what stands in a file for the characters of a wide
// stream.
#pragma once

#include <kandrel/misc/export.h>

#include <cwchar>
#include <locale>

namespace misc {

/// Base of the conversions that zvIFStream and zvOFStream take. None of them depends on a locale.
class KANDREL_API zvCodecvt : public std::codecvt<wchar_t, char, std::mbstate_t> {
 public:
  using std::codecvt<wchar_t, char, std::mbstate_t>::codecvt;
  ~zvCodecvt() override;
};

/// A byte for each character, both ways the same number from 0 to 255; no byte order mark. A
/// character above that is an error of the stream, never its low byte alone.
class KANDREL_API zvASCIICodecvt : public zvCodecvt {
 public:
  using zvCodecvt::zvCodecvt;
  ~zvASCIICodecvt() override;

 protected:
  result do_out(state_type& state, const intern_type* from, const intern_type* fromEnd,
                const intern_type*& fromNext, extern_type* to, extern_type* toEnd,
                extern_type*& toNext) const override;
  result do_in(state_type& state, const extern_type* from, const extern_type* fromEnd,
               const extern_type*& fromNext, intern_type* to, intern_type* toEnd,
               intern_type*& toNext) const override;
  result do_unshift(state_type& state, extern_type* to, extern_type* toEnd,
                    extern_type*& toNext) const override;
  int do_length(state_type& state, const extern_type* from, const extern_type* fromEnd,
                std::size_t count) const override;
  int do_encoding() const noexcept override { return 1; }
  bool do_always_noconv() const noexcept override { return false; }
  int do_max_length() const noexcept override { return 1; }
};

/// UTF-16 in little-endian order, with CR LF in the file where the text has a line feed. A
/// character above U+FFFF is a surrogate pair in the file; half a pair stays as it is, and what is
/// no character is written as U+FFFD. A file is opened in binary mode.
///
/// 1. The byte order mark is a character like others: who wants one writes it, and reads it.
/// 2. Writing the character 26, which old systems take for the end of a text, is an error of the
///    stream.
/// 3. On reading, CR LF is one line feed, CR and another unit that unit alone: a CR by itself is
///    lost, and of CR CR LF one remains.
/// 4. A file that ends in the middle of something (a CR, the first half of a pair, an odd byte) is
///    an error of the stream behind what it has before that.
class KANDREL_API zvUTF16LECodecvt : public zvCodecvt {
 public:
  /// The byte order mark as it stands in a file, and as a character.
  static constexpr unsigned char kMarkBytes[2] = {0xFF, 0xFE};
  static constexpr wchar_t kMark = 0xFEFF;

  using zvCodecvt::zvCodecvt;
  ~zvUTF16LECodecvt() override;

 protected:
  result do_out(state_type& state, const intern_type* from, const intern_type* fromEnd,
                const intern_type*& fromNext, extern_type* to, extern_type* toEnd,
                extern_type*& toNext) const override;
  result do_in(state_type& state, const extern_type* from, const extern_type* fromEnd,
               const extern_type*& fromNext, intern_type* to, intern_type* toEnd,
               intern_type*& toNext) const override;
  result do_unshift(state_type& state, extern_type* to, extern_type* toEnd,
                    extern_type*& toNext) const override;
  int do_length(state_type& state, const extern_type* from, const extern_type* fromEnd,
                std::size_t count) const override;
  int do_encoding() const noexcept override { return 0; }
  bool do_always_noconv() const noexcept override { return false; }
  int do_max_length() const noexcept override { return 4; }
};

}  // namespace misc
