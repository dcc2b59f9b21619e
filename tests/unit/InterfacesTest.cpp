// Programs are compiled against the places of virtual operations and of members: they never change.
#include "Core/DataReader.h"
#include "Core/DataWriter.h"
#include "Core/Log.h"
#include "Data/BlockEventHandler.h"
#include "Data/Calls/CallEncoder.h"
#include "Data/Calls/GenericAdapter.h"
#include "Data/DCAPConsumer.h"
#include "Data/DCAPFormat.h"
#include "Data/Decoder.h"
#include "Data/EGLDecoder.h"
#include "Data/GLDecoder.h"
#include "Data/MetaDecoder.h"
#include "Data/MetaHandler.h"
#include "Data/PointerData.h"
#include "Util/Compressor.h"

#include "support/Test.h"

namespace {

// MACRO(ARGUMENT, NAME) for each of up to 256 names.
#define PARENTHESES ()
#define EXPAND(...) EXPAND3(EXPAND3(EXPAND3(EXPAND3(__VA_ARGS__))))
#define EXPAND3(...) EXPAND2(EXPAND2(EXPAND2(EXPAND2(__VA_ARGS__))))
#define EXPAND2(...) EXPAND1(EXPAND1(EXPAND1(EXPAND1(__VA_ARGS__))))
#define EXPAND1(...) EXPAND0(EXPAND0(EXPAND0(EXPAND0(__VA_ARGS__))))
#define EXPAND0(...) __VA_ARGS__
#define FOR_EACH(macro, argument, ...) __VA_OPT__(EXPAND(NEXT(macro, argument, __VA_ARGS__)))
#define NEXT(macro, argument, name, ...) \
  macro(argument, name) __VA_OPT__(NEXT_AGAIN PARENTHESES(macro, argument, __VA_ARGS__))
#define NEXT_AGAIN() NEXT

// ---- Operations.

// The slot of a virtual operation, as the C++ ABI of this platform encodes it.
template <typename Operation>
size_t SlotOf(Operation operation) {
  static_assert(sizeof(operation) == 2 * sizeof(uintptr_t));
  uintptr_t words[2];
  std::memcpy(words, &operation, sizeof(words));
#if defined(__aarch64__)
  return words[0] / sizeof(void*);
#else
  return (words[0] - 1) / sizeof(void*);
#endif
}

constexpr size_t kDestructors = 2;  // every table begins with a pair of them

void ExpectInOrder(size_t first, const std::vector<std::pair<const char*, size_t>>& operations) {
  for (const auto& [name, slot] : operations) EXPECT_EQ(slot, first++) << name;
}

#define OPERATION(type, name) {#name, SlotOf(&type::name)},
#define EXPECT_OPERATIONS(type, first, ...) \
  ExpectInOrder(first, {FOR_EACH(OPERATION, type, __VA_ARGS__)})

TEST(InterfacesTest, OperationsStandWhereProgramsExpectThem) {
  EXPECT_OPERATIONS(Core::DataReader, kDestructors, IsValid, Close, Read, Size, AtEof, Seek, Tell);
  EXPECT_OPERATIONS(Core::DataWriter, kDestructors, IsValid, Write, Flush, WriteAt);
  EXPECT_OPERATIONS(Core::Log::Sink, kDestructors, Write);
  EXPECT_OPERATIONS(Util::Compressor, kDestructors, CompressBound, Compress, Decompress,
                    MaxDecompressedSize);
  EXPECT_OPERATIONS(Data::DCAPConsumer, kDestructors, ProcessFileStart, ProcessFileEnd,
                    ProcessBlockStart, ProcessBlockEnd, ProcessFrameNumber, ProcessMethodCall,
                    ProcessFunctionCall, ProcessMetadata);
  EXPECT_OPERATIONS(Data::BlockEventHandler, kDestructors, ProcessBlockStart, ProcessBlockEnd);
  EXPECT_OPERATIONS(Data::Decoder, kDestructors, SupportsId, ProcessFunctionCall, ProcessMethodCall,
                    ProcessThreadChange);
  EXPECT_OPERATIONS(Data::MetaDecoder, kDestructors, ProcessMetadata, ProcessThreadChange);
  EXPECT_OPERATIONS(Data::MetaHandler, kDestructors, ProcessThreadChange, ProcessTextMetadata1,
                    ProcessTextMetadata2, ProcessTextMetadata3, DisplayMessage, SetWindowSize,
                    CreateEglImageBuffer, SetEglImageContent, EGLConfigStateDesc,
                    EGLSurfaceStateDesc, GLUniformsStateDesc, GLUniformBlocksStateDesc,
                    GLAttributesStateDesc, GLAtomicCounterBufferStateDesc,
                    GLBufferVariablesStateDesc, GLStorageBlocksStateDesc, ProcessRawMetadata,
                    GLLimitsDesc, DefaultColorBuffer, DefaultDepthBuffer, DefaultStencilBuffer,
                    MultiSampleTexture);
  EXPECT_OPERATIONS(Data::GenericAdapter, kDestructors, ProcessThreadChange, ProcessCall,
                    ProcessClientData);
  EXPECT_OPERATIONS(Data::CallSink, kDestructors, EncodedCall);
}

// An object whose every operation says in which slot it stands.
size_t calledSlot = 0;
template <size_t slot>
void NoteSlot(void*) {
  calledSlot = slot;
}
template <size_t... slots>
const void* const* NotingTable(std::index_sequence<slots...>) {
  static const void* const table[] = {reinterpret_cast<const void*>(&NoteSlot<slots>)...};
  return table;
}

// `runs`: the first and the last of identifiers whose operations follow each other.
template <typename Decoder, typename Adapter>
void ExpectCallsInOrder(size_t firstSlot, const char* runs) {
  const LogCollector silence;
  const void* const* object = NotingTable(std::make_index_sequence<600>());
  Decoder decoder;
  decoder.AddAdapter(reinterpret_cast<Adapter*>(&object));
  std::istringstream text(runs);
  char dash = 0;
  for (int first = 0, last = 0; text >> std::hex >> first >> dash >> last;) {
    for (int id = first; id <= last; ++id, ++firstSlot) {
      calledSlot = 0;
      decoder.ProcessFunctionCall(static_cast<Data::ApiCallType>(id), nullptr, 0);
      EXPECT_EQ(calledSlot, firstSlot) << id;
    }
  }
}

TEST(InterfacesTest, EveryCallReachesTheOperationWhereProgramsExpectIt) {
  EXPECT_OPERATIONS(Data::EGLAdapter, kDestructors, ProcessThreadChange);
  ExpectCallsInOrder<Data::EGLDecoder, Data::EGLAdapter>(
      kDestructors + 1,
      "8000-8021 8038-8038 8023-8023 8025-8026 8024-8024 8027-8029 8042-8042 8033-8033 "
      "802a-802c 8035-8035 802d-802e 8034-8034 802f-8032 8039-8039 8022-8022");
  EXPECT_OPERATIONS(Data::GLAdapter, kDestructors, ProcessThreadChange, VertexAttribPointerData,
                    VertexAttribIPointerData, FlushMappedBufferRangeData, UnmapBufferData);
  ExpectCallsInOrder<Data::GLDecoder, Data::GLAdapter>(
      kDestructors + 5,
      "9000-90ae 919e-919e 90af-912e 91a8-91a8 912f-9139 91e5-91e5 913d-9143 9145-9161 "
      "9164-9178 9193-919a 91a9-91aa 9180-9180 9191-9192 919b-919b 91ab-91ab 91a7-91a7 "
      "919f-91a6 919c-919d 91ad-91b7 91ac-91ac 913b-913b 91e6-91e8 913a-913a 91b8-91b8 "
      "91ba-91ba 91bf-91bf 91cd-91d0 91e9-91e9 91db-91e2 91b9-91b9 91d1-91d1 91cb-91cc "
      "91d2-91d9 91e3-91e4 91c0-91c3 91c5-91c5 91ca-91ca 91c6-91c9 91c4-91c4 91da-91da "
      "91bb-91be 9205-9205 91eb-91f4 9203-9204 91f5-9202 9206-9206 9208-920b 9211-9212");
}

// ---- Members.

#define PLACE(object, name) \
  reinterpret_cast<const char*>(&(object).name) - reinterpret_cast<const char*>(&(object)),
#define EXPECT_PLACES(type, size, places, ...)                           \
  {                                                                      \
    const type object{};                                                 \
    EXPECT_EQ(sizeof(type), size);                                       \
    const std::vector<long> found{FOR_EACH(PLACE, object, __VA_ARGS__)}; \
    EXPECT_THAT(found, places) << #type;                                 \
  }

TEST(InterfacesTest, RecordsLieInTheFileAsTheyAre) {
  using namespace Data;
  EXPECT_PLACES(FileHeader, 32, ElementsAre(0, 4, 6, 7, 8, 12, 20, 24), fourCC, versionLow,
                versionMinor, versionMajor, optionMask, reserved, frameCount, fileSize);
  EXPECT_PLACES(BlockHeader, 6, ElementsAre(0, 2), type, size);
  EXPECT_PLACES(SubBlockHeader, 10, ElementsAre(0, 2, 6), type, size, threadId);
  EXPECT_PLACES(FunctionCallDesc, 2, ElementsAre(0), callId);
  EXPECT_PLACES(MethodCallDesc, 6, ElementsAre(0, 4), objectValue, callId);
  EXPECT_PLACES(MetadataDesc, 4, ElementsAre(0, 2), type, subtype);
}

TEST(InterfacesTest, MembersStandWhereProgramsExpectThem) {
  using namespace Data;
  EXPECT_PLACES(FrameEntry, 16, ElementsAre(0, 8), frameNumber, filePosition);
  EXPECT_PLACES(Core::Log::Record, 32, ElementsAre(0, 4, 8, 16, 24), level, zone, line, file,
                message);
  // Private members follow.
  EXPECT_PLACES(PointerData, sizeof(PointerData),
                ElementsAre(8, 12, 16, 24, 28, 32, 40, 48, 56, 64, 72, 80), decoded, flags,
                pointerValue, elementSize, count, arrayData, stringData, stringFlags,
                stringPointerValues, stringLengths, strings, data);
  EXPECT_PLACES(EglImagePlane, 32, ElementsAre(0, 8, 16, 24), p0, size, p1, data);
  EXPECT_PLACES(EglImageBufferDesc, 32, ElementsAre(0, 4, 8, 12, 16, 24), f0, f1, f2, f3,
                planeCount, planes);
  EXPECT_PLACES(GLResourceDesc, 32, ElementsAre(0, 4, 8, 12, 16, 24), e0, e1, e2, e3, nameLength,
                name);
  EXPECT_PLACES(GLUniformBlockDesc, 112, ElementsAre(0, 4, 8, 16, 24, 28, 32, 36, 40, 48), e0, e1,
                nameLength, name, e3, e4, e5, e6, arrayLength, arrays);
  EXPECT_PLACES(GLAtomicCounterBufferDesc, 40, ElementsAre(0, 4, 8, 12, 16, 20, 24, 32), e0, e1, e2,
                e3, e4, e5, arrayLength, array);
  EXPECT_PLACES(GLBufferVariableDesc, 64,
                ElementsAre(0, 4, 8, 12, 16, 20, 24, 28, 32, 36, 40, 44, 48, 52, 56), e0, e1, e2,
                e3, e4, e5, e6, e7, e8, e9, e10, e11, e12, nameLength, name);
  EXPECT_PLACES(GLStorageBlockDesc, 48, ElementsAre(0, 4, 8, 16, 20, 24, 28, 32, 36, 40), e0,
                nameLength, name, e2, e3, e4, e5, e6, arrayLength, array);
  EXPECT_PLACES(GLLimitPair, 8, ElementsAre(0, 4), first, second);
}

}  // namespace
