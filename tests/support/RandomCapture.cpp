#include "support/RandomCapture.h"

#include "Data/Calls/CallTable.h"
#include "Data/PointerData.h"

using Data::ApiCallType;
using Data::CallDesc;

namespace {

const CallDesc& AnyCall(uint32_t number) {
  const auto gl = Data::AllCalls(Data::Api::kGLES);
  const auto egl = Data::AllCalls(Data::Api::kEGL);
  const size_t index = number % (gl.size() + egl.size());
  return index < gl.size() ? gl[index] : egl[index - gl.size()];
}

// Draw calls whose payload ends with vertex records.
bool HasVertexRecords(const CallDesc& call) {
  return call.callClass == Data::CallClass::kDraw && call.id != ApiCallType::glDrawArraysIndirect &&
         call.id != ApiCallType::glDrawElementsIndirect;
}

uint32_t Mask(std::mt19937& random) {
  constexpr uint32_t kFree = 0xFF0008B0;  // bits that readers keep and do not act upon
  uint32_t mask = static_cast<uint32_t>(random()) & kFree;
  for (const uint32_t option :
       {Data::kOptionThreadIds, Data::kOptionNoTrailers, Data::kOptionType2BeforeFirst}) {
    mask |= random() % 2 != 0 ? option : 0;
  }
  return mask;
}

}  // namespace

RandomCapture::RandomCapture(uint32_t seed, Oddities oddities)
    : random_(seed), oddities_(oddities), capture_(Mask(random_)) {
  Data::FileHeader& header = capture_.Header();
  header.versionLow = static_cast<uint16_t>(random_());
  header.versionMinor = static_cast<uint8_t>(random_());
  header.versionMajor = static_cast<uint8_t>(random_());
  for (uint8_t& byte : header.reserved) byte = static_cast<uint8_t>(random_());
  for (uint32_t blocks = Draw(4); blocks != 0; --blocks) {
    const auto number = static_cast<uint32_t>(random_());
    OneIn(4) ? capture_.Type2Block(number) : capture_.FrameBlock(number);
    for (uint32_t subBlocks = Draw(16); subBlocks != 0; --subBlocks) AddSubBlock();
  }
}

void RandomCapture::AddSubBlock() {
  if (OneIn(3)) capture_.Thread(static_cast<uint32_t>(random_()));
  if (OneIn(20)) {
    const auto kind = static_cast<uint16_t>(random_());
    capture_.Metadata(kind, kind, Content(Draw(50)));
  } else if (OneIn(20)) {
    capture_.MethodCall(static_cast<uint32_t>(random_()), static_cast<uint16_t>(random_()),
                        Content(Draw(50)));
  } else if (oddities_ == kSome && OneIn(2)) {
    AddOddCall();
  } else {
    AddCall();
  }
}

void RandomCapture::AddCall() {
  const CallDesc& call = AnyCall(static_cast<uint32_t>(random_()));
  calls_.insert(call.id);
  capture_.Call(static_cast<uint16_t>(call.id), Payload(call));
}

// Each of these is read, but what adapters get of it is not all of it.
void RandomCapture::AddOddCall() {
  ++oddCalls_;
  switch (Draw(6)) {
    case 0: {  // more than the parameters
      const CallDesc& call = AnyCall(static_cast<uint32_t>(random_()));
      Bytes payload = Payload(call);
      capture_.Call(static_cast<uint16_t>(call.id), payload.Append(Content(1 + Draw(20))));
      break;
    }
    case 1: {  // less
      Bytes payload = Bytes().U32(0x8892).U32(3).Array<uint8_t>({1, 2, 3}).U32(0x88E4);
      capture_.Call(0x900C, payload.Cut(1 + Draw(payload.Size())));
      break;
    }
    case 2:  // an array whose size was not known
      capture_.Call(0x901C, Bytes().U32(0).U32(0x2).U32(0));
      break;
    case 3:  // vertex records without data, or with the address of the client's array
      capture_.Call(0x9028, Bytes().U32s({4, 0, 3, 1, 0x90B5, 0, 4, 0x1406, 16, 0, 0}));
      break;
    case 4:
      capture_.Call(0x9028,
                    Bytes().U32s({4, 0, 3, 1, 0x90B5, 0, 4, 0x1406, 16, 0, 0xA}).U64(7).U32(0));
      break;
    default:  // an identifier that names no call
      capture_.Call(OneIn(2) ? 0x8037 : static_cast<uint16_t>(Draw(0x8000)), Content(Draw(50)));
  }
}

Bytes RandomCapture::Payload(const CallDesc& call) {
  Bytes payload;
  if (call.id == ApiCallType::glFlushMappedBufferRange) {
    const uint32_t length = OneIn(2) ? 0 : 1 + Draw(100);
    payload.U32(static_cast<uint32_t>(random_())).U32(static_cast<uint32_t>(random_())).U32(length);
    PutMappedBytes(payload, length, false);
    return payload;
  }
  for (const Data::ParameterDesc& value : call.Values()) {
    // The bytes of the mapped range stand before the result.
    if (call.id == ApiCallType::glUnmapBuffer && &value != call.values) {
      PutMappedBytes(payload, OneIn(2) ? 0 : 1 + Draw(100), OneIn(2));
    }
    PutValue(payload, value);
  }
  if (HasVertexRecords(call)) PutVertexRecords(payload);
  return payload;
}

void RandomCapture::PutValue(Bytes& payload, const Data::ParameterDesc& value) {
  switch (value.type->type) {
    case Data::ValueType::kPointer:
      PutPointer(payload, value.type->elementSize);
      break;
    case Data::ValueType::kUint64:
      payload.Append(Content(8));
      break;
    default:
      payload.Append(Content(4));
  }
}

void RandomCapture::PutPointer(Bytes& payload, uint32_t elementSize) {
  const bool hasAddress = OneIn(3);
  // Further flags mean nothing to some kinds, and nothing at all beyond 0x3F.
  uint32_t flags = Draw(4) * 2 | (OneIn(2) ? 0x1u : 0) | (hasAddress ? 0x8u : 0) |
                   (OneIn(6) ? 0x10u : 0) | (OneIn(6) ? 0x20u : 0) | (OneIn(10) ? 0x400u : 0);
  if (OneIn(8)) flags = 0;
  payload.U32(flags);
  if (flags == 0) return;
  if (hasAddress) payload.Append(Content(8));
  const bool hasContent = (flags & Data::PointerFlagNoContent) == 0;
  const uint32_t count = 1 + Draw(OneIn(20) ? 1000 : 20);
  switch (flags & Data::PointerKindMask) {
    case Data::PointerKindStringArray:
      PutStrings(payload);
      break;
    case Data::PointerKindString: {
      const uint32_t length = Draw(40);
      payload.U32(length).Append(Content(hasContent ? length : 0));
      break;
    }
    case Data::PointerKindArray: {
      const bool hasElements = hasContent && (flags & Data::PointerFlagSizeOnly) == 0;
      payload.U32(count).Append(Content(hasElements ? size_t{count} * elementSize : 0));
      break;
    }
    default:
      if ((flags & Data::PointerFlagValue) != 0)
        payload.Append(Content(hasContent ? elementSize : 0));
  }
}

void RandomCapture::PutStrings(Bytes& payload) {
  const uint32_t count = Draw(5);
  payload.U32(count);
  for (uint32_t i = 0; i < count; ++i) {
    const uint32_t flags = OneIn(5) ? 0 : 0x4 | (OneIn(3) ? 0x8u : 0) | (OneIn(4) ? 0x10u : 0);
    payload.U32(flags);
    if (flags == 0) continue;
    if ((flags & Data::PointerFlagAddress) != 0) payload.Append(Content(8));
    const uint32_t length = Draw(20);
    payload.U32(length);
    payload.Append(Content((flags & Data::PointerFlagNoContent) == 0 ? length : 0));
  }
}

void RandomCapture::PutVertexRecords(Bytes& payload) {
  const uint32_t count = OneIn(2) ? 0 : 1 + Draw(3);
  payload.U32(count);
  for (uint32_t i = 0; i < count; ++i) {
    const bool isInteger = OneIn(2);
    payload.U32(isInteger ? 0x90B5 : 0x908C).Append(Content(isInteger ? 16 : 20));
    const uint32_t length = OneIn(4) ? 0 : Draw(64);
    payload.U32(Draw(100)).U32(0x2).U32(length).Append(Content(length));
  }
}

void RandomCapture::PutMappedBytes(Bytes& payload, uint32_t length, bool sizeAlone) {
  if (length == 0) {
    payload.Null();
  } else if (sizeAlone) {
    payload.U32(0x22).U32(length);
  } else {
    payload.U32(0x2).U32(length).Append(Content(length));
  }
}

// Repetitive enough to be worth compressing.
Bytes RandomCapture::Content(size_t size) {
  Bytes bytes;
  const auto low = static_cast<uint8_t>(random_());
  for (size_t i = 0; i < size; ++i) bytes.U8(OneIn(4) ? static_cast<uint8_t>(random_()) : low);
  return bytes;
}
