#include "morvel/files/internal/atomic_file.h"

#include <gmock/gmock.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <ostream>

#include "tests/support/temporary_folder.h"

namespace morvel_test {
namespace {

namespace fs = std::filesystem;
using testing::AllOf;
using testing::HasSubstr;
using testing::ThrowsMessage;
using trova::files::FileError;
using trova::files::readWholeFile;
using trova::files::writeFileAtomically;

constexpr std::int64_t kPlenty = 1 << 20;

void writeText(const fs::path& path, const std::string& text) {
  writeFileAtomically(path, [&](std::ostream& out) { out << text; });
}

class AtomicFile : public testing::Test {
 protected:
  std::size_t entryCount() const {
    return std::distance(fs::directory_iterator(folder.path()), fs::directory_iterator());
  }
  void expectRefusedWriting(const fs::path& path, const std::string& reason) {
    EXPECT_THAT([&] { writeText(path, "new"); },
                ThrowsMessage<FileError>(AllOf(HasSubstr("Cannot write"), HasSubstr(reason))))
        << path;
  }

  TemporaryFolder folder;
};

TEST_F(AtomicFile, NewAndReplacedFilesHoldWhatWasWritten) {
  const fs::path path = folder.path() / "f";
  const std::string large(300000, 'x');  // more than any buffer
  writeText(path, large);
  EXPECT_EQ(readWholeFile(path, kPlenty), large);
  fs::permissions(path, fs::perms(0640));
  writeText(path, "");
  EXPECT_EQ(readWholeFile(path, kPlenty), "");
  EXPECT_EQ(fs::status(path).permissions(), fs::perms(0640));
  EXPECT_EQ(entryCount(), 1u);
}

TEST_F(AtomicFile, NewFilesGetTheModeThatTheProcessMasks) {
  const mode_t before = ::umask(027);
  writeText(folder.path() / "f", "text");
  ::umask(before);
  EXPECT_EQ(fs::status(folder.path() / "f").permissions(), fs::perms(0640));
}

TEST_F(AtomicFile, LinksStayAndTheirTargetsAreWritten) {
  fs::create_directory(folder.path() / "sub");
  fs::create_symlink("sub/target", folder.path() / "link");
  for (const char* text : {"made through the link", "replaced through it"}) {
    writeText(folder.path() / "link", text);
    EXPECT_TRUE(fs::is_symlink(folder.path() / "link"));
    EXPECT_EQ(readWholeFile(folder.path() / "sub/target", kPlenty), text);
  }
  fs::create_symlink("round", folder.path() / "round");
  expectRefusedWriting(folder.path() / "round", "symbolic links");
}

TEST_F(AtomicFile, AFaultLeavesTheEarlierFileAndNothingElse) {
  const fs::path path = folder.path() / "f";
  writeText(path, "earlier");
  EXPECT_THROW(writeFileAtomically(path,
                                   [](std::ostream& out) {
                                     out << std::string(300000, 'x');
                                     throw std::runtime_error("half way");
                                   }),
               std::runtime_error);
  EXPECT_EQ(readWholeFile(path, kPlenty), "earlier");

  // A limit on the size of files stands in for a full disk.
  const auto handler = std::signal(SIGXFSZ, SIG_IGN);
  rlimit unlimited{};
  ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &unlimited), 0);
  rlimit limited = unlimited;
  limited.rlim_cur = 100000;
  ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &limited), 0);
  EXPECT_THAT([&] { writeText(path, std::string(300000, 'x')); },
              ThrowsMessage<FileError>(HasSubstr("File too large")));
  ::setrlimit(RLIMIT_FSIZE, &unlimited);
  std::signal(SIGXFSZ, handler);
  EXPECT_EQ(readWholeFile(path, kPlenty), "earlier");
  EXPECT_EQ(entryCount(), 1u);
}

TEST_F(AtomicFile, TargetsThatCannotBeWrittenAreNamedWithTheReason) {
  fs::create_directory(folder.path() / "sub");
  ASSERT_EQ(::mkfifo((folder.path() / "fifo").c_str(), 0600), 0);
  writeText(folder.path() / "file", "earlier");
  expectRefusedWriting(folder.path() / "missing/f", "missing/f\": No such file or directory");
  expectRefusedWriting(folder.path() / "sub", "Is a directory");
  expectRefusedWriting(folder.path() / "sub/", "Is a directory");
  expectRefusedWriting(folder.path() / "file/f", "Not a directory");
  expectRefusedWriting(folder.path() / "fifo", "no ordinary file");
  expectRefusedWriting(folder.path() / std::string(300, 'n'), "File name too long");
  expectRefusedWriting(std::string(10000, '/'), "File name too long");
  expectRefusedWriting("/dev/full", "No space left on device");
  expectRefusedWriting("", "empty");
  expectRefusedWriting(std::string("a\0b", 3), "zero byte");
  EXPECT_EQ(entryCount(), 3u);
  EXPECT_TRUE(fs::is_empty(folder.path() / "sub"));
  EXPECT_TRUE(fs::exists("/dev/full"));
}

TEST_F(AtomicFile, NamesAsLongAsTheyMayBeAndOfAnyBytesAreWritten) {
  for (const std::string& name : {std::string(255, 'n'), std::string("\xff\x01\n\"")}) {
    writeText(folder.path() / name, "text");
    EXPECT_EQ(readWholeFile(folder.path() / name, kPlenty), "text");
  }
  EXPECT_EQ(entryCount(), 2u);
}

TEST_F(AtomicFile, ProtectedFilesAreNotReplaced) {
  if (::geteuid() == 0) GTEST_SKIP() << "everything may be written by root";
  writeText(folder.path() / "f", "earlier");
  fs::permissions(folder.path() / "f", fs::perms(0444));
  expectRefusedWriting(folder.path() / "f", "Permission denied");
}

TEST_F(AtomicFile, OnlyOrdinaryFilesUpToTheLimitAreRead) {
  writeText(folder.path() / "f", "12345");
  fs::create_symlink("f", folder.path() / "link");
  ASSERT_EQ(::mkfifo((folder.path() / "fifo").c_str(), 0600), 0);
  EXPECT_EQ(readWholeFile(folder.path() / "link", 5), "12345");
  EXPECT_FALSE(readWholeFile("/proc/self/status", kPlenty).empty());  // says that it has no size
  EXPECT_THAT([] { readWholeFile("/proc/self/status", 3); },
              ThrowsMessage<FileError>(HasSubstr("more than the 3 bytes")));
  const std::pair<fs::path, const char*> refused[] = {
      {folder.path() / "f", "more than the 4 bytes allowed"},
      {folder.path(), "Is a directory"},
      {folder.path() / "fifo", "no ordinary file"},
      {"/dev/zero", "no ordinary file"},
      {folder.path() / "missing", "No such file"},
      {"", "empty"},
  };
  for (const auto& entry : refused) {
    const auto& [path, reason] = entry;
    EXPECT_THAT([&entry] { readWholeFile(entry.first, 4); },
                ThrowsMessage<FileError>(AllOf(HasSubstr("Cannot read"), HasSubstr(reason))))
        << path;
  }
}

}  // namespace
}  // namespace morvel_test
