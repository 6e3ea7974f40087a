#include "morvel/foundation/status_line.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <pthread.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <iomanip>
#include <iostream>
#include <new>
#include <stdexcept>
#include <string>
#include <vector>

#include "tests/support/captured_streams.h"

namespace {

using namespace trova::foundation::status;
using morvel_test::CapturedStreams;
using testing::ElementsAre;

class StatusLine : public testing::Test {
 protected:
  ~StatusLine() override {
    setSink(nullptr, nullptr);
    setLevel(Level::Info);
  }
};

// Lets standard output go to a descriptor while it lives; takes the descriptor over.
class RedirectedOutput {
 public:
  explicit RedirectedOutput(int target) : saved_(dup(STDOUT_FILENO)) {
    std::fflush(stdout);
    if (target >= 0) {
      dup2(target, STDOUT_FILENO);
      close(target);
    } else {
      close(STDOUT_FILENO);
    }
  }
  ~RedirectedOutput() {
    dup2(saved_, STDOUT_FILENO);
    close(saved_);
  }

 private:
  int saved_;
};

TEST_F(StatusLine, SymbolsAndStreamsFollowTheKindOfLine) {
  const CapturedStreams streams;
  success("made ", 3, " of ", 0.5);
  failure("lost");
  progress(Symbol::Working, "fitting");
  write(Level::Warning, Stream::Error, Symbol::Warning, "thin");
  debug("hidden");
  EXPECT_EQ(streams.out(), "✅ made 3 of 0.5\n🔄 fitting\n");
  EXPECT_EQ(streams.err(), "❌ lost\n⚠️ thin\n");
}

TEST_F(StatusLine, EverySymbolHasItsText) {
  const std::pair<Symbol, const char*> table[] = {
      {Symbol::None, ""},           {Symbol::Success, "✅ "}, {Symbol::Failure, "❌ "},
      {Symbol::Warning, "⚠️ "}, {Symbol::Working, "🔄 "}, {Symbol::Check, "🔍 "},
      {Symbol::Step, "🔧 "},         {Symbol::Chart, "📊 "},   {Symbol::Report, "📋 "},
      {Symbol::Cleanup, "🧹 "},   {Symbol::Target, "🎯 "}};
  for (const auto& [symbol, text] : table)
    EXPECT_EQ(symbolText(symbol), text);
}

TEST_F(StatusLine, LevelDropsWhatLiesBelow) {
  const CapturedStreams streams;
  setLevel(Level::Error);
  success("quiet");
  failure("loud");
  setLevel(Level::Debug);
  debug("dump");
  EXPECT_EQ(streams.out(), "dump\n");
  EXPECT_EQ(streams.err(), "❌ loud\n");
}

TEST_F(StatusLine, SinkGetsWholeLinesAndMayThrow) {
  const CapturedStreams streams;
  std::vector<std::string> lines;
  const auto keep = [](Level, std::string_view line, void* user) {
    static_cast<std::vector<std::string>*>(user)->emplace_back(line);
  };
  setSink(keep, &lines);
  success("one");
  failure("two");
  setSink([](Level, std::string_view, void*) { throw 42; }, nullptr);
  success("three");
  setSink(nullptr, nullptr);
  success("four");
  EXPECT_THAT(lines, ElementsAre("✅ one", "❌ two"));
  EXPECT_EQ(streams.out(), "✅ four\n");
}

TEST_F(StatusLine, CallersTextIsNoFormatAndStreamFormatsStay) {
  const CapturedStreams streams;
  std::cout << std::hex << std::setfill('*') << std::setw(6);
  success("100%s %n ", 255);
  std::cout << 17 << std::dec << std::setfill(' ');
  EXPECT_EQ(streams.out(), "✅ 100%s %n 255\n****11");
}

struct ThrowsWhenPrinted {};
std::ostream& operator<<(std::ostream&, const ThrowsWhenPrinted&) { throw std::bad_alloc(); }

TEST_F(StatusLine, ValueThatCannotBePrintedDropsTheLine) {
  const CapturedStreams streams;
  success("before ", ThrowsWhenPrinted{});
  EXPECT_EQ(streams.out(), "");
}

class BrokenBuffer : public std::streambuf {
 protected:
  int overflow(int) override { throw std::runtime_error("no room"); }
  std::streamsize xsputn(const char*, std::streamsize) override { return 0; }
  int sync() override { throw std::runtime_error("cannot flush"); }
};

TEST_F(StatusLine, StreamThatFailsOrThrowsKeepsItsStateAndMask) {
  const CapturedStreams streams;  // puts the buffers back
  BrokenBuffer broken;
  std::cout.rdbuf(&broken);
  std::cerr.rdbuf(&broken);
  std::cout.exceptions(std::ios::badbit | std::ios::failbit);
  success("lost");
  failure("lost, and so is what is tied to the stream");
  EXPECT_TRUE(std::cout.good());
  EXPECT_TRUE(std::cerr.good());
  EXPECT_EQ(std::cout.exceptions(), std::ios::badbit | std::ios::failbit);
  std::cout.exceptions(std::ios::goodbit);
}

TEST_F(StatusLine, StreamThatHadFailedBeforeIsLeftAlone) {
  const CapturedStreams streams;
  std::cout.setstate(std::ios::failbit);
  success("not printed");
  EXPECT_EQ(std::cout.rdstate(), std::ios::failbit);
  std::cout.clear();
  EXPECT_EQ(streams.out(), "");
}

bool brokenPipeIsPending() {
  sigset_t pending;
  sigpending(&pending);
  return sigismember(&pending, SIGPIPE) == 1;
}

int pipeWithoutReader() {
  int ends[2] = {-1, -1};
  EXPECT_EQ(pipe(ends), 0);
  close(ends[0]);
  return ends[1];
}

TEST_F(StatusLine, OutputThatCannotBeWrittenDisturbsNothing) {
  ASSERT_TRUE(std::cout.good());
  const auto closedPipe = [] { return pipeWithoutReader(); };
  const auto fullDevice = [] { return open("/dev/full", O_WRONLY); };
  const auto nothing = [] { return -1; };
  for (int (*const target)() : {+closedPipe, +fullDevice, +nothing}) {
    {
      const RedirectedOutput redirected(target());
      errno = 7;
      success("into the void");  // SIGPIPE would end the program
      EXPECT_EQ(errno, 7);
    }
    EXPECT_TRUE(std::cout.good());
    EXPECT_FALSE(brokenPipeIsPending());
    sigset_t mask;
    pthread_sigmask(SIG_BLOCK, nullptr, &mask);
    EXPECT_EQ(sigismember(&mask, SIGPIPE), 0);
  }
  testing::internal::CaptureStdout();
  success("back again");
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "✅ back again\n");
}

TEST_F(StatusLine, PendingSignalOfTheHostStaysPending) {
  sigset_t brokenPipe, before;
  sigemptyset(&brokenPipe);
  sigaddset(&brokenPipe, SIGPIPE);
  pthread_sigmask(SIG_BLOCK, &brokenPipe, &before);
  {
    const RedirectedOutput redirected(pipeWithoutReader());
    success("our own signal goes");
    EXPECT_FALSE(brokenPipeIsPending());
    raise(SIGPIPE);
    success("the host's stays");
    EXPECT_TRUE(brokenPipeIsPending());
  }
  const timespec noWait{};
  EXPECT_EQ(sigtimedwait(&brokenPipe, nullptr, &noWait), SIGPIPE);
  pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

}  // namespace
