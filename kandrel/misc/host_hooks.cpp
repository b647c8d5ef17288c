#include <kandrel/misc/host_hooks.h>
#include <kandrel/misc/text.h>

#include <atomic>
#include <cstdio>
#include <exception>

namespace misc {

namespace {

std::atomic<zvDebugLineHook> s_debugLine = nullptr;
std::atomic<zvUserMessageHook> s_userMessage = nullptr;
std::atomic<zvMessageTextHook> s_messageText = nullptr;

}  // namespace

zvDebugLineHook SetDebugLineHook(zvDebugLineHook hook) noexcept {
  return s_debugLine.exchange(hook);
}

zvUserMessageHook SetUserMessageHook(zvUserMessageHook hook) noexcept {
  return s_userMessage.exchange(hook);
}

zvMessageTextHook SetMessageTextHook(zvMessageTextHook hook) noexcept {
  return s_messageText.exchange(hook);
}

void DebugLine(std::wstring_view line) noexcept {
  if (const zvDebugLineHook hook = s_debugLine.load()) hook(line);
}

void TellUser(std::wstring_view text) noexcept {
  if (const zvUserMessageHook hook = s_userMessage.load()) return hook(text);
  try {
    const std::string line = ToUtf8(text) + '\n';
    std::fwrite(line.data(), 1, line.size(), stderr);
  } catch (const std::exception&) {
    // Without memory for the line the report is lost; the work that it is about goes on.
  }
}

std::wstring MessageText(std::wstring_view section, std::uint32_t id, std::wstring_view fallback) {
  std::wstring text;
  const zvMessageTextHook hook = s_messageText.load();
  if (hook != nullptr && hook(section, id, text)) return text;
  return std::wstring(fallback);
}

}  // namespace misc
