// The adapter of all walks that are measured.
#ifndef DCAPKIT_BENCH_COUNTINGADAPTER_H
#define DCAPKIT_BENCH_COUNTINGADAPTER_H

#include <bit>
#include <concepts>
#include <cstdint>

#include "Data/GLAdapter.h"
#include "Data/PointerData.h"

/// Adds up the calls that the bare walk knows and their arguments, so that none can be left unread.
class CountingAdapter final : public Data::GLAdapter {
 public:
  /// One number, since compilers join two into a wide one, to be loaded over two narrow stores.
  uint64_t sum = 0;

  void glActiveTexture(uint32_t texture) override { Count(texture); }
  void glAttachShader(uint32_t program, uint32_t shader) override { Count(program, shader); }
  void glBindBuffer(uint32_t target, uint32_t buffer) override { Count(target, buffer); }
  void glBindFramebuffer(uint32_t target, uint32_t framebuffer) override {
    Count(target, framebuffer);
  }
  void glBindTexture(uint32_t target, uint32_t texture) override { Count(target, texture); }
  void glBlendFunc(uint32_t sfactor, uint32_t dfactor) override { Count(sfactor, dfactor); }
  void glClear(uint32_t mask) override { Count(mask); }
  void glClearColor(float red, float green, float blue, float alpha) override {
    Count(red, green, blue, alpha);
  }
  void glCompileShader(uint32_t shader) override { Count(shader); }
  void glDisable(uint32_t cap) override { Count(cap); }
  void glDisableVertexAttribArray(uint32_t index) override { Count(index); }
  void glEnable(uint32_t cap) override { Count(cap); }
  void glEnableVertexAttribArray(uint32_t index) override { Count(index); }
  void glLinkProgram(uint32_t program) override { Count(program); }
  void glTexParameteri(uint32_t target, uint32_t pname, int32_t param) override {
    Count(target, pname, param);
  }
  void glUniform1f(int32_t location, float v0) override { Count(location, v0); }
  void glUniform1i(int32_t location, int32_t v0) override { Count(location, v0); }
  void glUseProgram(uint32_t program) override { Count(program); }
  void glViewport(int32_t x, int32_t y, int32_t width, int32_t height) override {
    Count(x, y, width, height);
  }

  void glBindAttribLocation(uint32_t program, uint32_t index,
                            const Data::PointerData* name) override {
    Count(program, index, name);
  }
  void glDeleteTextures(int32_t n, const Data::PointerData* textures) override {
    Count(n, textures);
  }
  void glGenTextures(int32_t n, const Data::PointerData* textures) override { Count(n, textures); }
  void glGetProgramiv(uint32_t program, uint32_t pname, const Data::PointerData* params) override {
    Count(program, pname, params);
  }
  void glGetShaderiv(uint32_t shader, uint32_t pname, const Data::PointerData* params) override {
    Count(shader, pname, params);
  }
  void glUniform4fv(int32_t location, int32_t count, const Data::PointerData* value) override {
    Count(location, count, value);
  }
  void glUniformMatrix4fv(int32_t location, int32_t count, uint32_t transpose,
                          const Data::PointerData* value) override {
    Count(location, count, transpose, value);
  }

  void glBufferSubData(uint32_t target, uint32_t offset, uint32_t size,
                       const Data::PointerData* data) override {
    Count(target, offset, size, data);
  }

 private:
  template <typename... Values>
  void Count(Values... values) {
    sum += (1 + ... + Number(values));
  }
  static uint64_t Number(std::integral auto value) { return static_cast<uint64_t>(value); }
  static uint64_t Number(float value) { return std::bit_cast<uint32_t>(value); }
  static uint64_t Number(const Data::PointerData* value) {
    return value->count + (value->data != nullptr ? *static_cast<const uint8_t*>(value->data) : 0);
  }
};

#endif  // DCAPKIT_BENCH_COUNTINGADAPTER_H
