// Classes that users bring along: compiled otherwise than the library, or not keeping promises.
#include <sys/mman.h>

#include "Core/Exceptions.h"
#include "Core/MemoryReader.h"
#include "Data/ApiCallType.h"
#include "Data/Capture/DCAPBlockReader.h"
#include "Data/Capture/RecoveredReader.h"
#include "Data/CaptureFileUtil.h"
#include "Data/DCAPDecodeConsumer.h"
#include "Data/DCAPFileProcessor.h"
#include "Data/EGLDecoder.h"
#include "Data/GLDecoder.h"

#include "support/CaptureBuilder.h"
#include "support/PayloadBuilder.h"
#include "support/RecordingConsumer.h"
#include "support/Test.h"

namespace Data {
namespace {

constexpr auto kFlush = static_cast<uint16_t>(ApiCallType::glFlush);
constexpr auto kSwap = static_cast<uint16_t>(ApiCallType::eglSwapBuffers);

// Frames of a flush, a swap and a message.
CaptureBuilder Flushes(uint32_t frames) {
  CaptureBuilder capture;
  for (uint32_t i = 1; i <= frames; ++i) {
    capture.FrameBlock(i).Thread(7).Call(kFlush, "").Call(kSwap, Bytes().U32s({1, 2, 1}));
    capture.Metadata(2, 1, Bytes().U32(2).Text("hi"));
  }
  return capture;
}

// Memory that ends where it must not be read any further, on both sides.
class Guarded {
 public:
  Guarded() {
    pages_ = static_cast<uint8_t*>(
        mmap(nullptr, 3 * kPage, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
    mprotect(pages_, kPage, PROT_NONE);
    mprotect(pages_ + 2 * kPage, kPage, PROT_NONE);
  }
  Guarded(const Guarded&) = delete;
  Guarded& operator=(const Guarded&) = delete;
  ~Guarded() { munmap(pages_, 3 * kPage); }

  // A copy of the value at the start of the memory, or at its end.
  template <typename T>
  T* Put(const T& value, bool atStart) {
    uint8_t* place = pages_ + (atStart ? kPage : 2 * kPage - sizeof(value));
    return static_cast<T*>(std::memcpy(place, &value, sizeof(value)));
  }
  void* Unreadable() { return pages_; }

 private:
  static constexpr size_t kPage = 65536;
  uint8_t* pages_;
};

// A reader and a decoder that are nothing but a pointer to the documented operations.
struct HandMadeReader {
  const void* const* table;
};
Core::MemoryReader* hidden = nullptr;  // does the work

template <typename Function>
const void* Slot(Function* function) {
  return reinterpret_cast<const void*>(function);
}
bool IsValid(const void*) { return true; }
unsigned long Read(void*, void* buffer, unsigned long size) { return hidden->Read(buffer, size); }
bool AtEof(const void*) { return hidden->AtEof(); }
int Seek(void*, int origin, int64_t offset) { return hidden->Seek(origin, offset); }
uint64_t Tell(const void*) { return hidden->Tell(); }
using ReaderTable = std::array<const void*, 9>;
const ReaderTable kReaderTable = {nullptr, nullptr,     Slot(IsValid), nullptr,   Slot(Read),
                                  nullptr, Slot(AtEof), Slot(Seek),    Slot(Tell)};

int decoded = 0;
bool SupportsId(void*, uint16_t) { return true; }
void ProcessFunctionCall(void*, uint16_t, const uint8_t*, uint32_t) { ++decoded; }
void ProcessThreadChange(void*, uint32_t) {}
struct HandMadeDecoder {
  const void* const* table;
  uint32_t threadId;
};
using DecoderTable = std::array<const void*, 6>;
const DecoderTable kDecoderTable = {nullptr,          nullptr,
                                    Slot(SupportsId), Slot(ProcessFunctionCall),
                                    nullptr,          Slot(ProcessThreadChange)};

TEST(ForeignClassesTest, OfATableTheDocumentedOperationsAloneAreRead) {
  const std::vector<uint8_t> capture = Flushes(2).Finish();
  for (const bool atStart : {true, false}) {
    Guarded readerTable;
    Guarded decoderTable;
    Core::MemoryReader bytes{std::span<const uint8_t>(capture)};
    hidden = &bytes;
    decoded = 0;
    Guarded object;
    auto* reader = reinterpret_cast<Core::DataReader*>(
        object.Put(HandMadeReader{readerTable.Put(kReaderTable, atStart)->data()}, false));
    HandMadeDecoder decoder{decoderTable.Put(kDecoderTable, atStart)->data(), 0};
    DCAPDecodeConsumer consumer;
    consumer.AddDecoder(reinterpret_cast<Decoder*>(&decoder));
    Walk(std::shared_ptr<Core::DataReader>(reader, [](Core::DataReader*) {}), &consumer);
    EXPECT_EQ(decoded, 4);
  }
}

TEST(ForeignClassesTest, ADecoderMayBeRegisteredBeforeItExists) {
  Guarded memory;
  DCAPDecodeConsumer consumer;
  auto* decoder = static_cast<Decoder*>(memory.Unreadable());
  consumer.AddDecoder(decoder);
  consumer.RemoveDecoder(decoder);
  Walk(std::make_shared<Core::MemoryReader>(Flushes(1).Finish()), &consumer);
}

// Counts flushes, and frames by their numbers.
class Counter : public GLAdapter, public DCAPDecodeConsumer {
 public:
  Counter() {
    decoder_.AddAdapter(this);
    AddDecoder(&decoder_);
  }
  using GLAdapter::ProcessThreadChange;
  void glFlush() override { ++flushes; }
  void ProcessFrameNumber(unsigned int frameNumber) override { frames.push_back(frameNumber); }
  int flushes = 0;
  std::vector<uint32_t> frames;

 private:
  GLDecoder decoder_;
};

// As a pipe is read; where it may not seek, it says so and stays where it is.
class Pipe : public Core::MemoryReader {
 public:
  using MemoryReader::MemoryReader;
  int Seek(int, int64_t) override { return -1; }
};

TEST(ForeignClassesTest, BlocksThatAreSkippedWithoutSeekingAreReadAndDropped) {
  const LogCollector silence;
  // The body of the block that is skipped looks like a frame.
  const std::vector<uint8_t> frame = CaptureBuilder().FrameBlock(99).Call(kFlush, "").Finish();
  const std::vector<uint8_t> body(frame.begin() + sizeof(FileHeader), frame.end());
  for (const bool isFinished : {true, false}) {
    CaptureBuilder capture = Flushes(1);
    capture.OtherBlock(9, body)
        .FrameBlock(2)
        .Call(kFlush, "")
        .SubBlock(9, "skipped")
        .Call(kFlush, "");
    if (!isFinished) capture.ClaimFileSize(0).ClaimFrameCount(0);
    Counter counter;
    Counter seeking;
    const std::vector<uint8_t> bytes = capture.Finish();
    Walk(std::make_shared<Pipe>(bytes), &counter);
    Walk(std::make_shared<Core::MemoryReader>(bytes), &seeking);
    EXPECT_EQ(counter.frames, seeking.frames);
    EXPECT_EQ(counter.flushes, seeking.flushes);
    EXPECT_THAT(counter.frames, Not(Contains(99)));

    DCAPBlockReader blocks(std::make_shared<Pipe>(bytes));
    std::vector<uint16_t> types;
    StoredSubBlock subBlock{};
    while (blocks.NextBlock()) {
      types.push_back(blocks.Block().type);
      blocks.NextSubBlockDesc(&subBlock);
    }
    EXPECT_THAT(types, ElementsAre(1, 9, 1));
  }
}

TEST(ForeignClassesTest, ACountBeyondWhatWasAskedForIsAFailedRead) {
  class Wrapper : public Core::MemoryReader {
   public:
    using MemoryReader::MemoryReader;
    unsigned long Read(void* buffer, unsigned long size) override {
      if (Tell() >= limit) return static_cast<unsigned long>(-1);
      return MemoryReader::Read(buffer, std::min(size, limit - Tell()));
    }
    unsigned long limit = UINT64_MAX;
  };
  const std::vector<uint8_t> bytes = Flushes(3).Finish();
  for (size_t limit = sizeof(FileHeader); limit < bytes.size(); ++limit) {
    const auto reader = std::make_shared<Wrapper>(bytes);
    reader->limit = limit;
    Counter counter;
    EXPECT_THROW(Walk(reader, &counter), Core::BasicException) << limit;
    EXPECT_LE(counter.flushes, 3);
  }
}

TEST(ForeignClassesTest, CapturesAreWalkedInTheMemoryOfTheirReader) {
  class Places : public DCAPDecodeConsumer {
   public:
    void ProcessFunctionCall(const SubBlockHeader&, const FunctionCallDesc&,
                             const unsigned char* data, unsigned int size) override {
      if (size != 0) places.push_back(data);
    }
    std::vector<const unsigned char*> places;
  };
  const std::vector<uint8_t> bytes = Flushes(3).Unfinished().Finish();
  const auto isInside = [&bytes](const unsigned char* place) {
    return place >= bytes.data() && place < bytes.data() + bytes.size();
  };
  const auto reader = [&bytes] {
    return std::make_shared<RecoveredReader>(
        std::make_shared<Core::MemoryReader>(std::span<const uint8_t>(bytes)), bytes.size());
  };
  Places places;
  Walk(reader(), &places);
  ASSERT_EQ(places.places.size(), 3u);
  EXPECT_TRUE(std::ranges::all_of(places.places, isInside));

  DCAPBlockReader blocks(reader());
  StoredSubBlock subBlock{};
  ASSERT_TRUE(blocks.NextBlock() && blocks.NextSubBlock(&subBlock));
  EXPECT_TRUE(isInside(subBlock.body));
}

TEST(ForeignClassesTest, AfterAnExceptionNothingOfTheBlockIsLeft) {
  class Thrower : public DCAPDecodeConsumer {
   public:
    void ProcessFunctionCall(const SubBlockHeader&, const FunctionCallDesc&, const unsigned char*,
                             unsigned int) override {
      throw std::runtime_error("enough");
    }
  };
  auto bytes = std::make_unique<std::vector<uint8_t>>(Flushes(2).Finish());
  const auto reader = std::make_shared<Core::MemoryReader>(std::span<const uint8_t>(*bytes));
  Thrower thrower;
  DCAPFileProcessor processor;
  processor.Initialize(&thrower, reader, 0);
  EXPECT_THROW(processor.ProcessNextBlock(), std::runtime_error);
  const uint64_t position = processor.Position();
  EXPECT_EQ(position, sizeof(FileHeader) + sizeof(BlockHeader) + 4 + sizeof(SubBlockHeader) + 2);
  reader->Close();
  bytes.reset();
  EXPECT_THROW(processor.ProcessNextBlock(), Core::BasicException);
  EXPECT_EQ(processor.Position(), position);
}

using Notes = std::vector<std::string>;

// An adapter that does something at its first flush.
class Busy : public GLAdapter {
 public:
  explicit Busy(std::string name, Notes* notes) : name_(std::move(name)), notes_(notes) {}
  void glFlush() override {
    notes_->push_back(name_);
    if (const auto act = std::exchange(atFirst, nullptr)) act();
  }
  std::function<void()> atFirst;

 private:
  std::string name_;
  Notes* notes_;
};

TEST(ForeignClassesTest, ListenersMayComeAndGoWhileTheyAreServed) {
  Notes notes;
  Busy a("a", &notes);
  Busy b("b", &notes);
  Busy c("c", &notes);
  const auto flush = [&](GLDecoder* decoder) {
    notes.clear();
    decoder->ProcessFunctionCall(ApiCallType::glFlush, nullptr, 0);
    return notes;
  };
  GLDecoder decoder;
  for (Busy* adapter : {&a, &b, &c}) decoder.AddAdapter(adapter);
  std::deque<Busy> many;
  for (int i = 0; i < 100; ++i) many.emplace_back("new", &notes);
  a.atFirst = [&] {
    decoder.RemoveAdapter(&b);
    decoder.RemoveAdapter(&a);
    for (Busy& adapter : many) decoder.AddAdapter(&adapter);
  };
  EXPECT_THAT(flush(&decoder), ElementsAre("a", "c"));
  EXPECT_EQ(flush(&decoder).size(), 101u);
  for (Busy& adapter : many) decoder.RemoveAdapter(&adapter);
  EXPECT_THAT(flush(&decoder), ElementsAre("c"));

  decoder.AddAdapter(&b);
  c.atFirst = [&] {
    decoder.RemoveAdapter(&b);
    decoder.AddAdapter(&a);
  };
  EXPECT_THAT(flush(&decoder), ElementsAre("c"));
  decoder.RemoveAdapter(&a);

  // Within a nested call, and again and again.
  c.atFirst = [&] {
    decoder.AddAdapter(&a);
    a.atFirst = [&] { decoder.RemoveAdapter(&c); };
    decoder.ProcessFunctionCall(ApiCallType::glFlush, nullptr, 0);
  };
  EXPECT_THAT(flush(&decoder), ElementsAre("c", "c", "a"));
  for (int i = 0; i < 1000; ++i) {
    decoder.AddAdapter(&b);
    decoder.RemoveAdapter(&a);
    decoder.AddAdapter(&a);
    decoder.RemoveAdapter(&b);
    ASSERT_THAT(flush(&decoder), ElementsAre("a"));
  }
}

TEST(ForeignClassesTest, DecodersAndHandlersMayGoWhileTheyAreServed) {
  class Leaver : public BlockEventHandler, public MetaHandler {
   public:
    explicit Leaver(DCAPDecodeConsumer* consumer) : consumer_(consumer) {}
    void ProcessBlockStart(uint32_t) override { Leave(); }
    void ProcessBlockEnd(uint32_t) override {}
    void DisplayMessage(const std::string&) override { Leave(); }
    int served = 0;

   private:
    void Leave() {
      ++served;
      consumer_->RemoveBlockEventHandler(this);
      consumer_->RemoveMetaHandler(this);
      consumer_->AddMetaHandler(this);
    }
    DCAPDecodeConsumer* consumer_;
  };
  Counter counter;
  Leaver first(&counter);
  Leaver second(&counter);
  for (Leaver* leaver : {&first, &second}) {
    counter.AddBlockEventHandler(leaver);
    counter.AddMetaHandler(leaver);
  }
  Walk(std::make_shared<Core::MemoryReader>(Flushes(2).Finish()), &counter);
  EXPECT_EQ(first.served, 3);  // a block, and a message in each frame
  EXPECT_EQ(second.served, 3);
}

}  // namespace
}  // namespace Data
