#include <fcntl.h>
#include <stdio_ext.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <functional>
#include <iostream>

#include "tests/api/kernel_session.h"

// A host may run the library with streams that take no text. No call may notice.

namespace morvel_test {
namespace {

// Standard output and error on another descriptor (or closed) while it lives.
class RedirectedStreams {
 public:
  explicit RedirectedStreams(int descriptor) {
    flush();
    for (const int stream : {STDOUT_FILENO, STDERR_FILENO})
      saved_[stream - STDOUT_FILENO] = dup(stream);
    for (const int stream : {STDOUT_FILENO, STDERR_FILENO}) {
      if (descriptor >= 0)
        dup2(descriptor, stream);
      else
        close(stream);
    }
  }
  ~RedirectedStreams() {
    flush();
    for (std::FILE* const held : {stdout, stderr})
      __fpurge(held);
    for (const int stream : {STDOUT_FILENO, STDERR_FILENO}) {
      dup2(saved_[stream - STDOUT_FILENO], stream);
      close(saved_[stream - STDOUT_FILENO]);
    }
  }
  RedirectedStreams(const RedirectedStreams&) = delete;
  RedirectedStreams& operator=(const RedirectedStreams&) = delete;

 private:
  static void flush() {
    std::fflush(nullptr);
    std::cout.flush();
    std::cerr.flush();
    std::clearerr(stdout);
    std::clearerr(stderr);
  }
  int saved_[2];
};

// Results of calls that print on both streams.
std::vector<int> chattyCalls() {
  std::vector<int> results = {initialize_kernel(), create_point(1, 2, 3), delete_point(2000)};
  results.push_back(create_curve_line(0, 0, 0, 1, 1, 1));
  results.push_back(replace_curve_handle(20000, 20000));
  results.push_back(replace_curve_handle(20000, 7));
  results.push_back(ensure_surface_in_registry(40000));
  print_kernel_info();
  debug_print_registry_status();
  results.push_back(clear_all_points());
  cleanup_kernel();
  clear_all_curves();
  return results;
}

int pipeWithoutReader() {
  int ends[2];
  EXPECT_EQ(pipe(ends), 0);
  close(ends[0]);
  return ends[1];
}

class Streams : public KernelSession {
 protected:
  static void expectUndisturbed(int descriptor) {
    const std::vector<int> expected = {1, 2000, 0, 20000, 1, 0, 0, 0};
    std::vector<int> results;
    {
      const RedirectedStreams redirected(descriptor);
      results = chattyCalls();
    }
    EXPECT_EQ(results, expected);
    EXPECT_TRUE(std::cout.good());
    EXPECT_TRUE(std::cerr.good());
  }
};

TEST_F(Streams, MayBeClosed) { expectUndisturbed(-1); }

TEST_F(Streams, MayBeFull) {
  const int full = open("/dev/full", O_WRONLY);
  ASSERT_GE(full, 0);
  expectUndisturbed(full);
  std::cout.exceptions(std::ios::badbit | std::ios::failbit);
  expectUndisturbed(full);
  std::cout.exceptions(std::ios::goodbit);
  close(full);
}

TEST_F(Streams, MayHaveNoReader) {
  const int writer = pipeWithoutReader();
  void (*const handlerBefore)(int) = std::signal(SIGPIPE, SIG_DFL);
  int ownPipe[2];
  ASSERT_EQ(pipe(ownPipe), 0);
  {
    const RedirectedStreams redirected(writer);
    chattyCalls();
    // What the standard library still holds must not raise the signal at the next flush either.
    dup2(ownPipe[1], STDOUT_FILENO);
    dup2(ownPipe[1], STDERR_FILENO);
  }
  std::signal(SIGPIPE, handlerBefore);
  for (const int descriptor : {writer, ownPipe[0], ownPipe[1]})
    close(descriptor);
}

TEST_F(Streams, WorkAgainAfterwards) {
  expectUndisturbed(-1);
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  {
    const RedirectedStreams redirected(ends[1]);
    create_point(7, 8, 9);
  }
  char text[4096] = {};
  EXPECT_GT(read(ends[0], text, sizeof text - 1), 0);
  EXPECT_THAT(text, testing::EndsWith("✅ Created point: (7, 8, 9) with handle 2000\n"));
  close(ends[0]);
  close(ends[1]);
}

}  // namespace
}  // namespace morvel_test
