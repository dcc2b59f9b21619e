#include "Data/Detail/Viewing.h"

#include "Core/Detail/ExactClass.h"

namespace Data {

DCAPKIT_CLASS_TABLE(kStdioReaderTable, "N4Core11StdioReaderE");
DCAPKIT_CLASS_TABLE(kMemoryReaderTable, "N4Core12MemoryReaderE");
DCAPKIT_CLASS_TABLE(kMappedReaderTable, "N4Core12MappedReaderE");
DCAPKIT_CLASS_TABLE(kRecoveredReaderTable, "N4Data15RecoveredReaderE");

Core::ViewReader* AsViewer(Core::DataReader* reader) {
  for (const auto* table :
       {kStdioReaderTable, kMemoryReaderTable, kMappedReaderTable, kRecoveredReaderTable}) {
    if (Core::IsExactly(reader, table)) return static_cast<Core::ViewReader*>(reader);
  }
  return nullptr;
}

}  // namespace Data
