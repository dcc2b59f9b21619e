// Writes byte data, which listings show as a checksum, to files.
#ifndef DCAP_INSPECT_BLOBWRITER_H
#define DCAP_INSPECT_BLOBWRITER_H

#include <filesystem>
#include <functional>
#include <span>
#include <string>
#include <unordered_set>

#include "inspect/events/Events.h"

namespace Inspect {

/// Writes the byte data of each event into a folder, as CRC32-BYTES.bin, every content once, and
/// passes the event on. Throws `OutputError` when a file cannot be written.
class BlobWriter final : public EventHandler {
 public:
  /// Makes the folder if need be. Borrows `next`. `onClash` is called with the path of a file that
  /// already holds other data of the same size and checksum; that file stays as it is.
  BlobWriter(EventHandler* next, std::filesystem::path folder,
             std::function<void(const std::string& path)> onClash);

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
  std::function<void(const std::string& path)> onClash_;
  std::unordered_set<uint64_t> kept_;  // sizes and checksums of the files
};

}  // namespace Inspect

#endif  // DCAP_INSPECT_BLOBWRITER_H
