#include "Data/BoundedRead.h"

#include "Core/Detail/CopyBytes.h"

namespace Data {

void CopyContent(void* to, const void* from, uint32_t count) { Core::CopyBytes(to, from, count); }

}  // namespace Data
