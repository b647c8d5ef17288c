// zvResourceIntf and zvResourceDll: messages by number, from a table that the host brings.
#pragma once

#include <kandrel/misc/export.h>

#include <cstdint>
#include <filesystem>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace misc {

/// Looks messages up by number.
class KANDREL_API zvResourceIntf {
 public:
  virtual ~zvResourceIntf();

  /// Returns the message `id` of `section`.
  virtual const std::wstring& GetMessage(std::wstring_view section, std::uint32_t id) = 0;
  /// Returns the message `id` of whatever section has it.
  virtual const std::wstring& GetMessage(std::uint32_t id) = 0;
};

/// One row of a message table.
struct zvResourceEntry {
  std::wstring section;
  std::uint32_t id = 0;
  std::wstring text;
};

/// A table of messages that the host loads, from memory or from a text file. Failures are
/// zvmiscException. A failed load leaves the table that was loaded before. One thread at a time.
class KANDREL_API zvResourceDll : public zvResourceIntf {
 public:
  /// Starts with nothing loaded.
  zvResourceDll() = default;

  /// Takes the table over. 3606 "Invalid entry found while parsing custom resource ZVMSGMAP!" for
  /// an entry without a text, or with section and id of another one.
  void Load(std::vector<zvResourceEntry> entries);

  /// Reads the table from a text file in UTF-8: a line `[section]`, and below it lines
  /// `id = text`. Blanks around section, id and text are dropped; in the text `\n` is a line end
  /// and `\\` a backslash. Empty lines and lines that begin with `#` are skipped. Entries above
  /// the first section have an empty one. 3601 "The requested resource file couldn't be loaded!"
  /// when `path` is no regular file of at most 16 MiB or can't be read; 3606 as above, and for
  /// any other line.
  void Load(const std::filesystem::path& path);

  /// Forgets the table; does nothing without one.
  void Unload() noexcept;

  /// True after a Load that succeeded, until Unload.
  bool IsLoaded() const noexcept { return m_isLoaded; }

  /// Both look-ups: 3607 "Resource dll is not initialized!" with nothing loaded, and 3600 for a
  /// message that isn't there; its text then names id and section. What is returned is also
  /// GetLastText(), and valid until the next call. With the id alone, the first section in the
  /// order of their names counts. Logarithmic.
  const std::wstring& GetMessage(std::wstring_view section, std::uint32_t id) override;
  const std::wstring& GetMessage(std::uint32_t id) override;

  /// The result of the last look-up that found something; kept over Load and Unload.
  const std::wstring& GetLastText() const noexcept { return m_lastText; }

 private:
  using Key = std::pair<std::uint32_t, std::wstring>;  // id first: a look-up by id alone is a range

  void CheckLoaded() const;

  std::map<Key, std::wstring> m_texts;
  std::wstring m_lastText;
  bool m_isLoaded = false;
};

}  // namespace misc
