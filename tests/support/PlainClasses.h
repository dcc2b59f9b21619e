// One class derived from each interface, as a program without type information compiles them.
#ifndef DCAPKIT_TESTS_PLAINCLASSES_H
#define DCAPKIT_TESTS_PLAINCLASSES_H

#include <memory>
#include <span>
#include <string>
#include <vector>

#include "Core/DataReader.h"
#include "Core/DataWriter.h"
#include "Core/Log.h"
#include "Data/BlockEventHandler.h"
#include "Data/DCAPConsumer.h"
#include "Data/Decoder.h"
#include "Data/EGLAdapter.h"
#include "Data/GLAdapter.h"
#include "Data/MetaHandler.h"
#include "Util/Compressor.h"

/// What the classes were told: "reader", "GL adapter", each as often as it was called.
using Notes = std::vector<std::string>;

/// An object of each class. All but the reader, which reads the bytes, write notes.
struct PlainClasses {
  PlainClasses(std::span<const uint8_t> bytes, Notes* notes);

  std::shared_ptr<Core::DataReader> reader;
  std::shared_ptr<Core::DataWriter> writer;
  std::unique_ptr<Core::Log::Sink> sink;
  std::unique_ptr<Util::Compressor> compressor;
  std::unique_ptr<Data::DCAPConsumer> consumer;
  std::unique_ptr<Data::BlockEventHandler> blockEventHandler;
  std::unique_ptr<Data::MetaHandler> metaHandler;
  std::unique_ptr<Data::Decoder> decoder;
  std::unique_ptr<Data::EGLAdapter> eglAdapter;
  std::unique_ptr<Data::GLAdapter> glAdapter;
};

#endif  // DCAPKIT_TESTS_PLAINCLASSES_H
