// The exceptions that leave the library.
#ifndef DCAPKIT_CORE_EXCEPTIONS_H
#define DCAPKIT_CORE_EXCEPTIONS_H

#include <stdexcept>
#include <string>

#include "Core/Export.h"

namespace Core {

/// A format or I/O error that ends processing. `what()` is the fixed text of the operation, which
/// its header names.
class DCAPKIT_API BasicException : public std::runtime_error {
 public:
  explicit BasicException(const std::string& message);
  BasicException(const BasicException&) = default;
  BasicException& operator=(const BasicException&) = default;
  ~BasicException() override;
};

/// A failed system call. `GetErrno()` is the `errno` that it left.
class DCAPKIT_API ErrnoException : public BasicException {
 public:
  ErrnoException(unsigned int errnum, const std::string& message);
  ErrnoException(const ErrnoException&) = default;
  ErrnoException& operator=(const ErrnoException&) = default;
  ~ErrnoException() override;

  [[nodiscard]] unsigned int GetErrno() const noexcept { return errno_; }

 private:
  unsigned int errno_;
};

}  // namespace Core

#endif  // DCAPKIT_CORE_EXCEPTIONS_H
