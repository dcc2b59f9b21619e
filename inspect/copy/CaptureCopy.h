// Copies of captures: whole or in part, one after another, stored in another way.
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

/// What a copy is to be. Without further settings it has the bytes of a well-formed original.
struct CopySettings {
  Selection selection;
  bool renumber = false;  ///< frames get the numbers 1, 2, 3, ...
  // As in the (first) original, unless they are given.
  std::optional<Data::CompressionType> compression;
  std::optional<bool> trailers;
};

/// A capture cannot be appended, since its options are not those of the first.
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
/// Sub-blocks are copied as they are stored, known or not; only where the compression changes are
/// payloads decompressed and compressed. A block that is no frame goes with the frame before it;
/// those before the first frame stay in any case.
///
/// When `output` does not write everything, `Core::BasicException` with
/// `DCAPFileWriter::WriteFailMsg` is thrown, and errno is as `output` left it. After an exception
/// nothing but destruction may follow.
class CaptureCopy {
 public:
  /// `output` must be empty and able to `WriteAt`.
  CaptureCopy(std::shared_ptr<Core::DataWriter> output, CopySettings settings);

  /// Called, if set, for each set-up block of a capture after the first that readers will skip,
  /// since frames come before it in the copy.
  std::function<void()> onSkippedSetUp;

  /// Appends what is selected of a capture, which messages call `name`. Throws `DamageError` where
  /// it is damaged, and `OptionsError`. `progress` may be null.
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
  bool selectsAllOfFrames_;  // every sub-block of the selected frames
  std::optional<Data::DCAPFileWriter> writer_;
  std::optional<Data::DCAPBlockReader> reader_;
  std::string firstName_;
  uint32_t optionMask_ = 0;    // of the captures
  bool recompresses_ = false;  // the output is compressed otherwise than the captures
  uint32_t frameOrdinal_ = 0;  // in the capture that is read
  uint32_t frameNumber_ = 0;   // recorded, of that frame
  bool inFrame_ = false;       // it has not been copied yet
};

}  // namespace Inspect

#endif  // DCAP_INSPECT_CAPTURECOPY_H
