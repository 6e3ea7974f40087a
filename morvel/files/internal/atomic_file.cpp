#include "morvel/files/internal/atomic_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <filesystem>
#include <locale>
#include <ostream>
#include <streambuf>
#include <system_error>
#include <utility>
#include <vector>

#include "morvel/files/internal/in_quotes.h"

namespace trova::files {
namespace {

constexpr std::size_t kBufferBytes = 1 << 16;
constexpr int kNameAttempts = 100;
constexpr int kMaxLinks = 40;          // as many as the system itself follows
constexpr mode_t kNewFileMode = 0666;  // less what the process masks
constexpr mode_t kPermissions = 0777;
constexpr const char* kNotOrdinary = "It is no ordinary file";

[[noreturn]] void fail(const char* action, const std::string& path, const std::string& reason) {
  std::string text = "Cannot ";
  text += action;
  text += ' ';
  text += inQuotes(path);
  text += ": ";
  text += reason;
  throw FileError(text);
}

std::string reasonOf(int error) { return std::generic_category().message(error); }

[[noreturn]] void failToWrite(const std::string& path, int error) {
  fail("write", path, reasonOf(error));
}

[[noreturn]] void failAsTooLarge(const std::string& path, std::int64_t maxBytes) {
  fail("read", path, "It has more than the " + std::to_string(maxBytes) + " bytes allowed");
}

void requirePath(const char* action, const std::string& path) {
  if (path.empty()) fail(action, path, "The path is empty");
  if (path.find('\0') != std::string::npos) fail(action, path, "The path holds a zero byte");
}

template <class Call>
auto untilNotInterrupted(Call call) {
  auto result = call();
  while (result == -1 && errno == EINTR)
    result = call();
  return result;
}

/// The descriptor, or -1 with errno.
int openPath(const std::string& path, int flags, mode_t mode = 0) {
  return untilNotInterrupted(
      [&] { return ::open(path.c_str(), flags | O_CLOEXEC | O_NOCTTY | O_NONBLOCK, mode); });
}

/// Closes what it holds.
class Descriptor {
 public:
  explicit Descriptor(int descriptor) : descriptor_(descriptor) {}
  ~Descriptor() { close(); }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;

  bool isOpen() const { return descriptor_ != -1; }
  int get() const { return descriptor_; }
  /// False, with errno, where the system found a fault only now.
  bool close() {
    const int closing = std::exchange(descriptor_, -1);
    return closing == -1 || ::close(closing) == 0 || errno == EINTR;
  }

 private:
  int descriptor_;
};

/// Hands bytes to a descriptor and remembers the first fault.
class DescriptorBuffer : public std::streambuf {
 public:
  explicit DescriptorBuffer(int descriptor) : descriptor_(descriptor), buffer_(kBufferBytes) {
    setp(buffer_.data(), buffer_.data() + buffer_.size());
  }
  int error() const { return error_; }

 protected:
  int_type overflow(int_type c) override {
    if (sync() != 0) return traits_type::eof();
    if (traits_type::eq_int_type(c, traits_type::eof())) return traits_type::not_eof(c);
    return sputc(traits_type::to_char_type(c));
  }

  int sync() override {
    for (const char* next = pbase(); next != pptr() && error_ == 0;) {
      const ssize_t written = untilNotInterrupted(
          [&] { return ::write(descriptor_, next, static_cast<std::size_t>(pptr() - next)); });
      if (written > 0)
        next += written;
      else
        error_ = written == 0 ? EIO : errno;
    }
    setp(buffer_.data(), buffer_.data() + buffer_.size());
    return error_ == 0 ? 0 : -1;
  }

 private:
  int descriptor_;
  int error_ = 0;
  std::vector<char> buffer_;
};

void writeInto(int descriptor, const std::string& path,
               const std::function<void(std::ostream&)>& write) {
  DescriptorBuffer buffer(descriptor);
  std::ostream stream(&buffer);
  stream.imbue(std::locale::classic());
  write(stream);
  stream.flush();
  if (buffer.error() != 0) failToWrite(path, buffer.error());
  if (!stream) fail("write", path, "Not everything could be formatted");
}

/// The path behind symbolic links, of which the last may point to nothing yet.
std::string linkTarget(const std::string& path) {
  std::filesystem::path target = path;
  std::error_code error;
  for (int i = 0; i < kMaxLinks; ++i) {
    const std::filesystem::path next = std::filesystem::read_symlink(target, error);
    if (error) return target.string();  // no link, or not there, or out of reach: opening it tells
    target = target.parent_path() / next;
  }
  failToWrite(path, ELOOP);
}

std::string folderOf(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  return slash == std::string::npos ? "./" : path.substr(0, slash + 1);
}

/// A new file beside the target, which is removed again unless it takes the target's name.
class TemporaryFile {
 public:
  explicit TemporaryFile(const std::string& target) : file_(create(target)) {
    if (!file_.isOpen()) failToWrite(target, errno);
  }
  ~TemporaryFile() {
    if (!isRenamed_) ::unlink(name_.c_str());
  }
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;

  int descriptor() const { return file_.get(); }

  /// Owner and permissions of the file that is to be replaced, as far as the process may give them.
  void takeModeOf(const struct stat& earlier) {
    [[maybe_unused]] const int owner = ::fchown(file_.get(), earlier.st_uid, earlier.st_gid);
    ::fchmod(file_.get(), earlier.st_mode & kPermissions);
  }

  void takeName(const std::string& target) {
    if (::fsync(file_.get()) != 0 && errno != EINVAL && errno != ENOTSUP)
      failToWrite(target, errno);
    if (!file_.close()) failToWrite(target, errno);
    if (::rename(name_.c_str(), target.c_str()) != 0) failToWrite(target, errno);
    isRenamed_ = true;
    Descriptor folder(openPath(folderOf(target), O_RDONLY | O_DIRECTORY));
    if (folder.isOpen()) ::fsync(folder.get());  // the name is already there: nothing to report
  }

 private:
  // A name of its own, short wherever the target's is as long as the system allows.
  int create(const std::string& target) {
    static std::atomic<unsigned> counter{0};
    for (int attempt = 0; attempt < kNameAttempts; ++attempt) {
      name_ = folderOf(target);
      name_ += ".morvel-" + std::to_string(::getpid()) + "-" + std::to_string(counter++) + ".tmp";
      const int made = openPath(name_, O_WRONLY | O_CREAT | O_EXCL, kNewFileMode);
      if (made != -1 || errno != EEXIST) return made;
    }
    return -1;
  }

  std::string name_;
  Descriptor file_;
  bool isRenamed_ = false;
};

void writeToDevice(const std::string& path, const std::function<void(std::ostream&)>& write) {
  const Descriptor device(openPath(path, O_WRONLY));
  if (!device.isOpen()) failToWrite(path, errno);
  writeInto(device.get(), path, write);
}

/// @param earlier  the file of that name, or null
void replaceFile(const std::string& target, const struct stat* earlier,
                 const std::function<void(std::ostream&)>& write) {
  if (earlier && ::faccessat(AT_FDCWD, target.c_str(), W_OK, AT_EACCESS) != 0)
    failToWrite(target, errno);
  TemporaryFile file(target);
  if (earlier) file.takeModeOf(*earlier);
  writeInto(file.descriptor(), target, write);
  file.takeName(target);
}

std::string readBytes(int descriptor, const std::string& path, std::int64_t expected,
                      std::int64_t maxBytes) {
  std::string bytes;
  bytes.reserve(static_cast<std::size_t>(expected));
  std::vector<char> buffer(kBufferBytes);
  for (;;) {
    const std::int64_t room = maxBytes + 1 - static_cast<std::int64_t>(bytes.size());
    const std::size_t wanted = std::min<std::int64_t>(room, std::ssize(buffer));
    const ssize_t got =
        untilNotInterrupted([&] { return ::read(descriptor, buffer.data(), wanted); });
    if (got < 0) fail("read", path, reasonOf(errno));
    if (got == 0) return bytes;
    bytes.append(buffer.data(), static_cast<std::size_t>(got));
    if (std::ssize(bytes) > maxBytes) failAsTooLarge(path, maxBytes);
  }
}

}  // namespace

void writeFileAtomically(const std::string& path, const std::function<void(std::ostream&)>& write) {
  requirePath("write", path);
  struct stat earlier {};
  if (::stat(path.c_str(), &earlier) != 0) {
    if (errno != ENOENT) failToWrite(path, errno);
    return replaceFile(linkTarget(path), nullptr, write);
  }
  if (S_ISDIR(earlier.st_mode)) failToWrite(path, EISDIR);
  if (S_ISCHR(earlier.st_mode)) return writeToDevice(path, write);
  if (!S_ISREG(earlier.st_mode)) fail("write", path, kNotOrdinary);
  replaceFile(linkTarget(path), &earlier, write);
}

std::string readWholeFile(const std::string& path, std::int64_t maxBytes) {
  requirePath("read", path);
  const Descriptor file(openPath(path, O_RDONLY));
  struct stat status {};
  if (!file.isOpen() || ::fstat(file.get(), &status) != 0) fail("read", path, reasonOf(errno));
  if (S_ISDIR(status.st_mode)) fail("read", path, reasonOf(EISDIR));
  if (!S_ISREG(status.st_mode)) fail("read", path, kNotOrdinary);
  if (status.st_size > maxBytes) failAsTooLarge(path, maxBytes);
  return readBytes(file.get(), path, status.st_size, maxBytes);
}

}  // namespace trova::files
