#include "Input.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <stdexcept>

#include <unistd.h>

#include "Core/StdioReader.h"
#include "Data/DCAPConsumer.h"
#include "Data/DCAPFileProcessor.h"

#include "BareWalk.h"
#include "support/CaptureBuilder.h"

namespace {

std::string& SourceCapture() {
  static std::string path = DCAPKIT_SOURCE_DIR "/examples/sample.dcap";
  return path;
}

class Collector final : public Data::DCAPConsumer {
 public:
  void ProcessFileStart(const Data::FileHeader&) override {}
  void ProcessFileEnd() override {}
  void ProcessBlockStart(const Data::BlockHeader&) override {}
  void ProcessBlockEnd(unsigned long) override {}
  void ProcessFrameNumber(unsigned int) override {}
  void ProcessMethodCall(const Data::SubBlockHeader&, const Data::MethodCallDesc&,
                         const unsigned char*, unsigned int) override {}
  void ProcessFunctionCall(const Data::SubBlockHeader& header, const Data::FunctionCallDesc& desc,
                           const unsigned char* data, unsigned int size) override {
    calls.push_back({header.threadId, desc.callId, {data, data + size}});
  }
  void ProcessMetadata(const Data::SubBlockHeader&, const Data::MetadataDesc&, const unsigned char*,
                       unsigned int) override {}

  std::vector<RecordedCall> calls;
};

std::vector<RecordedCall> ReadSourceCapture() {
  Collector collector;
  Data::DCAPFileProcessor processor;
  processor.Initialize(&collector, std::make_shared<Core::StdioReader>(SourceCapture()), 0);
  while (processor.ProcessNextBlock()) {
  }
  return collector.calls;
}

std::string MakeTemporaryFile() {
  std::string path = (std::filesystem::temp_directory_path() / "dcap-bench-XXXXXX").string();
  const int file = mkstemp(path.data());
  if (file < 0) {
    throw std::runtime_error("cannot make " + path);
  }
  close(file);
  return path;
}

}  // namespace

void SetSourceCapture(const std::string& path) { SourceCapture() = path; }

const std::vector<RecordedCall>& RecordedCalls() {
  static const std::vector<RecordedCall> calls = ReadSourceCapture();
  return calls;
}

std::vector<RecordedCall> SmallCalls() {
  constexpr size_t kSmall = 128;
  std::vector<RecordedCall> calls = RecordedCalls();
  std::erase_if(calls, [](const RecordedCall& call) { return call.payload.size() > kSmall; });
  return calls;
}

std::vector<RecordedCall> SelectCalls(int pointers) {
  std::vector<RecordedCall> calls = SmallCalls();
  std::erase_if(calls, [pointers](const RecordedCall& call) {
    return !BareWalkKnows(call.id) || BarePointerCount(call.id) != pointers;
  });
  return calls;
}

Input::Input(const std::vector<RecordedCall>& calls, Data::CompressionType compression,
             uint64_t bytes)
    : path_(MakeTemporaryFile()) {
  if (calls.empty()) {
    throw std::runtime_error("the capture has no calls for this benchmark");
  }
  CaptureBuilder capture(Data::kOptionThreadIds | compression << Data::kOptionCompressionShift);
  capture.FrameBlock(1);
  uint64_t frameBytes = 0;
  while (frameBytes < kFrameBytes) {
    for (const RecordedCall& call : calls) {
      capture.Thread(call.threadId);
      if (compression == Data::kCompressionNone) {
        capture.Call(call.id, call.payload);
      } else {
        capture.CompressedCall(call.id, call.payload);
      }
      ++callsPerFrame_;
      frameBytes += call.payload.size();
    }
  }
  Write(capture.Finish(), bytes);
  payloadBytes_ = frames_ * frameBytes;
}

Input::~Input() { std::remove(path_.c_str()); }

void Input::Write(const std::vector<uint8_t>& oneFrame, uint64_t bytes) {
  Data::FileHeader header{};
  std::memcpy(&header, oneFrame.data(), sizeof(header));
  std::vector<uint8_t> block(oneFrame.begin() + sizeof(header), oneFrame.end());
  frames_ = bytes / block.size() + 1;
  header.frameCount = static_cast<uint32_t>(frames_);
  header.fileSize = sizeof(header) + frames_ * block.size();

  std::ofstream file(path_, std::ios::binary);
  file.write(reinterpret_cast<const char*>(&header), sizeof(header));
  for (uint32_t number = 1; number <= frames_; ++number) {
    std::memcpy(block.data() + sizeof(Data::BlockHeader), &number, sizeof(number));
    file.write(reinterpret_cast<const char*>(block.data()),
               static_cast<std::streamsize>(block.size()));
  }
  file.close();
  if (!file) {
    throw std::runtime_error("cannot write " + path_);
  }
}
