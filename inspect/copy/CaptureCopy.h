// Copies captures: whole or in part, one after another, stored in another way.
#ifndef DCAP_INSPECT_CAPTURECOPY_H
#define DCAP_INSPECT_CAPTURECOPY_H

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "Core/DataWriter.h"
#include "Core/Exceptions.h"
#include "Data/Capture/DCAPBlockReader.h"
#include "Data/Capture/DCAPFileWriter.h"

#include "inspect/events/Selection.h"
#include "inspect/walk/Capture.h"
#include "inspect/walk/Damage.h"
#include "inspect/walk/ProgressSink.h"

namespace Inspect {

/// The settings of a copy. By default a copy has the bytes of a well-formed original.
struct CopySettings {
  Selection selection;
  bool renumber = false;  ///< frames get the numbers 1, 2, 3, ...
  // As in the first original unless given:
  std::optional<Data::CompressionType> compression;
  std::optional<bool> trailers;
};

/// Thrown for a capture that cannot be appended, as its options are not those of the first.
class OptionsError : public Core::BasicException {
 public:
  OptionsError(uint32_t hasOptions, uint32_t firstHasOptions, const std::string& firstName);

  uint32_t options;  ///< the option mask of its header
  uint32_t firstOptions;
};

/// Writes captures, one after another, into one, whose header is that of the first:
///
///     CaptureCopy copy(output, settings);
///     for (const std::string& path : paths) copy.Append(Capture(path), path, nullptr);
///     copy.Finish();
///
/// It copies sub-blocks as they are stored, known or not. Payloads are decompressed and compressed
/// only when the compression changes. A block that is no frame goes with the frame before it;
/// blocks before the first frame are always copied.
///
/// When `output` fails to write, all operations throw a `Core::BasicException` with
/// `DCAPFileWriter::WriteFailMsg` and leave errno as `output` set it. After an exception the copy
/// may only be destroyed.
class CaptureCopy {
 public:
  /// `output` must be empty and able to `WriteAt`.
  CaptureCopy(std::shared_ptr<Core::DataWriter> output, CopySettings settings);

  /// Called, if set, for each set-up block that now stands behind frames of an earlier capture,
  /// where readers skip it.
  std::function<void()> onSkippedSetUp;

  /// Appends the selected part of a capture, which messages call `name`. Throws `DamageError` where
  /// the capture is damaged, and `OptionsError`. `progress` may be null.
  void Append(const Capture& capture, const std::string& name, ProgressSink* progress);

  /// Completes the copy. Requires that something was appended.
  void Finish();

 private:
  void Begin(const std::string& name);
  void CopyBlocks(ProgressSink* progress);
  [[nodiscard]] Place Where() const;
  void CopyBlock();
  void CopySubBlock(const Data::StoredSubBlock& subBlock);
  [[nodiscard]] bool Selects(const Data::StoredSubBlock& subBlock) const;

  std::shared_ptr<Core::DataWriter> output_;
  CopySettings settings_;
  bool selectsAllOfFrames_;  // no sub-block of a selected frame is left out
  std::optional<Data::DCAPFileWriter> writer_;
  std::optional<Data::DCAPBlockReader> reader_;
  std::string firstName_;
  uint32_t optionMask_ = 0;    // of all captures
  bool recompresses_ = false;  // the output is compressed otherwise than the captures
  uint32_t frameOrdinal_ = 0;  // in the capture that is read
  uint32_t frameNumber_ = 0;   // its sequence number
  bool inFrame_ = false;       // that frame has not been copied to its end
};

}  // namespace Inspect

#endif  // DCAP_INSPECT_CAPTURECOPY_H
