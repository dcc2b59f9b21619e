#include "support/CaptureBuilder.h"

#include <fstream>
#include <memory>
#include <stdexcept>

#include "Util/LZ4Compressor.h"
#include "Util/LZ77Compressor.h"

using Data::BlockHeader;
using Data::FileHeader;
using Data::SubBlockHeader;

CaptureBuilder::CaptureBuilder(uint32_t optionMask) : bytes_(sizeof(FileHeader)) {
  header_.fourCC = Data::kDCAPFourCC;
  header_.optionMask = optionMask;
}

CaptureBuilder& CaptureBuilder::FrameBlock(uint32_t number) {
  ++frames_;
  return BeginBlock(Data::kBlockFrame, number);
}

CaptureBuilder& CaptureBuilder::Type2Block(uint32_t number) {
  return BeginBlock(Data::kBlockType2, number);
}

CaptureBuilder& CaptureBuilder::OtherBlock(uint16_t type, Payload body) {
  EndBlock();
  return PutValue(BlockHeader{type, body.Size()}).Put(body.Data(), body.Size());
}

CaptureBuilder& CaptureBuilder::EndBlock() {
  if (blockStart_ == 0) return *this;
  if ((header_.optionMask & Data::kOptionNoTrailers) == 0) PutValue(Data::DCAPFrameTrailer);
  if (!blockSizeClaimed_)
    ClaimBlockSize(static_cast<uint32_t>(Size() - blockStart_ - sizeof(BlockHeader)));
  blockStart_ = 0;
  return *this;
}

CaptureBuilder& CaptureBuilder::Thread(uint32_t id) {
  thread_ = id;
  return *this;
}

CaptureBuilder& CaptureBuilder::Call(uint16_t id, Payload payload) {
  BeginSubBlock(Data::kSubBlockFunctionCall, sizeof id + payload.Size());
  return PutValue(id).Put(payload.Data(), payload.Size());
}

CaptureBuilder& CaptureBuilder::MethodCall(uint32_t object, uint16_t id, Payload payload) {
  BeginSubBlock(Data::kSubBlockMethodCall, sizeof object + sizeof id + payload.Size());
  return PutValue(object).PutValue(id).Put(payload.Data(), payload.Size());
}

CaptureBuilder& CaptureBuilder::CompressedCall(uint16_t id, Payload payload) {
  return StoredCall(id, payload.Size(), Compress(payload));
}

CaptureBuilder& CaptureBuilder::CompressedMethodCall(uint32_t object, uint16_t id,
                                                     Payload payload) {
  const std::vector<uint8_t> stored = Compress(payload);
  BeginSubBlock(Data::kSubBlockCompressedMethodCall, 10 + stored.size());
  return PutValue(object).PutValue(id).PutValue(payload.Size()).Put(stored.data(), stored.size());
}

CaptureBuilder& CaptureBuilder::StoredCall(uint16_t id, uint32_t inflatedSize, Payload stored) {
  BeginSubBlock(Data::kSubBlockCompressedFunctionCall, 6 + stored.Size());
  return PutValue(id).PutValue(inflatedSize).Put(stored.Data(), stored.Size());
}

CaptureBuilder& CaptureBuilder::Metadata(uint16_t type, uint16_t subtype, Payload payload) {
  BeginSubBlock(Data::kSubBlockMetadata, sizeof type + sizeof subtype + payload.Size());
  return PutValue(type).PutValue(subtype).Put(payload.Data(), payload.Size());
}

CaptureBuilder& CaptureBuilder::SubBlock(uint16_t type, Payload body) {
  return BeginSubBlock(type, body.Size()).Put(body.Data(), body.Size());
}

CaptureBuilder& CaptureBuilder::ClaimSubBlockSize(uint32_t size) {
  PutAt(subBlockStart_ + offsetof(SubBlockHeader, size), &size, sizeof size);
  return *this;
}

CaptureBuilder& CaptureBuilder::ClaimBlockSize(uint32_t size) {
  PutAt(blockStart_ + offsetof(BlockHeader, size), &size, sizeof size);
  blockSizeClaimed_ = true;
  return *this;
}

CaptureBuilder& CaptureBuilder::ClaimFrameCount(uint32_t count) {
  header_.frameCount = count;
  frameCountClaimed_ = true;
  return *this;
}

CaptureBuilder& CaptureBuilder::ClaimFileSize(uint64_t size) {
  header_.fileSize = size;
  fileSizeClaimed_ = true;
  return *this;
}

CaptureBuilder& CaptureBuilder::Unfinished() {
  unfinished_ = true;
  return ClaimFrameCount(0).ClaimFileSize(0);
}

CaptureBuilder& CaptureBuilder::SetByte(size_t offset, uint8_t value) {
  setBytes_.emplace_back(offset, value);
  return *this;
}

CaptureBuilder& CaptureBuilder::Shrink(size_t count) {
  dropped_ += count;
  return *this;
}

std::vector<uint8_t> CaptureBuilder::Finish() const {
  CaptureBuilder whole = *this;
  if (!unfinished_) whole.EndBlock();
  if (!frameCountClaimed_) whole.header_.frameCount = frames_;
  if (!fileSizeClaimed_) whole.header_.fileSize = whole.Size();
  whole.PutAt(0, &whole.header_, sizeof header_);
  for (const auto& [offset, value] : setBytes_) whole.bytes_.at(offset) = value;
  whole.bytes_.resize(whole.Size() - dropped_);
  return std::move(whole.bytes_);
}

void CaptureBuilder::WriteTo(const std::string& path) const {
  const std::vector<uint8_t> finished = Finish();
  std::ofstream file(path, std::ios::binary | std::ios::trunc);
  file.write(reinterpret_cast<const char*>(finished.data()),
             static_cast<std::streamsize>(finished.size()));
  file.close();
  if (!file) throw std::runtime_error("cannot write " + path);
}

CaptureBuilder& CaptureBuilder::BeginBlock(uint16_t type, uint32_t number) {
  EndBlock();
  blockStart_ = Size();
  blockSizeClaimed_ = false;
  return PutValue(BlockHeader{type, 0}).PutValue(number);
}

CaptureBuilder& CaptureBuilder::BeginSubBlock(uint16_t type, size_t size) {
  subBlockStart_ = Size();
  const SubBlockHeader header{type, static_cast<uint32_t>(size), thread_};
  const bool hasThread = (header_.optionMask & Data::kOptionThreadIds) != 0;
  return Put(&header, hasThread ? sizeof header : sizeof header - sizeof thread_);
}

CaptureBuilder& CaptureBuilder::Put(const void* from, size_t count) {
  if (count != 0) {
    const auto* first = static_cast<const uint8_t*>(from);
    bytes_.insert(bytes_.end(), first, first + count);
  }
  return *this;
}

void CaptureBuilder::PutAt(size_t offset, const void* from, size_t count) {
  std::memcpy(&bytes_.at(offset + count - 1) - (count - 1), from, count);
}

std::vector<uint8_t> CaptureBuilder::Compress(Payload payload) const {
  using Quality = Util::Compressor::CompressorQuality;
  std::unique_ptr<Util::Compressor> compressor;
  switch ((header_.optionMask & Data::kOptionCompressionMask) >> Data::kOptionCompressionShift) {
    case Data::kCompressionLZ4:
      compressor = std::make_unique<Util::LZ4Compressor>(Quality::kDefault, 1);
      break;
    case Data::kCompressionLZ77:
      compressor = std::make_unique<Util::LZ77Compressor>(Quality::kDefault, 1, 32768);
      break;
    default:
      return {payload.Data(), payload.Data() + payload.Size()};
  }
  unsigned int size = compressor->CompressBound(payload.Size());
  std::vector<uint8_t> stored(size);
  if (!compressor->Compress(payload.Data(), payload.Size(), stored.data(), &size)) {
    throw std::runtime_error("cannot compress");
  }
  stored.resize(size);
  return stored;
}
