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

std::shared_ptr<Core::DataReader> MakePlainReader(std::span<const uint8_t> bytes);
std::shared_ptr<Core::DataWriter> MakePlainWriter(Notes* notes);
std::unique_ptr<Core::Log::Sink> MakePlainSink(Notes* notes);
std::unique_ptr<Util::Compressor> MakePlainCompressor(Notes* notes);
std::unique_ptr<Data::DCAPConsumer> MakePlainConsumer(Notes* notes);
std::unique_ptr<Data::BlockEventHandler> MakePlainBlockEventHandler(Notes* notes);
std::unique_ptr<Data::MetaHandler> MakePlainMetaHandler(Notes* notes);
std::unique_ptr<Data::Decoder> MakePlainDecoder(Notes* notes);
std::unique_ptr<Data::EGLAdapter> MakePlainEGLAdapter(Notes* notes);
std::unique_ptr<Data::GLAdapter> MakePlainGLAdapter(Notes* notes);

#endif  // DCAPKIT_TESTS_PLAINCLASSES_H
