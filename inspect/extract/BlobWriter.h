// Byte data, which listings show as a checksum, as files.
#ifndef DCAP_BLOBWRITER_H
#define DCAP_BLOBWRITER_H

#include <filesystem>
#include <unordered_set>

#include "inspect/events/Events.h"

/// Passes events on, having written the byte data of each into a folder: as CRC32-BYTES.bin, every
/// content once. What cannot be written is thrown as an `OutputError`.
class BlobWriter final : public EventHandler {
 public:
  /// Makes the folder if need be. Borrows `next`.
  BlobWriter(EventHandler* next, std::filesystem::path folder);

  void FileStart(const Data::FileHeader& header) override { next_->FileStart(header); }
  void Block(const EventContext& context, const Data::BlockHeader& header) override {
    next_->Block(context, header);
  }
  void Call(const EventContext& context, const Data::CallDesc& call,
            std::span<const Data::CallValue> values) override;
  void ClientData(const EventContext& context, const Data::CallDesc& operation,
                  std::span<const Data::CallValue> values) override;
  void Metadata(const EventContext& context, const MetaRecord& record) override;

 private:
  void KeepValues(const Data::CallDesc& call, std::span<const Data::CallValue> values);
  void KeepFields(std::span<const MetaField> fields);
  void Keep(std::span<const uint8_t> bytes);

  EventHandler* next_;
  std::filesystem::path folder_;
  std::unordered_set<uint64_t> kept_;  // size and checksum of what is written
};

#endif  // DCAP_BLOBWRITER_H
