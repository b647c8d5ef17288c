#include <kandrel/persistence/writer_parameters.h>
#include <kandrel/post/model/post_exception.h>

#include <algorithm>

using post::zvPostException;

void zvKDRWriterParam::SetAxisNames(const std::vector<std::wstring>& names, unsigned count) {
  if (names.size() != count) throw zvPostException(zvPostException::kAxisNameCount);
  std::vector<std::wstring> sorted = names;
  std::ranges::sort(sorted);
  if (std::ranges::adjacent_find(sorted) != sorted.end())
    throw zvPostException(zvPostException::kDuplicateAxisName);
  m_axisNames = names;
}

void zvKDRWriterParam::SetAxisNames(const std::vector<std::wstring>& names,
                                    post::zvMachDef::NumbersOfAxes kind) {
  if (kind < post::zvMachDef::threeAxes || kind > post::zvMachDef::sixAxes)
    throw zvPostException(zvPostException::kUnknownMachine);
  SetAxisNames(names, 3 + static_cast<unsigned>(kind));
}
