#include <cstdio>

#include "Data/CallEncoder.h"
#include "Data/CallTable.h"
#include "Data/CaptureRecovery.h"
#include "Data/DCAPBlockReader.h"
#include "Data/DCAPFileWriter.h"
#include "Data/DCAPWriteConsumer.h"
#include "Data/EGLEncoder.h"
#include "Data/GLEncoder.h"
#include "Data/GenericAdapter.h"
#include "Data/MadePointer.h"
#include "Data/RecoveredReader.h"

int main() { std::puts(Data::FindCall(Data::ApiCallType::glDrawArrays)->name); }
