#include <cstring>

#include "morvel/morvel.hpp"
#include "tests/api/kernel_session.h"

namespace morvel_test {
namespace {

using LastError = KernelSession;

struct TextReader {
  int (*read)(char* buffer, int size);
  std::string whole;
};

TEST_F(LastError, TextsAreCutToTheRoomAndEnded) {
  trova_internal::setLastError("0123456789");
  char banner[200];
  ASSERT_GT(get_version_info(banner, sizeof banner), 0);
  for (const auto& [read, whole] :
       {TextReader{get_last_error, "0123456789"}, TextReader{get_version_info, banner}}) {
    char buffer[200];
    std::memset(buffer, '#', sizeof buffer);
    EXPECT_EQ(read(nullptr, 5), -1);
    EXPECT_EQ(read(buffer, 0), -1);
    EXPECT_EQ(read(buffer, -4), -1);
    EXPECT_EQ(buffer[0], '#');
    EXPECT_EQ(read(buffer, 1), 0);
    EXPECT_EQ(std::string(buffer, 2), std::string("\0#", 2));
    EXPECT_EQ(read(buffer, 5), 4);
    EXPECT_EQ(buffer, whole.substr(0, 4));
    EXPECT_EQ(buffer[5], '#');
    EXPECT_EQ(read(buffer, static_cast<int>(whole.size()) + 1), static_cast<int>(whole.size()));
    EXPECT_EQ(buffer, whole);
  }
}

TEST_F(LastError, BannerIsOneLineThatNamesTheKernelAndItsVersion) {
  char banner[200];
  get_version_info(banner, sizeof banner);
  EXPECT_THAT(banner, testing::StartsWith("morvel"));
  EXPECT_THAT(banner, testing::EndsWith("v1.0"));
  EXPECT_EQ(std::strchr(banner, '\n'), nullptr);
}

TEST_F(LastError, StaysAfterReadingAndAfterSuccess) {
  EXPECT_EQ(create_curve_circle(0, 0, 0, 0, 0, 0, 1), -1);
  EXPECT_EQ(lastError(), "Radius must be positive");
  EXPECT_GT(unitCircle(), 0);
  EXPECT_EQ(lastError(), "Radius must be positive");
}

TEST_F(LastError, TheHostsTextIsIndependent) {
  trova_internal::setLastError(std::string("the kernel's"));
  set_last_error_message("the host's, 100 %s%n");
  EXPECT_STREQ(get_last_error_message(), "the host's, 100 %s%n");
  EXPECT_EQ(lastError(), "the kernel's");
  set_last_error_message(get_last_error_message() + 4);
  EXPECT_STREQ(get_last_error_message(), "host's, 100 %s%n");
  set_last_error_message(nullptr);
  EXPECT_STREQ(get_last_error_message(), "");
  trova_internal::setLastError(static_cast<const char*>(nullptr));
  EXPECT_EQ(lastError(), "");
}

TEST_F(LastError, HoldsTextsOfAnyLength) {
  const std::string text(5000, 'x');
  trova_internal::setLastError(text);
  std::string buffer(6000, '\0');
  EXPECT_EQ(get_last_error(buffer.data(), 6000), 5000);
  EXPECT_EQ(buffer.substr(0, 5000), text);
}

}  // namespace
}  // namespace morvel_test
