// Compiled with -fno-rtti.
#include "support/PlainClasses.h"

#include "Core/MemoryReader.h"

namespace {

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

template <typename Interface>
struct Noting : Interface {
  explicit Noting(Notes* to) : notes(to) {}
  void Note(const char* what) { notes->emplace_back(what); }
  Notes* notes;
};

struct Writer : Noting<Core::DataWriter> {
  using Noting::Noting;
  bool IsValid() const override { return true; }
  uint64_t WriteAt(const void*, uint64_t size, uint64_t) override { return Note("writer"), size; }
};

struct Sink : Noting<Core::Log::Sink> {
  using Noting::Noting;
  void Write(const Core::Log::Record&) override { Note("sink"); }
};

struct Compressor : Noting<Util::Compressor> {
  using Noting::Noting;
  bool Decompress(const unsigned char*, unsigned int, unsigned char*, unsigned int*) override {
    return Note("compressor"), true;
  }
};

struct Consumer : Noting<Data::DCAPConsumer> {
  using Noting::Noting;
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
  using Noting::Noting;
  void ProcessBlockStart(uint32_t) override { Note("block event handler"); }
  void ProcessBlockEnd(uint32_t) override {}
};

struct MetaHandler : Noting<Data::MetaHandler> {
  using Noting::Noting;
  void DisplayMessage(const std::string&) override { Note("meta handler"); }
};

struct Decoder : Noting<Data::Decoder> {
  using Noting::Noting;
  bool SupportsId(Data::ApiCallType) override { return true; }
  void ProcessFunctionCall(Data::ApiCallType, const uint8_t*, uint32_t) override {
    Note("decoder");
  }
  void ProcessMethodCall(Data::ApiCallType, uint32_t, const uint8_t*, uint32_t) override {}
  void ProcessThreadChange(uint32_t) override {}
};

struct EGLAdapter : Noting<Data::EGLAdapter> {
  using Noting::Noting;
  void eglSwapBuffers(uint32_t, uint32_t, uint32_t) override { Note("EGL adapter"); }
};

struct GLAdapter : Noting<Data::GLAdapter> {
  using Noting::Noting;
  void glFlush() override { Note("GL adapter"); }
};

}  // namespace

PlainClasses::PlainClasses(std::span<const uint8_t> bytes, Notes* notes)
    : reader(std::make_shared<Reader>(bytes)),
      writer(std::make_shared<Writer>(notes)),
      sink(std::make_unique<Sink>(notes)),
      compressor(std::make_unique<Compressor>(notes)),
      consumer(std::make_unique<Consumer>(notes)),
      blockEventHandler(std::make_unique<BlockEventHandler>(notes)),
      metaHandler(std::make_unique<MetaHandler>(notes)),
      decoder(std::make_unique<Decoder>(notes)),
      eglAdapter(std::make_unique<EGLAdapter>(notes)),
      glAdapter(std::make_unique<GLAdapter>(notes)) {}
