#include <kandrel/misc/auto_pointer.h>
#include <kandrel/misc/block_stock.h>
#include <kandrel/misc/detail/failures.h>

namespace misc::detail {

using ReferenceBlockStock = BlockStock<sizeof(zvReferenceBlock)>;

zvReferenceBlock* NewReferenceBlock() {
  return ::new (ReferenceBlockStock::New()) zvReferenceBlock{1, true};
}

void DeleteReferenceBlock(zvReferenceBlock* block) noexcept {
  ReferenceBlockStock::Delete(block);
}

void ThrowNullPointer() {
  ThrowFailure(L"Accessing NULL pointer");
}

}  // namespace misc::detail
