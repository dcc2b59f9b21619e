// One class derived from each interface, compiled with -fno-rtti, as some programs are.
#include "Core/DataWriter.h"
#include "Core/MemoryReader.h"
#include "Data/CaptureFileUtil.h"
#include "Data/DCAPDecodeConsumer.h"
#include "Data/EGLDecoder.h"
#include "Data/GLDecoder.h"
#include "Util/Compressor.h"

#include "support/CaptureBuilder.h"
#include "support/PayloadBuilder.h"
#include "support/RecordingConsumer.h"
#include "support/Test.h"

namespace {

std::vector<std::string> notes;  // the classes that were called, each time

template <typename Interface>
struct Noting : Interface {
  static void Note(const char* what) { notes.emplace_back(what); }
};

struct Reader : Core::DataReader {
  explicit Reader(std::span<const uint8_t> bytes) : memory(bytes) {}
  bool IsValid() const override { return true; }
  unsigned long Read(void* buffer, unsigned long size) override {
    return memory.Read(buffer, size);
  }
  bool AtEof() const override { return memory.AtEof(); }
  int Seek(int origin, int64_t offset) override { return memory.Seek(origin, offset); }
  uint64_t Tell() const override { return memory.Tell(); }
  Core::MemoryReader memory;
};

struct Writer : Noting<Core::DataWriter> {
  bool IsValid() const override { return true; }
  uint64_t WriteAt(const void*, uint64_t size, uint64_t) override { return Note("writer"), size; }
};

struct Sink : Noting<Core::Log::Sink> {
  void Write(const Core::Log::Record&) override { Note("sink"); }
};

struct Compressor : Noting<Util::Compressor> {
  bool Decompress(const unsigned char*, unsigned int, unsigned char*, unsigned int*) override {
    return Note("compressor"), true;
  }
};

struct Consumer : Noting<Data::DCAPConsumer> {
  using Bytes = const unsigned char*;
  void ProcessFileStart(const Data::FileHeader&) override {}
  void ProcessFileEnd() override {}
  void ProcessBlockStart(const Data::BlockHeader&) override {}
  void ProcessBlockEnd(unsigned long) override {}
  void ProcessFrameNumber(unsigned int) override {}
  void ProcessMethodCall(const Data::SubBlockHeader&, const Data::MethodCallDesc&, Bytes,
                         unsigned int) override {}
  void ProcessFunctionCall(const Data::SubBlockHeader&, const Data::FunctionCallDesc&, Bytes,
                           unsigned int) override {
    Note("consumer");
  }
  void ProcessMetadata(const Data::SubBlockHeader&, const Data::MetadataDesc&, Bytes,
                       unsigned int) override {}
};

struct BlockEventHandler : Noting<Data::BlockEventHandler> {
  void ProcessBlockStart(uint32_t) override { Note("block event handler"); }
  void ProcessBlockEnd(uint32_t) override {}
};

struct MetaHandler : Noting<Data::MetaHandler> {
  void DisplayMessage(const std::string&) override { Note("meta handler"); }
};

struct Decoder : Noting<Data::Decoder> {
  bool SupportsId(Data::ApiCallType) override { return true; }
  void ProcessFunctionCall(Data::ApiCallType, const uint8_t*, uint32_t) override {
    Note("decoder");
  }
  void ProcessMethodCall(Data::ApiCallType, uint32_t, const uint8_t*, uint32_t) override {}
  void ProcessThreadChange(uint32_t) override {}
};

struct EGLAdapter : Noting<Data::EGLAdapter> {
  void eglSwapBuffers(uint32_t, uint32_t, uint32_t) override { Note("EGL adapter"); }
};

struct GLAdapter : Noting<Data::GLAdapter> {
  void glFlush() override { Note("GL adapter"); }
};

TEST(PlainClassesTest, ClassesWithoutTypeInformationServe) {
  const std::vector<uint8_t> capture = CaptureBuilder()
                                           .FrameBlock(1)
                                           .Call(0x902D, "")
                                           .Call(0x801F, Bytes().U32s({1, 2, 1}))
                                           .Metadata(2, 1, Bytes().U32(2).Text("hi"))
                                           .ClaimFrameCount(0)
                                           .ClaimFileSize(0)
                                           .Finish();
  Sink sink;
  Core::Log::Sink* const previous = Core::Log::SetSink(&sink);
  EGLAdapter eglAdapter;
  Data::EGLDecoder eglDecoder;
  eglDecoder.AddAdapter(&eglAdapter);
  GLAdapter glAdapter;
  Data::GLDecoder glDecoder;
  glDecoder.AddAdapter(&glAdapter);
  BlockEventHandler blockEventHandler;
  MetaHandler metaHandler;
  Decoder decoder;
  Data::DCAPDecodeConsumer consumer;
  consumer.AddBlockEventHandler(&blockEventHandler);
  consumer.AddMetaHandler(&metaHandler);
  consumer.AddDecoder(&decoder);
  consumer.AddDecoder(&eglDecoder);
  consumer.AddDecoder(&glDecoder);
  Walk(std::make_shared<Reader>(capture), &consumer);
  Consumer plain;
  Walk(std::make_shared<Reader>(capture), &plain);
  Data::CaptureFileUtil::FinalizeFile(std::make_shared<Writer>(), capture.size(), 0, 32, false);
  EXPECT_TRUE(std::make_unique<Compressor>()->Decompress(nullptr, 0, nullptr, nullptr));
  glDecoder.ProcessFunctionCall(static_cast<Data::ApiCallType>(1), nullptr, 0);
  Core::Log::SetSink(previous);
  EXPECT_THAT(notes, ElementsAre("block event handler", "decoder", "GL adapter", "decoder",
                                 "EGL adapter", "meta handler", "consumer", "consumer", "writer",
                                 "writer", "compressor", "sink"));
}

}  // namespace
