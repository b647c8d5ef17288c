#include <kandrel/misc/polled_streams.h>

namespace misc {

zvPolledInput::zvPolledInput(zvBinInputStream& stream, zvProgress* progress, zvStreamSize total,
                             zvProgress::Stage stage)
    : m_stream(stream), m_polling(progress) {
  m_polling.Enter(stage);
  m_polling.StartWalk(total);
}

void zvPolledInput::Read(void* buffer, zvStreamSize& size) {
  m_stream.Read(buffer, size);
  m_polling.Advance(size);
}

zvPolledOutput::zvPolledOutput(zvBinOutputStream& stream, zvProgress* progress, zvStreamSize total,
                               zvProgress::Stage stage)
    : m_stream(stream), m_polling(progress) {
  m_polling.Enter(stage);
  m_polling.StartWalk(total);
}

void zvPolledOutput::Write(const void* buffer, const zvStreamSize& size) {
  m_stream.Write(buffer, size);
  m_polling.Advance(size);
}

}  // namespace misc
