// What an action fails with.
#ifndef DCAPKIT_TESTS_FAILURE_H
#define DCAPKIT_TESTS_FAILURE_H

#include <string>

#include "Core/Exceptions.h"

/// The text of the exception that ends the action; empty when none does.
template <typename Action>
std::string Failure(Action action) {
  try {
    action();
  } catch (const Core::BasicException& exception) {
    return exception.what();
  }
  return "";
}

#endif  // DCAPKIT_TESTS_FAILURE_H
