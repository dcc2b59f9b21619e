#include "BareWalk.h"

#include <array>
#include <cstring>
#include <tuple>
#include <type_traits>
#include <unordered_map>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

#include "Data/ApiCallType.h"
#include "Data/DCAPFormat.h"
#include "Data/PointerData.h"

BareReader::BareReader(const std::string& path)
    : file_(open(path.c_str(), O_RDONLY | O_CLOEXEC)),
      buffer_(new unsigned char[kBufferSize]),
      next_(buffer_.get()),
      limit_(next_) {}

BareReader::~BareReader() { close(file_); }

unsigned long BareReader::Read(void* buffer, unsigned long size) {
  auto* to = static_cast<unsigned char*>(buffer);
  unsigned long wanted = size;
  while (static_cast<unsigned long>(limit_ - next_) < wanted) [[unlikely]] {
      const auto rest = static_cast<unsigned long>(limit_ - next_);
      std::memcpy(to, next_, rest);
      to += rest;
      wanted -= rest;
      next_ = limit_ = buffer_.get();
      // What is larger than the buffer needs no copy.
      const bool direct = wanted >= kBufferSize;
      const ssize_t got =
          direct ? read(file_, to, wanted) : read(file_, buffer_.get(), kBufferSize);
      if (got <= 0) {
        return size - wanted;
      }
      if (direct) {
        to += got;
        wanted -= static_cast<unsigned long>(got);
      } else {
        limit_ += got;
      }
    }
  std::memcpy(to, next_, wanted);
  next_ += wanted;
  return size;
}

namespace {

using Data::ApiCallType;
using Data::GLAdapter;
using Data::PointerData;

constexpr uint32_t kFirstCall = 0x9000;
constexpr uint32_t kCallIds = 531;

template <uint32_t kElementSize, typename T>
uint32_t Extract(const uint8_t* payload, uint32_t size, uint32_t offset, T* value) {
  if (size < offset || size - offset < sizeof(T)) {
    return 0;
  }
  std::memcpy(value, payload + offset, sizeof(T));
  return sizeof(T);
}

PointerData pointer;

// Frees what the call before needed, allocates and copies.
template <uint32_t kElementSize>
uint32_t Extract(const uint8_t* payload, uint32_t size, uint32_t offset,
                 const PointerData** value) {
  delete[] pointer.arrayData;
  pointer.arrayData = nullptr;
  uint32_t consumed = Extract<0>(payload, size, offset, &pointer.flags);
  pointer.count = 1;
  if ((pointer.flags & Data::PointerKindMask) != 0) {
    consumed += Extract<0>(payload, size, offset + consumed, &pointer.count);
  }
  const uint32_t bytes = pointer.count * kElementSize;
  if (size - offset - consumed >= bytes) {
    pointer.arrayData = new uint8_t[bytes];
    std::memcpy(pointer.arrayData, payload + offset + consumed, bytes);
    consumed += bytes;
  }
  pointer.data = pointer.arrayData;
  *value = &pointer;
  return consumed;
}

using Handler = void (*)(GLAdapter& adapter, const uint8_t* payload, uint32_t size);

struct Entry {
  Handler handler = nullptr;
  int pointers = 0;
};

template <auto kOperation, uint32_t kElementSize, typename... Values>
void Handle(GLAdapter& adapter, const uint8_t* payload, uint32_t size) {
  std::tuple<Values...> values{};
  uint32_t offset = 0;
  std::apply(
      [&](auto&... value) {
        ((offset += Extract<kElementSize>(payload, size, offset, &value)), ...);
        (adapter.*kOperation)(value...);
      },
      values);
}

template <auto kOperation, uint32_t kElementSize, typename... Values>
constexpr Entry MakeEntry(void (GLAdapter::*)(Values...)) {
  return {&Handle<kOperation, kElementSize, Values...>, (0 + ... + int{std::is_pointer_v<Values>})};
}

template <auto kOperation, uint32_t kElementSize = 4>
void Know(std::array<Entry, kCallIds>* table, ApiCallType id) {
  (*table)[static_cast<uint32_t>(id) - kFirstCall] =
      MakeEntry<kOperation, kElementSize>(kOperation);
}

std::array<Entry, kCallIds> MakeTable() {
  std::array<Entry, kCallIds> table{};
  Know<&GLAdapter::glActiveTexture>(&table, ApiCallType::glActiveTexture);
  Know<&GLAdapter::glAttachShader>(&table, ApiCallType::glAttachShader);
  Know<&GLAdapter::glBindAttribLocation, 1>(&table, ApiCallType::glBindAttribLocation);
  Know<&GLAdapter::glBindBuffer>(&table, ApiCallType::glBindBuffer);
  Know<&GLAdapter::glBindFramebuffer>(&table, ApiCallType::glBindFramebuffer);
  Know<&GLAdapter::glBindTexture>(&table, ApiCallType::glBindTexture);
  Know<&GLAdapter::glBlendFunc>(&table, ApiCallType::glBlendFunc);
  Know<&GLAdapter::glBufferSubData, 1>(&table, ApiCallType::glBufferSubData);
  Know<&GLAdapter::glClear>(&table, ApiCallType::glClear);
  Know<&GLAdapter::glClearColor>(&table, ApiCallType::glClearColor);
  Know<&GLAdapter::glCompileShader>(&table, ApiCallType::glCompileShader);
  Know<&GLAdapter::glDeleteTextures>(&table, ApiCallType::glDeleteTextures);
  Know<&GLAdapter::glDisable>(&table, ApiCallType::glDisable);
  Know<&GLAdapter::glDisableVertexAttribArray>(&table, ApiCallType::glDisableVertexAttribArray);
  Know<&GLAdapter::glEnable>(&table, ApiCallType::glEnable);
  Know<&GLAdapter::glEnableVertexAttribArray>(&table, ApiCallType::glEnableVertexAttribArray);
  Know<&GLAdapter::glGenTextures>(&table, ApiCallType::glGenTextures);
  Know<&GLAdapter::glGetProgramiv>(&table, ApiCallType::glGetProgramiv);
  Know<&GLAdapter::glGetShaderiv>(&table, ApiCallType::glGetShaderiv);
  Know<&GLAdapter::glLinkProgram>(&table, ApiCallType::glLinkProgram);
  Know<&GLAdapter::glTexParameteri>(&table, ApiCallType::glTexParameteri);
  Know<&GLAdapter::glUniform1f>(&table, ApiCallType::glUniform1f);
  Know<&GLAdapter::glUniform1i>(&table, ApiCallType::glUniform1i);
  Know<&GLAdapter::glUniform4fv>(&table, ApiCallType::glUniform4fv);
  Know<&GLAdapter::glUniformMatrix4fv>(&table, ApiCallType::glUniformMatrix4fv);
  Know<&GLAdapter::glUseProgram>(&table, ApiCallType::glUseProgram);
  Know<&GLAdapter::glViewport>(&table, ApiCallType::glViewport);
  return table;
}

const std::array<Entry, kCallIds> kTable = MakeTable();

const Entry& EntryOf(uint16_t id) {
  static constexpr Entry kUnknown;
  return id >= kFirstCall && id - kFirstCall < kCallIds ? kTable[id - kFirstCall] : kUnknown;
}

template <typename BlockStart, typename Call, typename BlockEnd>
void Walk(Core::DataReader& reader, BlockStart blockStart, Call call, BlockEnd blockEnd) {
  std::unordered_map<uint32_t, uint32_t> threads;
  uint32_t lastThread = 0;
  std::vector<unsigned char> payload;
  Data::FileHeader header{};
  reader.Read(&header, sizeof(header));
  Data::BlockHeader block{};
  while (reader.Read(&block, sizeof(block)) == sizeof(block)) {
    uint32_t number = 0;
    reader.Read(&number, sizeof(number));
    blockStart(block, number);
    uint64_t trailer = 0;
    auto remaining = static_cast<uint32_t>(block.size - sizeof(number) - sizeof(trailer));
    while (remaining != 0) {
      Data::SubBlockHeader subHeader{};
      reader.Read(&subHeader, sizeof(subHeader));
      Data::FunctionCallDesc desc{};
      reader.Read(&desc, sizeof(desc));
      const auto size = static_cast<uint32_t>(subHeader.size - sizeof(desc));
      if (payload.size() < size) {
        payload.resize(size);
      }
      reader.Read(payload.data(), size);
      if (subHeader.threadId != lastThread) {
        threads.try_emplace(subHeader.threadId, static_cast<uint32_t>(threads.size()));
        lastThread = subHeader.threadId;
      }
      call(subHeader, desc, payload.data(), size);
      remaining -= static_cast<uint32_t>(sizeof(subHeader) + subHeader.size);
    }
    reader.Read(&trailer, sizeof(trailer));
    blockEnd(trailer);
  }
}

}  // namespace

bool BareWalkKnows(uint16_t id) { return EntryOf(id).handler != nullptr; }

int BarePointerCount(uint16_t id) { return EntryOf(id).pointers; }

void BareWalk(Core::DataReader& reader, Data::GLAdapter& adapter) {
  Walk(
      reader, [](const Data::BlockHeader&, uint32_t) {},
      [&](const Data::SubBlockHeader&, const Data::FunctionCallDesc& desc, const uint8_t* payload,
          uint32_t size) { kTable[desc.callId - kFirstCall].handler(adapter, payload, size); },
      [](uint64_t) {});
}

void BareWalk(Core::DataReader& reader, Data::DCAPConsumer& consumer) {
  Walk(
      reader,
      [&](const Data::BlockHeader& block, uint32_t number) {
        consumer.ProcessBlockStart(block);
        consumer.ProcessFrameNumber(number);
      },
      [&](const Data::SubBlockHeader& subHeader, const Data::FunctionCallDesc& desc,
          const uint8_t* payload,
          uint32_t size) { consumer.ProcessFunctionCall(subHeader, desc, payload, size); },
      [&](uint64_t trailer) { consumer.ProcessBlockEnd(trailer); });
}
