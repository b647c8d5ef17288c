#include <kandrel/kintree/message_hook.h>
#include <kandrel/misc/host_hooks.h>

#include <atomic>

namespace kintree {

namespace {

std::atomic<MessageHook> s_hook = nullptr;

}  // namespace

MessageHook SetMessageHook(MessageHook hook) noexcept {
  return s_hook.exchange(hook);
}

void TellUser(const std::wstring& text) {
  if (const MessageHook hook = s_hook.load()) return hook(text);
  misc::TellUser(text);
}

}  // namespace kintree
