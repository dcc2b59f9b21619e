// Counts calls, records and uploaded bytes.
#ifndef DCAP_INSPECT_STATISTICS_H
#define DCAP_INSPECT_STATISTICS_H

#include <array>
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "inspect/events/CallClasses.h"
#include "inspect/events/Events.h"

namespace Inspect {

/// The kinds of bytes that calls hand to the implementation.
enum class UploadKind : uint8_t {
  kBuffer,          ///< glBufferData and its like
  kTexture,         ///< glTexImage2D and its like
  kMapped,          ///< written through a mapping
  kClientVertices,  ///< vertex arrays in client memory, read by draw calls
  kClientIndices,   ///< indices in client memory
  kShader,          ///< sources and binaries
  kProgram,         ///< binaries
};
inline constexpr size_t kUploadKinds = 7;

/// "buffer", "texture", "mapped", "clientVertices", "clientIndices", "shader", "program".
const char* UploadKindName(UploadKind kind);

/// Sums over a frame, or over a whole capture.
struct Counts {
  uint64_t calls = 0;
  uint64_t clientData = 0;  ///< client-data operations
  uint64_t records = 0;     ///< metadata records
  std::array<uint64_t, kCallClasses.size()> byClass = {};
  std::array<uint64_t, kUploadKinds> uploaded = {};  ///< recorded bytes

  [[nodiscard]] uint64_t Draws() const {
    return byClass[static_cast<size_t>(Data::CallClass::kDraw)];
  }
  [[nodiscard]] uint64_t UploadedBytes() const;
  void Add(const Counts& other);
};

/// One processed block.
struct FrameCounts {
  uint32_t ordinal;  ///< 0 for set-up calls before the first frame
  uint32_t number;   ///< as recorded
  uint32_t bytes;    ///< size of the block
  bool setUp;
  Counts counts;
};

/// Counts events. Its memory does not grow with the capture. Call `Finish` after the last event.
class Statistics final : public EventHandler {
 public:
  /// `onFrame` is called for every frame when it has ended.
  explicit Statistics(std::function<void(const FrameCounts&)> onFrame)
      : onFrame_(std::move(onFrame)) {}

  /// Ends the last frame.
  void Finish();

  uint64_t frames = 0;
  uint64_t setUpBlocks = 0;
  Counts total;
  std::map<std::string, uint64_t> clientData;  ///< by operation
  std::map<std::string, uint64_t> records;     ///< by name
  std::map<uint32_t, uint64_t> callsByThread;  ///< empty when the capture records no threads
  /// The calls that occur and their numbers, in the order of their names.
  [[nodiscard]] std::vector<std::pair<std::string, uint64_t>> CallsByName() const;

  void Block(const EventContext& context, const Data::BlockHeader& header) override;
  void Call(const EventContext& context, const Data::CallDesc& call,
            std::span<const Data::CallValue> values) override;
  void ClientData(const EventContext& context, const Data::CallDesc& operation,
                  std::span<const Data::CallValue> values) override;
  void Metadata(const EventContext& context, const MetaRecord& record) override;

 private:
  struct CallCount {
    const Data::CallDesc* call = nullptr;
    uint64_t count = 0;
  };

  void CountUploads(const Data::CallDesc& call, std::span<const Data::CallValue> values);
  void CountUpload(UploadKind kind, uint64_t bytes) {
    frame_.counts.uploaded[static_cast<size_t>(kind)] += bytes;
  }

  std::function<void(const FrameCounts&)> onFrame_;
  FrameCounts frame_ = {};
  bool inFrame_ = false;
  std::vector<CallCount> calls_ = std::vector<CallCount>(size_t{1} << 16);  // by identifier
  uint32_t thread_ = 0;
  uint64_t* threadCount_ = nullptr;  // of thread_
};

}  // namespace Inspect

#endif  // DCAP_INSPECT_STATISTICS_H
