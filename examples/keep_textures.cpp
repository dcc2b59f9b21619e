// Keeps the texture uploads of a capture: keep_textures FILE FOLDER. Images of 8-bit components
// become PAM files, which image converters read; others are kept as the bytes that were recorded.
#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "Core/Exceptions.h"
#include "Core/StdioReader.h"
#include "Data/DCAPDecodeConsumer.h"
#include "Data/DCAPFileProcessor.h"
#include "Data/GLDecoder.h"

namespace {

struct PixelFormat {
  uint32_t format;
  uint32_t components;
  const char* tuple;  // PAM's word for them
};

constexpr uint32_t kUnsignedByte = 0x1401, kBgra = 0x80E1;
constexpr PixelFormat kFormats[] = {
    {0x1903, 1, "GRAYSCALE"},        // GL_RED
    {0x1906, 1, "GRAYSCALE"},        // GL_ALPHA
    {0x1909, 1, "GRAYSCALE"},        // GL_LUMINANCE
    {0x190A, 2, "GRAYSCALE_ALPHA"},  // GL_LUMINANCE_ALPHA
    {0x1907, 3, "RGB"},              // GL_RGB
    {0x1908, 4, "RGB_ALPHA"},        // GL_RGBA
    {kBgra, 4, "RGB_ALPHA"},
};

class TextureKeeper : public Data::GLAdapter {
 public:
  explicit TextureKeeper(std::filesystem::path folder) : folder_(std::move(folder)) {
    std::filesystem::create_directories(folder_);
  }

  void glTexImage2D(uint32_t /*target*/, int32_t /*level*/, int32_t /*internalformat*/,
                    int32_t width, int32_t height, int32_t /*border*/, uint32_t format,
                    uint32_t type, const Data::PointerData* pixels) override {
    Keep({"glTexImage2D", width, height, 1, format, type}, *pixels);
  }
  void glTexSubImage2D(uint32_t /*target*/, int32_t /*level*/, int32_t /*xoffset*/,
                       int32_t /*yoffset*/, int32_t width, int32_t height, uint32_t format,
                       uint32_t type, const Data::PointerData* pixels) override {
    Keep({"glTexSubImage2D", width, height, 1, format, type}, *pixels);
  }
  void glTexImage3D(uint32_t /*target*/, int32_t /*level*/, int32_t /*internalformat*/,
                    int32_t width, int32_t height, int32_t depth, int32_t /*border*/,
                    uint32_t format, uint32_t type, const Data::PointerData* pixels) override {
    Keep({"glTexImage3D", width, height, depth, format, type}, *pixels);
  }
  void glTexSubImage3D(uint32_t /*target*/, int32_t /*level*/, int32_t /*xoffset*/,
                       int32_t /*yoffset*/, int32_t /*zoffset*/, int32_t width, int32_t height,
                       int32_t depth, uint32_t format, uint32_t type,
                       const Data::PointerData* pixels) override {
    Keep({"glTexSubImage3D", width, height, depth, format, type}, *pixels);
  }
  void glCompressedTexImage2D(uint32_t /*target*/, int32_t /*level*/, uint32_t internalformat,
                              int32_t width, int32_t height, int32_t /*border*/,
                              int32_t /*imageSize*/, const Data::PointerData* data) override {
    Keep({"glCompressedTexImage2D", width, height, 1, internalformat, 0}, *data);
  }
  void glCompressedTexSubImage2D(uint32_t /*target*/, int32_t /*level*/, int32_t /*xoffset*/,
                                 int32_t /*yoffset*/, int32_t width, int32_t height,
                                 uint32_t format, int32_t /*imageSize*/,
                                 const Data::PointerData* data) override {
    Keep({"glCompressedTexSubImage2D", width, height, 1, format, 0}, *data);
  }
  void glCompressedTexImage3D(uint32_t /*target*/, int32_t /*level*/, uint32_t internalformat,
                              int32_t width, int32_t height, int32_t depth, int32_t /*border*/,
                              int32_t /*imageSize*/, const Data::PointerData* data) override {
    Keep({"glCompressedTexImage3D", width, height, depth, internalformat, 0}, *data);
  }
  void glCompressedTexSubImage3D(uint32_t /*target*/, int32_t /*level*/, int32_t /*xoffset*/,
                                 int32_t /*yoffset*/, int32_t /*zoffset*/, int32_t width,
                                 int32_t height, int32_t depth, uint32_t format,
                                 int32_t /*imageSize*/, const Data::PointerData* data) override {
    Keep({"glCompressedTexSubImage3D", width, height, depth, format, 0}, *data);
  }

  int frame = 0;

 private:
  struct Upload {
    const char* call;
    int32_t width, height, depth;
    uint32_t format, type;
  };

  void Keep(const Upload& upload, const Data::PointerData& pixels) {
    // There is nothing to keep of a null pointer, an offset into a buffer object, or an image of
    // which the capture holds the size alone.
    if (pixels.arrayData == nullptr || (pixels.flags & Data::PointerFlagNoContent) != 0) return;
    // Valid only until this operation returns, so the bytes are copied.
    std::vector<char> bytes(pixels.arrayData, pixels.arrayData + pixels.count);
    const PixelFormat* known = std::ranges::find(
        kFormats, upload.type == kUnsignedByte ? upload.format : 0, &PixelFormat::format);
    // The layers of a 3D texture lie below each other. Rows may be padded; those stay as they are.
    const int64_t rows = int64_t{upload.height} * upload.depth;
    const auto [least, most] = std::minmax({upload.width, upload.height, upload.depth});
    const bool isImage = known != std::end(kFormats) && least > 0 && most < (1 << 20) &&
                         rows * upload.width * known->components == pixels.count;
    const std::string name = std::to_string(++kept_) + (isImage ? ".pam" : ".bin");
    std::ofstream file(folder_ / name, std::ios::binary);
    if (isImage) {
      if (upload.format == kBgra) {
        for (size_t i = 0; i < bytes.size(); i += 4) std::swap(bytes[i], bytes[i + 2]);
      }
      file << "P7\nWIDTH " << upload.width << "\nHEIGHT " << rows << "\nDEPTH " << known->components
           << "\nMAXVAL 255\nTUPLTYPE " << known->tuple << "\nENDHDR\n";
    }
    file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    if (!file.flush()) throw Core::BasicException("Cannot write " + (folder_ / name).string());
    std::printf("frame %d: %s, %dx%dx%d, format 0x%04X, type 0x%04X, %s\n", frame, upload.call,
                upload.width, upload.height, upload.depth, upload.format, upload.type,
                name.c_str());
  }

  std::filesystem::path folder_;
  int kept_ = 0;
};

}  // namespace

int main(int argc, char** argv) try {
  if (argc != 3) {
    std::fprintf(stderr, "usage: keep_textures FILE FOLDER\n");
    return 2;
  }
  auto reader = std::make_shared<Core::StdioReader>(argv[1]);
  if (!reader->IsValid()) throw std::runtime_error("cannot open the capture");
  TextureKeeper keeper(argv[2]);
  Data::GLDecoder decoder;
  decoder.AddAdapter(&keeper);
  Data::DCAPDecodeConsumer consumer;
  consumer.AddDecoder(&decoder);
  Data::DCAPFileProcessor processor;
  processor.Initialize(&consumer, reader, reader->Size());
  do {
    ++keeper.frame;
  } while (processor.ProcessNextFrame());
  return 0;
} catch (const std::exception& error) {
  std::fprintf(stderr, "%s\n", error.what());
  return 1;
}
