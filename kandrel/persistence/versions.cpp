#include <kandrel/persistence/versions.h>
#include <kandrel/post/model/post_exception.h>

namespace persistence {

FileHeader ReadHeader(misc::zvBinInputStream& stream, std::uint32_t tag) {
  misc::zvBIBasicTypes in(stream, false, false, false);
  FileHeader header;
  in.ReadUnsigned(header.tag);
  if (header.tag != tag) throw zvKandrelException(zvKandrelException::kNoMarker);
  in.ReadUnsigned(header.version);
  header.wideStrings = false;
  if (header.version >= 19) in.ReadBool(header.wideStrings);
  if (header.version >= 51) in.ReadBool(header.sizes64);
  return header;
}

void WriteHeader(misc::zvBOBasicTypes& writer, std::uint32_t tag) {
  const FileHeader header;
  writer.WriteUnsigned(tag);
  writer.WriteUnsigned(header.version);
  writer.WriteByte(header.wideStrings);
  writer.WriteByte(header.sizes64);
}

}  // namespace persistence
