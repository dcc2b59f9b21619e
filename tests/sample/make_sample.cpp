// Makes examples/sample.dcap: two threads, an LZ4-compressed upload, client vertex arrays,
// metadata.
#include <cstdio>
#include <cstring>
#include <string_view>
#include <vector>

#include "Data/ApiCallType.h"

#include "CaptureBuilder.h"
#include "PayloadBuilder.h"

namespace {

using enum Data::ApiCallType;

constexpr uint32_t kRenderThread = 4101;
constexpr uint32_t kLoaderThread = 4102;

constexpr uint32_t kDisplay = 1, kConfig = 2, kSurface = 3, kContext = 4;
constexpr uint32_t kProgram = 1, kVertexShader = 2, kFragmentShader = 3, kTexture = 5;
constexpr uint32_t kFloat = 0x1406, kTriangles = 0x0004, kTexture2D = 0x0DE1;

constexpr std::string_view kVertexSource =
    "attribute vec2 position;\n"
    "uniform float angle;\n"
    "void main() {\n"
    "  float s = sin(angle), c = cos(angle);\n"
    "  gl_Position = vec4(mat2(c, s, -s, c) * position, 0.0, 1.0);\n"
    "}\n";
constexpr std::string_view kFragmentSource =
    "precision mediump float;\n"
    "void main() { gl_FragColor = vec4(1.0, 0.5, 0.25, 1.0); }\n";

class Sample {
 public:
  std::vector<uint8_t> Make() {
    SetUp();
    for (uint32_t frame = 2; frame <= 4; ++frame) {
      capture_.FrameBlock(frame);
      if (frame == 3) {
        UploadTexture();
      }
      DrawTriangle(static_cast<float>(frame) * 0.25f);
    }
    return capture_.Finish();
  }

 private:
  CaptureBuilder& Call(Data::ApiCallType id, const Bytes& payload) {
    return capture_.Call(static_cast<uint16_t>(id), payload);
  }

  void SetUp() {
    Data::FileHeader& header = capture_.Header();
    header.versionMajor = 1;
    header.versionMinor = 2;
    capture_.FrameBlock(1).Thread(kRenderThread);
    capture_.Metadata(2, 1, Bytes().U32(16).Text("dcapkit's sample"));
    Call(eglGetDisplay, Bytes().U32(0).U32(kDisplay));
    Call(eglInitialize, Bytes().U32(kDisplay).Value(1).Value(5).U32(1));
    Call(eglChooseConfig, Bytes()
                              .U32(kDisplay)
                              .Array<uint32_t>({0x3024, 8, 0x3023, 8, 0x3022, 8, 0x3038})
                              .Array<uint32_t>({kConfig})
                              .U32(1)
                              .Value(1)
                              .U32(1));
    Call(eglCreateWindowSurface, Bytes().U32(kDisplay).U32(kConfig).U32(7).Null().U32(kSurface));
    Call(eglCreateContext, Bytes()
                               .U32(kDisplay)
                               .U32(kConfig)
                               .U32(0)
                               .Array<uint32_t>({0x3098, 2, 0x3038})
                               .U32(kContext));
    Call(eglMakeCurrent, Bytes().U32s({kDisplay, kSurface, kSurface, kContext, 1}));
    capture_.Metadata(2, 2, Bytes().U32s({kDisplay, kSurface, 640, 480}));
    Call(glGetString, Bytes().U32(0x1F02).String("OpenGL ES 2.0"));
    Call(glCreateProgram, Bytes().U32(kProgram));
    Shader(kVertexShader, 0x8B31, kVertexSource);
    Shader(kFragmentShader, 0x8B30, kFragmentSource);
    Call(glBindAttribLocation, Bytes().U32(kProgram).U32(0).String("position"));
    Call(glLinkProgram, Bytes().U32(kProgram));
    Call(glGetProgramiv, Bytes().U32(kProgram).U32(0x8B82).Value(1));
    Call(glGetUniformLocation, Bytes().U32(kProgram).String("angle").I32(0));
    capture_.Metadata(3, 3,
                      Bytes().U32(kProgram).U32(1).U32s({0, 0, kFloat, 1}).U32(5).Text("angle"));
    Call(glUseProgram, Bytes().U32(kProgram));
    Call(glViewport, Bytes().U32s({0, 0, 640, 480}));
    Call(glClearColor, Bytes().F32(0.1f).F32(0.2f).F32(0.3f).F32(1));
    Swap();
  }

  void Shader(uint32_t shader, uint32_t type, std::string_view source) {
    Call(glCreateShader, Bytes().U32(type).U32(shader));
    Call(glShaderSource, Bytes().U32(shader).U32(1).Strings({source}).Null());
    Call(glCompileShader, Bytes().U32(shader));
    Call(glGetShaderiv, Bytes().U32(shader).U32(0x8B81).Value(1));
    Call(glAttachShader, Bytes().U32(kProgram).U32(shader));
  }

  // A second thread loads a texture; its pixels are worth compressing.
  void UploadTexture() {
    constexpr uint32_t kSize = 64;
    Bytes image = Bytes().U32s({kTexture2D, 0, 0x1908, kSize, kSize, 0, 0x1908, 0x1401});
    image.U32(0x2).U32(kSize * kSize * 4);
    for (uint32_t y = 0; y < kSize; ++y) {
      for (uint32_t x = 0; x < kSize; ++x) {
        const bool light = ((x / 8) ^ (y / 8)) % 2 != 0;
        image.U32(light ? 0xFFFFFFFF : 0xFF404040);
      }
    }
    capture_.Thread(kLoaderThread);
    Call(glGenTextures, Bytes().U32(1).Array<uint32_t>({kTexture}));
    Call(glBindTexture, Bytes().U32(kTexture2D).U32(kTexture));
    Call(glTexParameteri, Bytes().U32(kTexture2D).U32(0x2801).U32(0x2601));
    capture_.CompressedCall(static_cast<uint16_t>(glTexImage2D), image);
    Call(glFenceSync, Bytes().U32(0x9117).U32(0).U32(1));
    capture_.Thread(kRenderThread);
    Call(glWaitSync, Bytes().U32(1).U32(0).U64(~uint64_t{0}));
  }

  void DrawTriangle(float angle) {
    Call(glClear, Bytes().U32(0x4100));
    Call(glUniform1f, Bytes().I32(0).F32(angle));
    Call(glEnableVertexAttribArray, Bytes().U32(0));
    // The vertices lie in client memory: their bytes follow the draw call's own parameters.
    Bytes draw = Bytes().U32(kTriangles).U32(0).U32(3).U32(1);
    draw.U32(static_cast<uint32_t>(glVertexAttribPointer));
    draw.U32s({0, 2, kFloat, 0, 8, 0, 0x2, 6 * sizeof(float)});
    for (const float coordinate : {-0.5f, -0.5f, 0.5f, -0.5f, 0.0f, 0.5f}) {
      draw.F32(coordinate);
    }
    Call(glDrawArrays, draw);
    Call(glDisableVertexAttribArray, Bytes().U32(0));
    Swap();
  }

  void Swap() { Call(eglSwapBuffers, Bytes().U32s({kDisplay, kSurface, 1})); }

  CaptureBuilder capture_{Data::kOptionThreadIds | Data::kCompressionLZ4
                                                       << Data::kOptionCompressionShift};
};

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: make_sample FILE\n");
    return 2;
  }
  const std::vector<uint8_t> bytes = Sample().Make();
  std::FILE* file = std::fopen(argv[1], "wb");
  if (file == nullptr || std::fwrite(bytes.data(), 1, bytes.size(), file) != bytes.size() ||
      std::fclose(file) != 0) {
    std::perror(argv[1]);
    return 1;
  }
  return 0;
}
