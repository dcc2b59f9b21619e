// Turns typed calls back into payloads: the shared half of `EGLEncoder` and `GLEncoder`.
#ifndef DCAPKIT_DATA_CALLENCODER_H
#define DCAPKIT_DATA_CALLENCODER_H

#include <cstdint>
#include <cstring>
#include <memory>
#include <span>
#include <string>

#include "Core/Export.h"
#include "Data/ApiCallType.h"

namespace Data {

class PointerData;

/// Receives the calls that `EGLEncoder` and `GLEncoder` have encoded; a program that records puts
/// them into a `DCAPFileWriter`:
///
///     class Recorder : public Data::CallSink {
///      public:
///       explicit Recorder(Data::DCAPFileWriter* writer) : writer_(writer) {}
///       void EncodedCall(Data::ApiCallType id, const uint8_t* payload, uint32_t size) override {
///         writer_->WriteFunctionCall(threadId, id, payload, size);
///       }
///       uint32_t threadId = 0;
///
///      private:
///       Data::DCAPFileWriter* writer_;
///     };
///
///     Recorder recorder(&writer);
///     Data::GLEncoder gl(&recorder);
///     gl.glBindBuffer(GL_ARRAY_BUFFER, 1);
///     gl.glGenTextures(2, Data::MadePointer::Array<uint32_t>({7, 8}));
class DCAPKIT_API CallSink {
 public:
  virtual ~CallSink() = default;

  /// Brings a call and its payload, which is valid only during the operation.
  virtual void EncodedCall(ApiCallType id, const uint8_t* payload, uint32_t size) = 0;
};

/// Lays payloads down in a buffer that it uses again for every call: once that has grown to the
/// largest payload, encoding allocates nothing.
///
/// It writes everything of a pointer that its flags say is recorded, so that decoding a payload and
/// encoding the call again gives the same bytes; docs/writing.md lists the exceptions. Operations
/// throw `Core::BasicException`: `PointerFailMsg` for a pointer whose elements do not have the size
/// of the call's parameter or whose content is missing, `PayloadTooLargeMsg` beyond 4 GiB. An
/// exception of the sink passes through.
class DCAPKIT_API CallEncoder {
 public:
  CallEncoder(const CallEncoder&) = delete;
  CallEncoder& operator=(const CallEncoder&) = delete;

  // The texts of the exceptions, `what()`.
  static const std::string PointerFailMsg;
  static const std::string PayloadTooLargeMsg;

 protected:
  /// A growing buffer that keeps its memory when it is cleared, and its bytes until the next
  /// `Append`.
  class Buffer {
   public:
    /// Returns room for `size` further bytes, which the caller fills.
    uint8_t* Append(uint64_t size) {
      if (capacity_ - size_ < size) [[unlikely]] {
        Grow(size);
      }
      uint8_t* room = bytes_.get() + size_;
      size_ += size;
      return room;
    }
    void Clear() { size_ = 0; }
    [[nodiscard]] std::span<const uint8_t> Bytes() const { return {bytes_.get(), size_}; }

   private:
    void Grow(uint64_t size);

    std::unique_ptr<uint8_t[]> bytes_;
    uint64_t size_ = 0;
    uint64_t capacity_ = 0;
  };

  /// A pointer parameter and the size of the elements that it points to.
  struct Elements {
    const PointerData* pointer;
    uint32_t elementSize;
  };

  explicit CallEncoder(CallSink* sink) : sink_(sink) {}
  ~CallEncoder() = default;

  /// Encodes the values in payload order and hands the call on. Takes scalars and pointers as they
  /// are, client data as its recorded bytes.
  template <typename... Values>
  void Encode(ApiCallType id, const Values&... values) {
    const uint64_t size = (uint64_t{0} + ... + EncodedSize(values));
    if (size > UINT32_MAX) [[unlikely]] {
      FailTooLarge();
    }
    payload_.Clear();
    [[maybe_unused]] uint8_t* end = payload_.Append(size);
    ((end = Store(end, values)), ...);
    sink_->EncodedCall(id, payload_.Bytes().data(), static_cast<uint32_t>(size));
  }

  template <typename Scalar>
  static uint64_t EncodedSize(const Scalar& /*scalar*/) {
    return sizeof(Scalar);
  }
  static uint64_t EncodedSize(const std::span<const uint8_t>& bytes) { return bytes.size(); }
  static uint64_t EncodedSize(const Elements& elements);

  template <typename Scalar>
  static uint8_t* Store(uint8_t* out, const Scalar& scalar) {
    std::memcpy(out, &scalar, sizeof(Scalar));
    return out + sizeof(Scalar);
  }
  static uint8_t* Store(uint8_t* out, const std::span<const uint8_t>& bytes) {
    if (!bytes.empty()) std::memcpy(out, bytes.data(), bytes.size());
    return out + bytes.size();
  }
  static uint8_t* Store(uint8_t* out, const Elements& elements);

 private:
  [[noreturn]] static void FailTooLarge();

  CallSink* sink_;
  Buffer payload_;
};

}  // namespace Data

#endif  // DCAPKIT_DATA_CALLENCODER_H
