#include "Core/Exceptions.h"

namespace Core {

// The destructors are here so that the classes have one home: a catch clause on the other side of
// the library's boundary then compares the same type information.

BasicException::BasicException(const std::string& message) : std::runtime_error(message) {}
BasicException::~BasicException() = default;

ErrnoException::ErrnoException(unsigned int errnum, const std::string& message)
    : BasicException(message), errno_(errnum) {}
ErrnoException::~ErrnoException() = default;

}  // namespace Core
