// Compiled with -fno-rtti.
#include "support/PlainClasses.h"

#include <algorithm>
#include <cstring>

namespace {

class Reader : public Core::DataReader {
 public:
  explicit Reader(std::span<const uint8_t> bytes) : bytes_(bytes) {}
  [[nodiscard]] bool IsValid() const override { return true; }
  unsigned long Read(void* buffer, unsigned long size) override {
    const unsigned long count = std::min(size, bytes_.size() - position_);
    std::memcpy(buffer, bytes_.data() + position_, count);
    position_ += count;
    return count;
  }
  [[nodiscard]] bool AtEof() const override { return position_ == bytes_.size(); }
  int Seek(int origin, int64_t offset) override {
    const uint64_t base = origin == 0 ? 0 : origin == 1 ? position_ : bytes_.size();
    position_ = std::min(base + static_cast<uint64_t>(offset), bytes_.size());
    return 0;
  }
  [[nodiscard]] uint64_t Tell() const override { return position_; }

 private:
  std::span<const uint8_t> bytes_;
  uint64_t position_ = 0;
};

template <typename Interface>
class Noting : public Interface {
 public:
  explicit Noting(Notes* notes) : notes_(notes) {}

 protected:
  void Note(const char* what) { notes_->emplace_back(what); }

 private:
  Notes* notes_;
};

class Writer : public Noting<Core::DataWriter> {
 public:
  using Noting::Noting;
  [[nodiscard]] bool IsValid() const override { return true; }
  uint64_t WriteAt(const void* /*buffer*/, uint64_t size, uint64_t /*offset*/) override {
    Note("writer");
    return size;
  }
};

class Sink : public Noting<Core::Log::Sink> {
 public:
  using Noting::Noting;
  void Write(const Core::Log::Record& /*record*/) override { Note("sink"); }
};

class Compressor : public Noting<Util::Compressor> {
 public:
  using Noting::Noting;
  bool Decompress(const unsigned char* /*input*/, unsigned int /*inputSize*/,
                  unsigned char* /*output*/, unsigned int* /*outputSize*/) override {
    Note("compressor");
    return true;
  }
};

class Consumer : public Noting<Data::DCAPConsumer> {
 public:
  using Noting::Noting;
  void ProcessFileStart(const Data::FileHeader& /*header*/) override {}
  void ProcessFileEnd() override {}
  void ProcessBlockStart(const Data::BlockHeader& /*header*/) override {}
  void ProcessBlockEnd(unsigned long /*trailer*/) override {}
  void ProcessFrameNumber(unsigned int /*frameNumber*/) override {}
  void ProcessMethodCall(const Data::SubBlockHeader& /*header*/,
                         const Data::MethodCallDesc& /*desc*/, const unsigned char* /*data*/,
                         unsigned int /*size*/) override {}
  void ProcessFunctionCall(const Data::SubBlockHeader& /*header*/,
                           const Data::FunctionCallDesc& /*desc*/, const unsigned char* /*data*/,
                           unsigned int /*size*/) override {
    Note("consumer");
  }
  void ProcessMetadata(const Data::SubBlockHeader& /*header*/, const Data::MetadataDesc& /*desc*/,
                       const unsigned char* /*data*/, unsigned int /*size*/) override {}
};

class BlockEventHandler : public Noting<Data::BlockEventHandler> {
 public:
  using Noting::Noting;
  void ProcessBlockStart(uint32_t /*blockType*/) override { Note("block event handler"); }
  void ProcessBlockEnd(uint32_t /*blockType*/) override {}
};

class MetaHandler : public Noting<Data::MetaHandler> {
 public:
  using Noting::Noting;
  void DisplayMessage(const std::string& /*message*/) override { Note("meta handler"); }
};

class Decoder : public Noting<Data::Decoder> {
 public:
  using Noting::Noting;
  bool SupportsId(Data::ApiCallType /*id*/) override { return true; }
  void ProcessFunctionCall(Data::ApiCallType /*id*/, const uint8_t* /*data*/,
                           uint32_t /*size*/) override {
    Note("decoder");
  }
  void ProcessMethodCall(Data::ApiCallType /*id*/, uint32_t /*value*/, const uint8_t* /*data*/,
                         uint32_t /*size*/) override {}
  void ProcessThreadChange(uint32_t /*threadId*/) override {}
};

class EGLAdapter : public Noting<Data::EGLAdapter> {
 public:
  using Noting::Noting;
  void eglSwapBuffers(uint32_t /*result*/, uint32_t /*dpy*/, uint32_t /*surface*/) override {
    Note("EGL adapter");
  }
};

class GLAdapter : public Noting<Data::GLAdapter> {
 public:
  using Noting::Noting;
  void glFlush() override { Note("GL adapter"); }
};

}  // namespace

std::shared_ptr<Core::DataReader> MakePlainReader(std::span<const uint8_t> bytes) {
  return std::make_shared<Reader>(bytes);
}
std::shared_ptr<Core::DataWriter> MakePlainWriter(Notes* notes) {
  return std::make_shared<Writer>(notes);
}
std::unique_ptr<Core::Log::Sink> MakePlainSink(Notes* notes) {
  return std::make_unique<Sink>(notes);
}
std::unique_ptr<Util::Compressor> MakePlainCompressor(Notes* notes) {
  return std::make_unique<Compressor>(notes);
}
std::unique_ptr<Data::DCAPConsumer> MakePlainConsumer(Notes* notes) {
  return std::make_unique<Consumer>(notes);
}
std::unique_ptr<Data::BlockEventHandler> MakePlainBlockEventHandler(Notes* notes) {
  return std::make_unique<BlockEventHandler>(notes);
}
std::unique_ptr<Data::MetaHandler> MakePlainMetaHandler(Notes* notes) {
  return std::make_unique<MetaHandler>(notes);
}
std::unique_ptr<Data::Decoder> MakePlainDecoder(Notes* notes) {
  return std::make_unique<Decoder>(notes);
}
std::unique_ptr<Data::EGLAdapter> MakePlainEGLAdapter(Notes* notes) {
  return std::make_unique<EGLAdapter>(notes);
}
std::unique_ptr<Data::GLAdapter> MakePlainGLAdapter(Notes* notes) {
  return std::make_unique<GLAdapter>(notes);
}
