// What unit tests start from; compiled once for all of them.
#ifndef DCAPKIT_TESTS_TEST_H
#define DCAPKIT_TESTS_TEST_H

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <charconv>
#include <chrono>
#include <climits>
#include <cmath>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <deque>
#include <filesystem>
#include <fstream>
#include <functional>
#include <initializer_list>
#include <iterator>
#include <limits>
#include <map>
#include <memory>
#include <new>
#include <optional>
#include <ostream>
#include <random>
#include <set>
#include <span>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <tuple>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Core/Exceptions.h"

#include "support/LogCollector.h"

using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::Pair;
using testing::StartsWith;

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

#endif  // DCAPKIT_TESTS_TEST_H
