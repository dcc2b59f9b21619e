#include "inspect/parallel/OrderedLog.h"

#include <string>

#include "inspect/listing/LogLines.h"

namespace Inspect {

namespace {

thread_local OrderedLog::Scope* currentScope = nullptr;

}  // namespace

OrderedLog::Scope::Scope(InOrder::Turn* turn) : turn_(turn) { currentScope = this; }

OrderedLog::Scope::~Scope() { currentScope = nullptr; }

void OrderedLog::Write(const Core::Log::Record& record) {
  ++logLinesOfThisThread;
  if (currentScope == nullptr) return target_->Write(record);
  if (currentScope->muted) return;
  const std::string file = record.file;
  const std::string message = record.message;
  // `Do` would throw through the code of the library that logs.
  currentScope->turn_->TryDo(sizeof(record) + file.size() + message.size(), [=, to = target_] {
    to->Write({record.level, record.zone, record.line, file.c_str(), message.c_str()});
  });
}

}  // namespace Inspect
