// Copies a capture through the reader and the writer that know nothing of calls.
#ifndef DCAPKIT_TESTS_COPYCAPTURE_H
#define DCAPKIT_TESTS_COPYCAPTURE_H

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "Core/MemoryReader.h"
#include "Data/Capture/DCAPBlockReader.h"
#include "Data/Capture/DCAPFileWriter.h"

#include "support/MemoryWriter.h"

/// Everything that a `DCAPBlockReader` shows of the capture, as it is stored.
inline std::vector<uint8_t> CopyCapture(std::span<const uint8_t> capture) {
  Data::DCAPBlockReader reader(std::make_shared<Core::MemoryReader>(capture));
  auto memory = std::make_shared<MemoryWriter>();
  Data::DCAPFileWriter writer(memory, Data::DCAPWriterOptions(reader.Header()));
  Data::StoredSubBlock subBlock{};
  while (reader.NextBlock()) {
    if (!reader.IsFramed()) {
      writer.BeginRawBlock(reader.Block().type);
      for (auto piece = reader.NextPiece(); !piece.empty(); piece = reader.NextPiece()) {
        writer.WriteBytes(piece.data(), piece.size());
      }
    } else if (reader.Block().type == Data::kBlockFrame) {
      writer.BeginFrame(reader.FrameNumber());
    } else {
      writer.BeginType2Block(reader.FrameNumber());
    }
    while (reader.NextSubBlock(&subBlock)) {
      writer.WriteSubBlock(subBlock.threadId, subBlock.type, subBlock.body, subBlock.size);
    }
  }
  writer.Close();
  return memory->bytes;
}

#endif  // DCAPKIT_TESTS_COPYCAPTURE_H
