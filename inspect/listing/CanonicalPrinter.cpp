// The canonical form: stable, complete and bare, for comparing and hashing captures.
#include "inspect/listing/CanonicalPrinter.h"

#include <bit>

#include "inspect/events/PointerFacts.h"
#include "inspect/listing/Checksum.h"

namespace Inspect {

void CanonicalPrinter::FileStart(const Data::FileHeader& header) {
  out_.Text("file ");
  out_.Number(unsigned{header.versionMajor});
  out_.Char('.');
  out_.Number(unsigned{header.versionMinor});
  out_.Char('.');
  out_.Number(unsigned{header.versionLow});
  out_.Text(" 0x");
  out_.Hex(header.optionMask, 8);
  out_.Char(' ');
  for (const uint8_t byte : header.reserved) {
    out_.Hex(byte, 2);
  }
  out_.Char(' ');
  out_.Number(uint32_t{header.frameCount});
  out_.Char(' ');
  out_.Number(uint64_t{header.fileSize});
  out_.Char('\n');
}

void CanonicalPrinter::Block(const EventContext& context, const Data::BlockHeader& header) {
  out_.Text("block ");
  out_.Number(unsigned{header.type});
  out_.Char(' ');
  out_.Number(context.blockNumber);
  out_.Char(' ');
  out_.Number(uint32_t{header.size});
  out_.Char('\n');
}

void CanonicalPrinter::Call(const EventContext& context, const Data::CallDesc& call,
                            std::span<const Data::CallValue> values) {
  LineStart(context);
  out_.Text(call.name);
  out_.Char('(');
  for (size_t i = 0; i < call.parameterCount; ++i) {
    if (i != 0) {
      out_.Text(", ");
    }
    Value(values[i]);
  }
  out_.Char(')');
  if (call.hasResult) {
    out_.Text(" = ");
    Value(values[call.parameterCount]);
  }
  out_.Char('\n');
}

void CanonicalPrinter::ClientData(const EventContext& context, const Data::CallDesc& operation,
                                  std::span<const Data::CallValue> values) {
  Call(context, operation, values);
}

void CanonicalPrinter::Metadata(const EventContext& context, const MetaRecord& record) {
  LineStart(context);
  out_.Text("meta.");
  out_.Text(record.name);
  out_.Char('(');
  bool first = true;
  const auto separate = [&] {
    if (!first) {
      out_.Text(", ");
    }
    first = false;
  };
  for (const MetaField& field : record.fields) {
    if (field.kind == MetaField::kEntries) {
      for (uint64_t i = 0; i < field.number; ++i) {
        separate();
        out_.Char('{');
        const char* gap = "";
        for (const MetaField& part : field.entry(i)) {
          out_.Text(gap);
          gap = " ";
          Field(part);
        }
        out_.Char('}');
      }
    } else {
      separate();
      Field(field);
    }
  }
  out_.Char(')');
  out_.Char('\n');
}

void CanonicalPrinter::LineStart(const EventContext& context) {
  if (context.setUp) {
    out_.Char('S');
  }
  out_.Number(context.blockNumber);
  out_.Char(' ');
  if (context.hasThread) {
    out_.Number(context.threadId);
  } else {
    out_.Char('-');
  }
  out_.Char(' ');
}

void CanonicalPrinter::Value(const Data::CallValue& value) {
  switch (value.type) {
    case Data::ValueType::kInt32:
      return out_.Number(value.i32);
    case Data::ValueType::kFloat:
      out_.Text("0x");
      return out_.Hex(std::bit_cast<uint32_t>(value.f32), 8);
    case Data::ValueType::kUint64:
      return out_.Number(value.u64);
    case Data::ValueType::kPointer:
      return Pointer(*value.pointer);
    case Data::ValueType::kBytes:
      return Bytes({value.bytes, value.bytes != nullptr ? value.byteCount : 0});
    default:
      return out_.Number(value.u32);
  }
}

void CanonicalPrinter::Pointer(const Data::PointerData& pointer) {
  if (HasAddress(pointer)) {
    out_.Text("@0x");
    out_.Hex(pointer.pointerValue);
  }
  if (!HasContent(pointer)) {
    if (!HasAddress(pointer)) {
      out_.Char('-');
    }
    return;
  }
  if (HasAddress(pointer)) {
    out_.Char(':');
  }
  const auto content = [&](std::span<const uint8_t> bytes) {
    if (ContentIsUnrecorded(pointer)) {
      out_.Char('!');
    } else {
      Checksum(bytes, pointer.IsClaimed());
    }
  };
  switch (pointer.flags & Data::PointerKindMask) {
    case Data::PointerKindArray:
      out_.Char('a');
      out_.Number(pointer.elementSize);
      out_.Char('x');
      out_.Number(pointer.count);
      return content(ArrayBytes(pointer));
    case Data::PointerKindString:
      out_.Char('s');
      out_.Number(pointer.count);
      return content({reinterpret_cast<const uint8_t*>(pointer.stringData), pointer.count});
    case Data::PointerKindStringArray:
      return Strings(pointer);
    default:
      out_.Char('v');
      out_.Number(pointer.elementSize);
      return content(ArrayBytes(pointer));
  }
}

void CanonicalPrinter::Strings(const Data::PointerData& pointer) {
  out_.Text("S[");
  for (uint32_t i = 0; i < pointer.count; ++i) {
    if (i != 0) {
      out_.Char(';');
    }
    if (pointer.strings[i] == nullptr) {
      out_.Char('-');
      continue;
    }
    out_.Number(pointer.stringLengths[i]);
    if ((pointer.stringFlags[i] & Data::PointerFlagNoContent) != 0) {
      out_.Char('!');
    } else {
      Checksum({reinterpret_cast<const uint8_t*>(pointer.strings[i]), pointer.stringLengths[i]},
               pointer.IsClaimed(i));
    }
  }
  out_.Char(']');
}

void CanonicalPrinter::Field(const MetaField& field) {
  switch (field.kind) {
    case MetaField::kUnsigned:
      return out_.Number(field.number);
    case MetaField::kSigned:
      return out_.Number(static_cast<int64_t>(field.number));
    case MetaField::kNumbers:
      out_.Char('{');
      for (size_t i = 0; i < field.bytes.size(); i += sizeof(uint32_t)) {
        if (i != 0) {
          out_.Char(' ');
        }
        out_.Number(Load<uint32_t>(&field.bytes[i]));
      }
      return out_.Char('}');
    default:
      return Bytes(field.bytes);
  }
}

void CanonicalPrinter::Bytes(std::span<const uint8_t> bytes) {
  if (bytes.data() == nullptr) {
    return out_.Char('-');
  }
  out_.Char('b');
  out_.Number(bytes.size());
  Checksum(bytes);
}

void CanonicalPrinter::Checksum(std::span<const uint8_t> bytes, bool claimed) {
  out_.Char('#');
  // Claimed bytes are zero. There may be too many of them to have them in memory.
  out_.Hex(claimed ? Crc32OfZeros(bytes.size()) : Crc32(bytes), 8);
}

}  // namespace Inspect
