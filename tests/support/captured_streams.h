#pragma once

#include <iostream>
#include <sstream>
#include <string>

namespace morvel_test {

/// Takes what is written to std::cout and std::cerr while it lives.
class CapturedStreams {
 public:
  CapturedStreams()
      : oldOut_(std::cout.rdbuf(out_.rdbuf())), oldErr_(std::cerr.rdbuf(err_.rdbuf())) {}
  ~CapturedStreams() {
    std::cout.rdbuf(oldOut_);
    std::cerr.rdbuf(oldErr_);
  }
  CapturedStreams(const CapturedStreams&) = delete;
  CapturedStreams& operator=(const CapturedStreams&) = delete;

  std::string out() const { return out_.str(); }
  std::string err() const { return err_.str(); }

 private:
  std::ostringstream out_;
  std::ostringstream err_;
  std::streambuf* oldOut_;
  std::streambuf* oldErr_;
};

}  // namespace morvel_test
