#include "Data/MetaDecoder.h"

#include <algorithm>
#include <stdexcept>

#include "Core/Log.h"
#include "Data/BoundedRead.h"
#include "Data/Limits.h"

namespace Data {
namespace {

using Core::Log;
using Handlers = Registry<MetaHandler>;

// Takes the places of removed handlers (`Data/Registry.h`).
class : public MetaHandler {
} nobody;

constexpr char kUnit[] = "src/Data/MetaDecoder";
constexpr char kCut[] =
    "DCAP metadata decoding error: block is too small to contain all expected data";
// Site numbers are part of the messages (`Core::Log::Record::line`): filters go by them.
constexpr int kCutValueSite = 213;
constexpr int kCutArraySite = 241;
constexpr int kUnknownTextSite = 89;
constexpr int kUnknownCommandSite = 128;
constexpr int kUnknownStateSite = 171;
constexpr int kUnknownTypeSite = 184;

// The default of arguments that name an object.
constexpr uint32_t kAllBits = 0xFFFFFFFF;

void LogCut(int site) {
  Log::Print(Log::LogLevel::kError, Log::LogZone::kProcessing, site, kUnit, true, kCut);
}
void LogCutValue() { LogCut(kCutValueSite); }

// Reads one record from its start to its end, and owns the names that it makes meanwhile. A read
// that fails takes no bytes, so that a shorter value after it may still be found.
class RecordReader {
 public:
  RecordReader(uint32_t subtype, const uint8_t* data, uint32_t size)
      : subtype_(subtype), data_(data), size_(size) {}

  uint32_t Subtype() const { return subtype_; }
  const uint8_t* Data() const { return data_; }
  uint32_t Size() const { return size_; }

  // Each field keeps its value when the payload does not hold it.
  template <typename... Fields>
  void Read(Fields*... fields) {
    (ReadBytes(fields, sizeof(*fields)), ...);
  }

  void ReadBytes(void* dest, uint32_t width) {
    offset_ += MetaDecoder::ExtractValue(data_, size_, offset_, width, dest);
  }

  // A NUL-terminated copy of a text, all NUL when the payload cuts it; null for no length.
  char* Text(uint32_t length) {
    if (length == 0) return nullptr;
    if (length > BytesLeft()) RequireUnbackedSize(claimed_ += length);
    char* text = texts_.emplace_back(MakeZeroed<char>(uint64_t{length} + 1)).get();
    ReadBytes(text, length);  // all or nothing: a cut name stays empty
    return text;
  }
  char* Name(int32_t length) { return Text(static_cast<uint32_t>(std::max(length, 0))); }

  // `count` elements where they stand in the payload; null when they do not, or are none.
  const void* Elements(uint32_t elementSize, uint32_t count) {
    const void* elements = nullptr;
    offset_ += MetaDecoder::ExtractArray(data_, size_, offset_, elementSize, count, &elements);
    return elements;
  }
  const uint8_t* Data(uint32_t length) { return static_cast<const uint8_t*>(Elements(1, length)); }
  const uint32_t* Words(int32_t count) {
    return count < 1 ? nullptr
                     : static_cast<const uint32_t*>(Elements(4, static_cast<uint32_t>(count)));
  }

  // Like Data, but silent: the size is wider than any payload.
  const uint8_t* PlaneData(uint64_t size) {
    if (size > BytesLeft()) return nullptr;
    const uint8_t* start = data_ + offset_;
    offset_ += static_cast<uint32_t>(size);
    return start;
  }

  // Makes `count` zeroed entries, each of which takes at least `leastBytes` of the payload; null
  // for none. False when there are more than the payload has bytes, which no honest record has.
  template <typename Entry>
  bool MakeEntries(uint32_t count, uint32_t leastBytes, ZeroedArray<Entry>* entries) {
    if (count > size_) {
      LogCutValue();
      return false;
    }
    if (count > BytesLeft() / leastBytes) RequireUnbackedSize(uint64_t{count} * sizeof(Entry));
    if (count != 0) *entries = MakeZeroed<Entry>(count);
    return true;
  }

 private:
  uint32_t BytesLeft() const { return size_ - offset_; }

  const uint32_t subtype_;
  const uint8_t* const data_;
  const uint32_t size_;
  uint32_t offset_ = 0;   // never beyond size_
  uint64_t claimed_ = 0;  // sum of the lengths that the payload does not prove
  std::vector<ZeroedArray<char>> texts_;
};

// Every handler receives the same record, which is decoded once.
template <typename... Parameters, typename... Arguments>
void Deliver(const Handlers& handlers, void (MetaHandler::*operation)(Parameters...),
             const Arguments&... arguments) {
  for (MetaHandler* handler : handlers) (handler->*operation)(arguments...);
}

template <void (MetaHandler::*operation)(const uint8_t*, uint32_t)>
void DecodeText(RecordReader& in, const Handlers& handlers) {
  Deliver(handlers, operation, in.Data(), in.Size());
}

void DecodeRaw(RecordReader& in, const Handlers& handlers) {
  Deliver(handlers, &MetaHandler::ProcessRawMetadata, in.Subtype(), in.Data(), in.Size());
}

void DecodeDisplayMessage(RecordReader& in, const Handlers& handlers) {
  uint32_t length = 0;
  in.Read(&length);
  const char* text = in.Text(length);
  if (handlers.IsEmpty()) return;
  // Users have always seen an empty message as this exception, so it is part of the interface.
  if (text == nullptr) throw std::logic_error("basic_string::_M_construct null not valid");
  Deliver(handlers, &MetaHandler::DisplayMessage, std::string(text));
}

void DecodeWindowSize(RecordReader& in, const Handlers& handlers) {
  uint32_t a0 = kAllBits;
  uint32_t a1 = kAllBits;
  uint32_t a2 = 0;
  uint32_t a3 = 0;
  in.Read(&a0, &a1, &a2, &a3);
  Deliver(handlers, &MetaHandler::SetWindowSize, a0, a1, a2, a3);
}

void DecodeCreateImageBuffer(RecordReader& in, const Handlers& handlers) {
  uint32_t a0 = kAllBits;
  uint32_t a1 = kAllBits;
  EglImageBufferDesc desc{};
  in.Read(&a0, &a1, &desc.f0, &desc.f1, &desc.f2, &desc.f3);
  Deliver(handlers, &MetaHandler::CreateEglImageBuffer, a0, a1, &desc);
}

void DecodeImageContent(RecordReader& in, const Handlers& handlers) {
  uint32_t image = kAllBits;
  EglImageBufferDesc desc{};
  in.Read(&image, &desc.f0, &desc.f1, &desc.f2, &desc.f3, &desc.planeCount);
  // Zeroed, as are all tables: fields that the payload does not hold reach handlers as zeros.
  ZeroedArray<EglImagePlane> planes;
  if (!in.MakeEntries(desc.planeCount, 20, &planes)) return;
  desc.planes = planes.get();
  for (uint32_t i = 0; i < desc.planeCount; ++i) {
    in.Read(&planes[i].p0, &planes[i].size, &planes[i].p1);
    planes[i].data = in.PlaneData(planes[i].size);
  }
  Deliver(handlers, &MetaHandler::SetEglImageContent, image, &desc);
}

template <void (MetaHandler::*operation)(uint32_t, uint32_t, uint32_t, uint32_t, uint32_t, uint32_t,
                                         uint32_t, const uint8_t*)>
void DecodeDefaultBuffer(RecordReader& in, const Handlers& handlers) {
  uint32_t a[6] = {};
  uint32_t length = 0;
  in.Read(&a[0], &a[1], &a[2], &a[3], &a[4], &a[5], &length);
  if (length == 0) return;
  const uint8_t* pixels = in.Data(length);
  // The size handed on is that of the record, not `length`: handlers rely on it.
  Deliver(handlers, operation, a[0], a[1], a[2], a[3], a[4], a[5], in.Size(), pixels);
}

void DecodeMultiSampleTexture(RecordReader& in, const Handlers& handlers) {
  uint32_t a[8] = {};
  int32_t a8 = 0;
  uint32_t length = 0;
  in.Read(&a[0], &a[1], &a[2], &a[3], &a[4], &a[5], &a[6], &a[7], &a8, &length);
  if (length == 0) return;
  const uint8_t* data = in.Data(length);
  Deliver(handlers, &MetaHandler::MultiSampleTexture, a[0], a[1], a[2], a[3], a[4], a[5], a[6],
          a[7], a8, static_cast<int32_t>(length), data);
}

template <void (MetaHandler::*operation)(uint32_t, uint32_t, const uint32_t*, uint32_t)>
void DecodeAttributes(RecordReader& in, const Handlers& handlers) {
  uint32_t a0 = kAllBits;
  uint32_t a1 = kAllBits;
  uint32_t count = 0;
  in.Read(&a0, &a1, &count);
  ZeroedArray<uint32_t> values;
  if (!in.MakeEntries(count, sizeof(uint32_t), &values)) return;
  // One read for all: they are there whole or not at all. A width beyond 32 bits fails like the
  // largest one.
  const uint64_t width = uint64_t{count} * sizeof(uint32_t);
  in.ReadBytes(values.get(), static_cast<uint32_t>(std::min<uint64_t>(width, UINT32_MAX)));
  Deliver(handlers, operation, a0, a1, values.get(), count);
}

void DecodeLimits(RecordReader& in, const Handlers& handlers) {
  uint32_t count = 0;
  in.Read(&count);
  ZeroedArray<GLLimitPair> pairs;
  if (count == 0 || !in.MakeEntries(count, 8, &pairs)) return;
  for (uint32_t i = 0; i < count; ++i) in.Read(&pairs[i].first, &pairs[i].second);
  Deliver(handlers, &MetaHandler::GLLimitsDesc, count, pairs.get());
}

// The entries of a program's interface tables, and the bytes that the least of them takes.
template <typename Entry>
constexpr uint32_t kLeastBytes = 0;

template <>
constexpr uint32_t kLeastBytes<GLResourceDesc> = 5 * 4;
void ReadEntry(RecordReader& in, GLResourceDesc& entry) {
  in.Read(&entry.e0, &entry.e1, &entry.e2, &entry.e3, &entry.nameLength);
  entry.name = in.Name(entry.nameLength);
}

template <>
constexpr uint32_t kLeastBytes<GLUniformBlockDesc> = 8 * 4;
void ReadEntry(RecordReader& in, GLUniformBlockDesc& entry) {
  in.Read(&entry.e0, &entry.e1, &entry.nameLength);
  entry.name = in.Name(entry.nameLength);
  in.Read(&entry.e3, &entry.e4, &entry.e5, &entry.e6, &entry.arrayLength);
  for (const uint32_t*& array : entry.arrays) array = in.Words(entry.arrayLength);
}

template <>
constexpr uint32_t kLeastBytes<GLAtomicCounterBufferDesc> = 7 * 4;
void ReadEntry(RecordReader& in, GLAtomicCounterBufferDesc& entry) {
  in.Read(&entry.e0, &entry.e1, &entry.e2, &entry.e3, &entry.e4, &entry.e5, &entry.arrayLength);
  entry.array = in.Words(entry.arrayLength);
}

template <>
constexpr uint32_t kLeastBytes<GLBufferVariableDesc> = 14 * 4;
void ReadEntry(RecordReader& in, GLBufferVariableDesc& entry) {
  in.Read(&entry.e0, &entry.e1, &entry.e2, &entry.e3, &entry.e4, &entry.e5, &entry.e6, &entry.e7,
          &entry.e8, &entry.e9, &entry.e10, &entry.e11, &entry.e12, &entry.nameLength);
  entry.name = in.Name(entry.nameLength);
}

template <>
constexpr uint32_t kLeastBytes<GLStorageBlockDesc> = 8 * 4;
void ReadEntry(RecordReader& in, GLStorageBlockDesc& entry) {
  in.Read(&entry.e0, &entry.nameLength);
  entry.name = in.Name(entry.nameLength);
  in.Read(&entry.e2, &entry.e3, &entry.e4, &entry.e5, &entry.e6, &entry.arrayLength);
  entry.array = in.Words(entry.arrayLength);
}

template <typename Entry, void (MetaHandler::*operation)(uint32_t, uint32_t, const Entry*)>
void DecodeProgramTable(RecordReader& in, const Handlers& handlers) {
  // Without it a count could claim entries that take no bytes.
  static_assert(kLeastBytes<Entry> != 0);
  uint32_t program = kAllBits;
  uint32_t count = 0;
  in.Read(&program, &count);
  ZeroedArray<Entry> entries;
  if (!in.MakeEntries(count, kLeastBytes<Entry>, &entries)) return;
  for (uint32_t i = 0; i < count; ++i) ReadEntry(in, entries[i]);
  Deliver(handlers, operation, program, count, entries.get());
}

struct RecordKind {
  uint32_t type;
  uint32_t subtype;
  const char* name;
  void (*decode)(RecordReader& in, const Handlers& handlers);
};

using H = MetaHandler;
constexpr RecordKind kRecordKinds[] = {
    {kMetadataText, 1, "ProcessTextMetadata1", &DecodeText<&H::ProcessTextMetadata1>},
    {kMetadataText, 2, "ProcessTextMetadata2", &DecodeText<&H::ProcessTextMetadata2>},
    {kMetadataText, 3, "ProcessTextMetadata3", &DecodeText<&H::ProcessTextMetadata3>},
    {kMetadataCommand, 1, "DisplayMessage", &DecodeDisplayMessage},
    {kMetadataCommand, 2, "SetWindowSize", &DecodeWindowSize},
    {kMetadataCommand, 3, "SetEglImageContent", &DecodeImageContent},
    {kMetadataCommand, 4, "DefaultColorBuffer", &DecodeDefaultBuffer<&H::DefaultColorBuffer>},
    {kMetadataCommand, 5, "DefaultDepthBuffer", &DecodeDefaultBuffer<&H::DefaultDepthBuffer>},
    {kMetadataCommand, 6, "DefaultStencilBuffer", &DecodeDefaultBuffer<&H::DefaultStencilBuffer>},
    {kMetadataCommand, 7, "CreateEglImageBuffer", &DecodeCreateImageBuffer},
    {kMetadataCommand, 8, "MultiSampleTexture", &DecodeMultiSampleTexture},
    {kMetadataStateDescription, 1, "EGLConfigStateDesc", &DecodeAttributes<&H::EGLConfigStateDesc>},
    {kMetadataStateDescription, 2, "EGLSurfaceStateDesc",
     &DecodeAttributes<&H::EGLSurfaceStateDesc>},
    {kMetadataStateDescription, 3, "GLUniformsStateDesc",
     &DecodeProgramTable<GLResourceDesc, &H::GLUniformsStateDesc>},
    {kMetadataStateDescription, 4, "GLUniformBlocksStateDesc",
     &DecodeProgramTable<GLUniformBlockDesc, &H::GLUniformBlocksStateDesc>},
    {kMetadataStateDescription, 5, "GLAttributesStateDesc",
     &DecodeProgramTable<GLResourceDesc, &H::GLAttributesStateDesc>},
    {kMetadataStateDescription, 6, "GLLimitsDesc", &DecodeLimits},
    {kMetadataStateDescription, 7, "GLAtomicCounterBufferStateDesc",
     &DecodeProgramTable<GLAtomicCounterBufferDesc, &H::GLAtomicCounterBufferStateDesc>},
    {kMetadataStateDescription, 8, "GLBufferVariablesStateDesc",
     &DecodeProgramTable<GLBufferVariableDesc, &H::GLBufferVariablesStateDesc>},
    {kMetadataStateDescription, 9, "GLStorageBlocksStateDesc",
     &DecodeProgramTable<GLStorageBlockDesc, &H::GLStorageBlocksStateDesc>},
    {kMetadataRaw, 0, "ProcessRawMetadata", &DecodeRaw},
};

const RecordKind* FindKind(uint32_t type, uint32_t subtype) {
  // Records are rare beside calls: a search through 21 rows will do.
  for (const RecordKind& kind : kRecordKinds) {
    if (kind.type == type && (kind.subtype == subtype || type == kMetadataRaw)) return &kind;
  }
  return nullptr;
}

void LogUnknown(int site, const char* format, uint32_t value) {
  Log::Print(Log::LogLevel::kNotice, Log::LogZone::kProcessing, site, kUnit, true, format,
             static_cast<int>(value));
}

// For commands and state descriptions the number logged is the type, as it has always been.
void LogUnknownKind(uint32_t type, uint32_t subtype) {
  switch (type) {
    case kMetadataText:
      return LogUnknown(kUnknownTextSite, "Unknown metadata text subtype %d", subtype);
    case kMetadataCommand:
      return LogUnknown(kUnknownCommandSite, "Unknown metadata command subtype %d", type);
    case kMetadataStateDescription:
      return LogUnknown(kUnknownStateSite, "Unknown metadata state description subtype %d", type);
    default:
      return LogUnknown(kUnknownTypeSite, "Unknown metadata type %d", type);
  }
}

}  // namespace

const char* MetadataRecordName(uint32_t type, uint32_t subtype) {
  const RecordKind* kind = FindKind(type, subtype);
  return kind == nullptr ? nullptr : kind->name;
}

MetaDecoder::MetaDecoder() : handlers_(&nobody) {}

MetaDecoder::~MetaDecoder() = default;

void MetaDecoder::ProcessMetadata(uint32_t type, uint32_t subtype, const uint8_t* data,
                                  uint32_t size) {
  const RecordKind* kind = FindKind(type, subtype);
  if (kind == nullptr) return LogUnknownKind(type, subtype);
  RecordReader in(subtype, data, size);
  kind->decode(in, handlers_);
}

void MetaDecoder::ProcessThreadChange(uint32_t threadId) {
  Deliver(handlers_, &MetaHandler::ProcessThreadChange, threadId);
}

void MetaDecoder::SetCurrentThreadId(uint32_t threadId) {
  if (threadId == currentThreadId_) return;
  currentThreadId_ = threadId;
  ProcessThreadChange(threadId);
}

void MetaDecoder::AddHandler(MetaHandler* handler) { handlers_.Add(handler); }

void MetaDecoder::RemoveHandler(MetaHandler* handler) { handlers_.Remove(handler); }

uint32_t MetaDecoder::ExtractValue(const uint8_t* data, uint32_t size, uint32_t offset,
                                   uint32_t width, void* dest) {
  return BoundedRead(data, size, offset, width, dest, &LogCutValue);
}

uint32_t MetaDecoder::ExtractArray(const uint8_t* data, uint32_t size, uint32_t offset,
                                   uint32_t elementSize, uint32_t count, const void** out) {
  if (offset >= size) return 0;
  const uint64_t bytes = uint64_t{elementSize} * count;
  if (size - offset < bytes) {
    LogCut(kCutArraySite);
    return 0;
  }
  *out = data + offset;
  return static_cast<uint32_t>(bytes);
}

}  // namespace Data
