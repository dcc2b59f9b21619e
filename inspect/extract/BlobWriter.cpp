#include "inspect/extract/BlobWriter.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <memory>

#include "inspect/events/PointerFacts.h"
#include "inspect/listing/Checksum.h"
#include "inspect/listing/OutputError.h"

namespace Inspect {

namespace {

struct Closer {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, Closer>;

void WriteFile(const std::string& path, std::span<const uint8_t> bytes) {
  File file(std::fopen(path.c_str(), "wb"));
  if (file == nullptr || std::fwrite(bytes.data(), 1, bytes.size(), file.get()) != bytes.size() ||
      std::fclose(file.release()) != 0) {
    throw OutputError(path, errno);
  }
}

bool FileHolds(const std::string& path, std::span<const uint8_t> bytes) {
  const File file(std::fopen(path.c_str(), "rb"));
  if (file == nullptr) {
    throw OutputError(path, errno);
  }
  uint8_t piece[4096];
  size_t count = 0;
  while (!bytes.empty() && (count = std::fread(piece, 1, sizeof(piece), file.get())) != 0) {
    if (count > bytes.size() || !std::equal(piece, piece + count, bytes.begin())) {
      return false;
    }
    bytes = bytes.subspan(count);
  }
  return bytes.empty();
}

}  // namespace

BlobWriter::BlobWriter(EventHandler* next, std::filesystem::path folder,
                       std::function<void(const std::string& path)> onClash)
    : next_(next), folder_(std::move(folder)), onClash_(std::move(onClash)) {
  std::error_code error;
  std::filesystem::create_directories(folder_, error);
  if (error) {
    throw OutputError(folder_, error.value());
  }
}

void BlobWriter::Call(const EventContext& context, const Data::CallDesc& call,
                      std::span<const Data::CallValue> values) {
  KeepValues(call, values);
  next_->Call(context, call, values);
}

void BlobWriter::ClientData(const EventContext& context, const Data::CallDesc& operation,
                            std::span<const Data::CallValue> values) {
  KeepValues(operation, values);
  next_->ClientData(context, operation, values);
}

void BlobWriter::Metadata(const EventContext& context, const MetaRecord& record) {
  KeepFields(record.fields);
  next_->Metadata(context, record);
}

void BlobWriter::KeepValues(const Data::CallDesc& call, std::span<const Data::CallValue> values) {
  for (size_t i = 0; i < values.size(); ++i) {
    const Data::CallValue& value = values[i];
    if (value.type == Data::ValueType::kBytes && value.bytes != nullptr) {
      Keep({value.bytes, value.byteCount});
    } else if (value.type == Data::ValueType::kPointer && value.pointer->arrayData != nullptr &&
               !ContentIsMissing(*value.pointer) &&
               IsByteData(*call.values[i].type, *value.pointer)) {
      Keep(ArrayBytes(*value.pointer));
    }
  }
}

void BlobWriter::KeepFields(std::span<const MetaField> fields) {
  for (const MetaField& field : fields) {
    if (field.kind == MetaField::kBytes && field.bytes.data() != nullptr) {
      Keep(field.bytes);
    }
    for (uint64_t i = 0; field.kind == MetaField::kEntries && i < field.number; ++i) {
      KeepFields(field.entry(i));
    }
  }
}

void BlobWriter::Keep(std::span<const uint8_t> bytes) {
  const uint32_t crc = Crc32(bytes);
  char name[40];
  std::snprintf(name, sizeof(name), "%08x-%zu.bin", crc, bytes.size());
  const std::string path = folder_ / name;
  if (kept_.insert(uint64_t{bytes.size()} << 32 | crc).second) {
    WriteFile(path, bytes);
  } else if (!FileHolds(path, bytes)) {
    onClash_(path);
  }
}

}  // namespace Inspect
