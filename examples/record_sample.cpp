// Records a small capture, the sample.dcap beside this file: two threads, a compressed upload,
// vertices in client memory, metadata. A recorder of real calls would do the same for each of them.
#include <cstdio>
#include <exception>
#include <memory>
#include <string_view>
#include <vector>

#include "Core/StdioWriter.h"
#include "Data/Calls/EGLEncoder.h"
#include "Data/Calls/GLEncoder.h"
#include "Data/Calls/MadePointer.h"
#include "Data/Capture/DCAPFileWriter.h"

namespace {

using Data::MadePointer;

constexpr uint32_t kRenderThread = 4101, kLoaderThread = 4102;
constexpr uint32_t kDisplay = 1, kConfig = 2, kSurface = 3, kContext = 4;
constexpr uint32_t kProgram = 1, kVertexShader = 2, kFragmentShader = 3, kTexture = 5, kFence = 1;
constexpr uint32_t kFloat = 0x1406, kTexture2D = 0x0DE1, kRgba = 0x1908, kUnsignedByte = 0x1401;

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

// Writes the calls that the encoders make into the capture.
class Recorder : public Data::CallSink {
 public:
  Recorder(const std::string& path, const Data::DCAPWriterOptions& options)
      : writer(std::make_shared<Core::StdioWriter>(path, false, true), options) {}

  void EncodedCall(Data::ApiCallType id, const uint8_t* payload, uint32_t size) override {
    writer.WriteFunctionCall(thread, id, payload, size);
  }

  // A metadata record of 32-bit fields, and a text behind them.
  void Metadata(uint16_t type, uint16_t subtype, const std::vector<uint32_t>& fields,
                std::string_view text) {
    const auto* bytes = reinterpret_cast<const uint8_t*>(fields.data());
    std::vector<uint8_t> payload(bytes, bytes + 4 * fields.size());
    payload.insert(payload.end(), text.begin(), text.end());
    writer.WriteMetadata(thread, type, subtype, payload.data(),
                         static_cast<uint32_t>(payload.size()));
  }

  Data::DCAPFileWriter writer;
  uint32_t thread = kRenderThread;
};

// The application whose calls are recorded.
class Application {
 public:
  explicit Application(Recorder* recorder) : recorder_(*recorder), egl_(recorder), gl_(recorder) {}

  void Run() {
    recorder_.writer.BeginFrame(1);
    SetUp();
    for (uint32_t frame = 2; frame <= 4; ++frame) {
      recorder_.writer.BeginFrame(frame);
      if (frame == 3) UploadTexture();
      DrawTriangle(static_cast<float>(frame) * 0.25f);
    }
  }

 private:
  // Results come first, then the parameters.
  void SetUp() {
    constexpr std::string_view kMessage = "dcapkit's sample";
    recorder_.Metadata(2, 1, {static_cast<uint32_t>(kMessage.size())}, kMessage);
    egl_.eglGetDisplay(kDisplay, 0);
    egl_.eglInitialize(1, kDisplay, MadePointer::Value(1), MadePointer::Value(5));
    egl_.eglChooseConfig(1, kDisplay, MadePointer::Array({0x3024, 8, 0x3023, 8, 0x3022, 8, 0x3038}),
                         MadePointer::Array({kConfig}), 1, MadePointer::Value(1));
    egl_.eglCreateWindowSurface(kSurface, kDisplay, kConfig, 7, MadePointer::Null());
    egl_.eglCreateContext(kContext, kDisplay, kConfig, 0, MadePointer::Array({0x3098, 2, 0x3038}));
    egl_.eglMakeCurrent(1, kDisplay, kSurface, kSurface, kContext);
    recorder_.Metadata(2, 2, {kDisplay, kSurface, 640, 480}, "");
    gl_.glGetString(MadePointer::String("OpenGL ES 2.0"), 0x1F02);
    gl_.glCreateProgram(kProgram);
    CompileShader(kVertexShader, 0x8B31, kVertexSource);
    CompileShader(kFragmentShader, 0x8B30, kFragmentSource);
    gl_.glBindAttribLocation(kProgram, 0, MadePointer::String("position"));
    gl_.glLinkProgram(kProgram);
    gl_.glGetProgramiv(kProgram, 0x8B82, MadePointer::Value(1));
    gl_.glGetUniformLocation(0, kProgram, MadePointer::String("angle"));
    recorder_.Metadata(3, 3, {kProgram, 1, 0, 0, kFloat, 1, 5}, "angle");
    gl_.glUseProgram(kProgram);
    gl_.glViewport(0, 0, 640, 480);
    gl_.glClearColor(0.1f, 0.2f, 0.3f, 1);
    egl_.eglSwapBuffers(1, kDisplay, kSurface);
  }

  void CompileShader(uint32_t shader, uint32_t type, std::string_view source) {
    gl_.glCreateShader(shader, type);
    gl_.glShaderSource(shader, 1, MadePointer::Strings({source}), MadePointer::Null());
    gl_.glCompileShader(shader);
    gl_.glGetShaderiv(shader, 0x8B81, MadePointer::Value(1));
    gl_.glAttachShader(kProgram, shader);
  }

  // A second thread loads a texture.
  void UploadTexture() {
    constexpr int32_t kSize = 64;
    std::vector<uint8_t> pixels;
    for (int32_t y = 0; y < kSize; ++y) {
      for (int32_t x = 0; x < kSize; ++x) {
        const bool isLight = ((x / 8) ^ (y / 8)) % 2 != 0;
        const auto shade = static_cast<uint8_t>(isLight ? 0xFF : 0x40);
        pixels.insert(pixels.end(), {shade, shade, shade, 0xFF});
      }
    }
    recorder_.thread = kLoaderThread;
    gl_.glGenTextures(1, MadePointer::Array({kTexture}));
    gl_.glBindTexture(kTexture2D, kTexture);
    gl_.glTexParameteri(kTexture2D, 0x2801, 0x2601);
    gl_.glTexImage2D(kTexture2D, 0, kRgba, kSize, kSize, 0, kRgba, kUnsignedByte,
                     MadePointer::Array(std::span<const uint8_t>(pixels)));
    gl_.glFenceSync(kFence, 0x9117, 0);
    recorder_.thread = kRenderThread;
    gl_.glWaitSync(kFence, 0, ~uint64_t{0});
  }

  void DrawTriangle(float angle) {
    gl_.glClear(0x4100);
    gl_.glUniform1f(0, angle);
    gl_.glEnableVertexAttribArray(0);
    // The vertices lie in client memory: their bytes are recorded with the draw call.
    float vertices[] = {-0.5f, -0.5f, 0.5f, -0.5f, 0.0f, 0.5f};
    gl_.VertexAttribPointerData(0, 2, kFloat, 0, 8, reinterpret_cast<unsigned char*>(vertices),
                                sizeof(vertices), 0);
    gl_.glDrawArrays(4, 0, 3);
    gl_.glDisableVertexAttribArray(0);
    egl_.eglSwapBuffers(1, kDisplay, kSurface);
  }

  Recorder& recorder_;
  Data::EGLEncoder egl_;
  Data::GLEncoder gl_;
};

}  // namespace

int main(int argc, char** argv) try {
  if (argc != 2) {
    std::fprintf(stderr, "usage: record_sample FILE\n");
    return 2;
  }
  Data::DCAPWriterOptions options;
  options.versionMinor = 2;
  options.compression = Data::kCompressionLZ4;
  options.compressionThreshold = 1024;  // so that only the texture is compressed
  Recorder recorder(argv[1], options);
  Application(&recorder).Run();
  recorder.writer.Close();
  return 0;
} catch (const std::exception& error) {
  std::fprintf(stderr, "%s\n", error.what());
  return 1;
}
