#include "Capture.h"

#include <cstdio>
#include <new>

#include "Core/Exceptions.h"
#include "Core/StdioReader.h"
#include "Data/DCAPFileProcessor.h"

#include "Command.h"

namespace {

int Report(const std::string& path, const Core::DataReader* reader, const EventConsumer& consumer,
           const char* cause) {
  std::fprintf(stderr, "dcap: %s: ", path.c_str());
  if (reader != nullptr && reader->IsValid()) {
    std::fprintf(stderr, "offset %llu: ", static_cast<unsigned long long>(reader->Tell()));
    if (consumer.Context().frameOrdinal != 0) {
      std::fprintf(stderr, "frame %u: ", consumer.Context().frameOrdinal);
    }
  }
  std::fprintf(stderr, "%s\n", cause);
  return kExitFailure;
}

}  // namespace

int WalkCapture(const std::string& path, EventHandler* handler) {
  EventConsumer consumer(handler);
  std::shared_ptr<Core::DataReader> reader;
  try {
    reader = std::make_shared<Core::StdioReader>(path);
    Data::DCAPFileProcessor processor;
    processor.Initialize(&consumer, reader, reader->Size());
    while (processor.ProcessNextBlock()) {
    }
    return kExitOk;
  } catch (const std::bad_alloc&) {
    return Report(path, reader.get(), consumer,
                  "A recorded size asks for more memory than there is to be had.");
  } catch (const Core::BasicException& exception) {
    return Report(path, reader.get(), consumer, exception.what());
  }
}
