#include "inspect/parallel/InOrder.h"
#include "inspect/parallel/OrderedLog.h"
#include "support/Test.h"

namespace {

using Inspect::InOrder;

constexpr size_t kMuch = size_t{1} << 20;  // as many bytes as a piece may be ahead

class InOrderTest : public testing::Test {
 protected:
  using Work = std::function<void(int piece, InOrder::Turn* turn)>;

  // Runs pieces 0, 1, 2, ... on four threads.
  static void Run(int pieces, const Work& work) {
    int next = 0;
    InOrder::Run(4, [&]() -> InOrder::Work {
      if (next == pieces) return nullptr;
      return [&work, piece = next++](InOrder::Turn* turn) { work(piece, turn); };
    });
  }

  // What a run throws.
  static std::string Failure(int pieces, const Work& work) {
    try {
      Run(pieces, work);
    } catch (const std::exception& error) {
      return error.what();
    }
    return "nothing";
  }

  void Add(InOrder::Turn* turn, int result, size_t bytes = 0) {
    turn->Do(bytes, [this, result] { results.push_back(result); });
  }

  // Waits for what other threads do.
  static void Await(const std::function<bool()>& condition) {
    while (!condition()) std::this_thread::yield();
  }

  std::vector<int> results;
};

TEST_F(InOrderTest, ResultsComeInTheOrderOfThePieces) {
  constexpr int kPieces = 500;
  std::vector<int> expected;
  for (int i = 0; i < kPieces; ++i) expected.insert(expected.end(), {i, -i});
  Run(kPieces, [this](int piece, InOrder::Turn* turn) {
    Add(turn, piece, kMuch / 3);
    Add(turn, -piece);
  });
  EXPECT_EQ(results, expected);
}

TEST_F(InOrderTest, APieceThatAwaitsItsTurnHasTheResultsOfAllBefore) {
  std::vector<size_t> before;
  Run(20, [&](int piece, InOrder::Turn* turn) {
    Add(turn, piece);
    turn->Await();
    turn->Do(0, [&] { before.push_back(results.size()); });
  });
  for (size_t i = 0; i < before.size(); ++i) EXPECT_EQ(before[i], i + 1);
}

TEST_F(InOrderTest, APieceTooFarAheadWaits) {
  std::atomic<int> ahead = 0;
  int most = 0;
  Run(2, [&](int piece, InOrder::Turn* turn) {
    if (piece == 0) {
      Await([&] { return ahead != 0; });
      std::this_thread::sleep_for(std::chrono::milliseconds(50));
      most = ahead;
    }
    for (int i = 0; piece == 1 && i < 20; ++i) {
      Add(turn, i, kMuch / 2);
      ++ahead;
    }
  });
  EXPECT_LE(most, 2);
  EXPECT_EQ(results.size(), 20u);
}

TEST_F(InOrderTest, AnExceptionInAPieceComesAfterTheResultsBeforeIt) {
  std::atomic<bool> laterHasFailed = false;
  const auto work = [&](int piece, InOrder::Turn* turn) {
    if (piece == 1) Await([&] { return laterHasFailed.load(); });
    Add(turn, piece);
    if (piece == 3) laterHasFailed = true;
    if (piece == 1 || piece == 3) throw std::runtime_error("piece " + std::to_string(piece));
  };
  EXPECT_EQ(Failure(100, work), "piece 1");
  EXPECT_THAT(results, ElementsAre(0, 1));
}

TEST_F(InOrderTest, AnExceptionInAnActionEndsPiecesThatWait) {
  std::atomic<int> waiting = 0;
  const auto work = [&](int piece, InOrder::Turn* turn) {
    if (piece == 0) {
      Await([&] { return waiting == 3; });
      turn->Do(kMuch, [] { throw std::runtime_error("full"); });
    }
    ++waiting;
    if (piece == 0) return;
    for (;;) Add(turn, piece, kMuch);
  };
  EXPECT_EQ(Failure(100, work), "full");
  EXPECT_THAT(results, IsEmpty());
}

TEST_F(InOrderTest, AnExceptionInTheSourceIsThatOfAPiece) {
  int next = 0;
  const auto source = [&]() -> InOrder::Work {
    if (next == 2) throw std::runtime_error("no more");
    return [this, piece = next++](InOrder::Turn* turn) { Add(turn, piece); };
  };
  EXPECT_THROW(InOrder::Run(3, source), std::runtime_error);
  EXPECT_THAT(results, ElementsAre(0, 1));
}

TEST_F(InOrderTest, NothingIsDoneAfterTheLastPiece) {
  Run(1'000'000'000, [this](int piece, InOrder::Turn* turn) {
    Add(turn, piece);
    if (piece == 2) turn->IsLast();
  });
  EXPECT_THAT(results, ElementsAre(0, 1, 2));
}

TEST_F(InOrderTest, LogLinesTakeTheirTurnAndAreDroppedWhenTheRunIsCancelled) {
  LogCollector lines;
  Inspect::OrderedLog log(&lines);
  Core::Log::SetSink(&log);
  std::atomic<bool> cancelled = false;
  std::atomic<int> begun = 0;
  std::atomic<int> survivors = 0;
  const auto print = [](const char* message) {
    Core::Log::Print(Core::Log::kError, Core::Log::kProcessing, 1, "test", true, "%s", message);
  };
  const auto work = [&](int piece, InOrder::Turn* turn) {
    const Inspect::OrderedLog::Scope scope(turn);
    if (piece == 0) {
      print("first");
      Await([&] { return begun == 3; });
      turn->Do(kMuch, [&] { cancelled = true; });
      turn->Do(kMuch, [] { throw std::runtime_error("full"); });
    } else {
      ++begun;
      Await([&] { return cancelled.load(); });
      while (turn->TryDo(kMuch, [] {})) {
      }
      print("dropped");
      ++survivors;
    }
  };
  EXPECT_EQ(Failure(4, work), "full");
  print("last");
  Core::Log::SetSink(&lines);
  EXPECT_THAT(lines.Messages(), ElementsAre("first", "last"));
  EXPECT_EQ(survivors, 3);
}

}  // namespace
