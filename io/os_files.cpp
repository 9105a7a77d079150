// Whole-file reading and replacing on POSIX systems (O_TMPFILE and linkat on
// Linux, a fixed-name temporary file elsewhere), with a portable fallback.
#include "io/os_files.h"

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <system_error>

#if defined(__unix__) || defined(__APPLE__)
#define QTX_POSIX_FILES 1
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#endif

// [SECTION] Reasons

namespace {

std::string reasonFor(int err) {
  switch (err) {
    case ENOENT: return "нет такого файла или папки";
    case EACCES:
    case EPERM: return "нет доступа";
    case EISDIR: return "это папка, а не файл";
    case EROFS: return "файловая система только для чтения";
    case ENOSPC: return "нет места на диске";
#ifdef EDQUOT
    case EDQUOT: return "превышена дисковая квота";
#endif
    case ENAMETOOLONG: return "слишком длинное имя";
    case ENOTDIR: return "в пути есть файл вместо папки";
    case ELOOP: return "слишком много символических ссылок";
    case EMFILE:
    case ENFILE: return "слишком много открытых файлов";
    case EIO: return "ошибка ввода-вывода";
    default: return "системная ошибка " + std::to_string(err);
  }
}

std::string tooLarge(size_t limit) {
  return "файл слишком большой (больше " + std::to_string(limit >> 20) + " МБ)";
}

const char* const kNotRegular = "это не обычный файл";
const char* const kReadOnly = "файл только для чтения";

std::filesystem::path toPath(const std::string& utf8) {
  return std::filesystem::path(std::u8string(utf8.begin(), utf8.end()));
}

std::string fromPath(const std::filesystem::path& p) {
  std::u8string s = p.u8string();
  return std::string(s.begin(), s.end());
}

// The file a write to `path` lands in: symbolic links followed (a dangling
// one names the file it will create), at most 32 of them.
bool resolveLinks(const std::string& path, std::string& out, std::string& error) {
  namespace fs = std::filesystem;
  fs::path p = toPath(path);
  for (int hops = 0; hops < 32; ++hops) {
    std::error_code ec;
    if (!fs::is_symlink(fs::symlink_status(p, ec))) {
      out = fromPath(p);
      return true;
    }
    fs::path target = fs::read_symlink(p, ec);
    if (ec) {
      error = reasonFor(ec.value());
      return false;
    }
    p = target.is_absolute() ? target : p.parent_path() / target;
  }
  error = reasonFor(ELOOP);
  return false;
}

// The one temporary file's name next to the target `path`.
std::string tempNameFor(const std::string& path) {
  std::filesystem::path p = toPath(path);
  std::string name = fromPath(p.filename());
  // Keep within the usual 255-byte limit of a name.
  if (name.size() > 200) name.resize(200);
  return fromPath(p.parent_path() / toPath("." + name + ".qtx-tmp"));
}

bool gUnnamedTempFiles = true;

}  // namespace

void osUseUnnamedTempFiles(bool on) { gUnnamedTempFiles = on; }

#ifdef QTX_POSIX_FILES

// [SECTION] POSIX reading

namespace {

bool readAll(int fd, size_t limit, std::string& out, std::string& error) {
  std::string bytes;
  char buf[65536];
  for (;;) {
    ssize_t n = ::read(fd, buf, sizeof buf);
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) {
      error = reasonFor(errno);
      return false;
    }
    if (n == 0) break;
    // A file may grow while it is read (or report no size at all).
    if (bytes.size() + size_t(n) > limit) {
      error = tooLarge(limit);
      return false;
    }
    bytes.append(buf, size_t(n));
  }
  out = std::move(bytes);
  return true;
}

}  // namespace

bool osReadRegularFile(const std::string& path, size_t limit, std::string& out, std::string& error) {
  // Non-blocking, so that opening a FIFO never waits for a writer.
  int fd = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
  if (fd < 0) {
    error = reasonFor(errno);
    return false;
  }
  struct stat st {};
  bool ok = ::fstat(fd, &st) == 0;
  if (!ok) error = reasonFor(errno);
  else if (S_ISDIR(st.st_mode)) ok = false, error = reasonFor(EISDIR);
  else if (!S_ISREG(st.st_mode)) ok = false, error = kNotRegular;
  else if (uint64_t(st.st_size) > limit) ok = false, error = tooLarge(limit);
  if (ok) {
    ::fcntl(fd, F_SETFL, ::fcntl(fd, F_GETFL) & ~O_NONBLOCK);
    ok = readAll(fd, limit, out, error);
  }
  ::close(fd);
  return ok;
}

// [SECTION] POSIX writing

namespace {

std::string folderOf(const std::string& file) {
  std::string folder = fromPath(toPath(file).parent_path());
  return folder.empty() ? "." : folder;
}

// What sits at the resolved target: nothing, or a regular file we may write.
// `mode` gets the permission bits a replacement should carry.
bool checkTarget(const std::string& file, mode_t& mode, std::string& error) {
  struct stat st {};
  if (::stat(file.c_str(), &st) == 0) {
    if (S_ISDIR(st.st_mode)) return error = reasonFor(EISDIR), false;
    if (!S_ISREG(st.st_mode)) return error = kNotRegular, false;
    // The write bits decide even for a user the system would let through.
    if ((st.st_mode & 0222) == 0 || ::access(file.c_str(), W_OK) != 0) return error = kReadOnly, false;
    mode = st.st_mode & 07777;
  } else if (errno != ENOENT) {
    return error = reasonFor(errno), false;
  } else {
    mode_t mask = ::umask(0);
    ::umask(mask);
    mode = 0666 & ~mask;
  }
  // The replacement is made in the folder, so the folder must take it.
  if (::access(folderOf(file).c_str(), W_OK | X_OK) != 0) return error = reasonFor(errno), false;
  return true;
}

bool writeAll(int fd, std::string_view bytes) {
  size_t done = 0;
  while (done < bytes.size()) {
    ssize_t n = ::write(fd, bytes.data() + done, bytes.size() - done);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return false;
    done += size_t(n);
  }
  return true;
}

// Fills an open file, gives it the mode and makes it durable.
bool fillFile(int fd, std::string_view bytes, mode_t mode, std::string& error) {
  if (!writeAll(fd, bytes) || ::fchmod(fd, mode) != 0 || ::fsync(fd) != 0) {
    error = reasonFor(errno);
    return false;
  }
  return true;
}

// An unnamed file in the folder gets its name only once it is complete, so a
// kill before that leaves nothing at all.
int writeUnnamed(const std::string& folder, const std::string& temp, std::string_view bytes, mode_t mode,
                 std::string& error) {
#ifdef O_TMPFILE
  if (!gUnnamedTempFiles) return -1;
  int fd = ::open(folder.c_str(), O_TMPFILE | O_WRONLY | O_CLOEXEC, mode);
  if (fd < 0) {
    if (errno == EOPNOTSUPP || errno == EISDIR || errno == EINVAL) return -1;
    error = reasonFor(errno);
    return -2;
  }
  bool ok = fillFile(fd, bytes, mode, error);
  if (ok) {
    ::unlink(temp.c_str());  // a leftover of an earlier crash
    std::string self = "/proc/self/fd/" + std::to_string(fd);
    ok = ::linkat(AT_FDCWD, self.c_str(), AT_FDCWD, temp.c_str(), AT_SYMLINK_FOLLOW) == 0;
    if (!ok) error = reasonFor(errno);
  }
  ::close(fd);
  return ok ? 0 : -2;
#else
  (void)folder, (void)temp, (void)bytes, (void)mode, (void)error;
  return -1;
#endif
}

// Without unnamed files: the fixed temporary name, truncated and refilled.
bool writeNamed(const std::string& temp, std::string_view bytes, mode_t mode, std::string& error) {
  int fd = ::open(temp.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW | O_CLOEXEC, mode);
  if (fd < 0) return error = reasonFor(errno), false;
  bool ok = fillFile(fd, bytes, mode, error);
  ::close(fd);
  if (!ok) ::unlink(temp.c_str());
  return ok;
}

}  // namespace

bool osCheckWritable(const std::string& path, std::string& resolved, std::string& error) {
  if (!resolveLinks(path, resolved, error)) return false;
  mode_t mode = 0;
  return checkTarget(resolved, mode, error);
}

bool osWriteReplacing(const std::string& path, std::string_view bytes, std::string& error) {
  std::string file;
  if (!resolveLinks(path, file, error)) return false;
  mode_t mode = 0;
  if (!checkTarget(file, mode, error)) return false;
  const std::string temp = tempNameFor(file);
  int unnamed = writeUnnamed(folderOf(file), temp, bytes, mode, error);
  if (unnamed == -2) return false;
  if (unnamed == -1 && !writeNamed(temp, bytes, mode, error)) return false;
  if (::rename(temp.c_str(), file.c_str()) != 0) {
    error = reasonFor(errno);
    ::unlink(temp.c_str());
    return false;
  }
  return true;
}

#else

// [SECTION] Portable fallback

bool osReadRegularFile(const std::string& path, size_t limit, std::string& out, std::string& error) {
  namespace fs = std::filesystem;
  std::error_code ec;
  fs::file_status st = fs::status(toPath(path), ec);
  if (ec) return error = reasonFor(ec.value()), false;
  if (fs::is_directory(st)) return error = reasonFor(EISDIR), false;
  if (!fs::is_regular_file(st)) return error = kNotRegular, false;
  if (fs::file_size(toPath(path), ec) > limit) return error = tooLarge(limit), false;
  std::FILE* f = _wfopen(toPath(path).c_str(), L"rb");
  if (!f) return error = reasonFor(errno), false;
  std::string bytes;
  char buf[65536];
  size_t n;
  while ((n = std::fread(buf, 1, sizeof buf, f)) > 0 && bytes.size() + n <= limit) bytes.append(buf, n);
  bool ok = !std::ferror(f) && n == 0;
  std::fclose(f);
  if (!ok) return error = tooLarge(limit), false;
  out = std::move(bytes);
  return true;
}

bool osCheckWritable(const std::string& path, std::string& resolved, std::string& error) {
  namespace fs = std::filesystem;
  if (!resolveLinks(path, resolved, error)) return false;
  std::error_code ec;
  fs::file_status st = fs::status(toPath(resolved), ec);
  if (fs::is_directory(st)) return error = reasonFor(EISDIR), false;
  if (fs::exists(st) && !fs::is_regular_file(st)) return error = kNotRegular, false;
  if (fs::exists(st) && (st.permissions() & fs::perms::owner_write) == fs::perms::none)
    return error = kReadOnly, false;
  return true;
}

bool osWriteReplacing(const std::string& path, std::string_view bytes, std::string& error) {
  namespace fs = std::filesystem;
  std::string file;
  if (!osCheckWritable(path, file, error)) return false;
  const std::string temp = tempNameFor(file);
  std::FILE* f = _wfopen(toPath(temp).c_str(), L"wb");
  if (!f) return error = reasonFor(errno), false;
  bool ok = std::fwrite(bytes.data(), 1, bytes.size(), f) == bytes.size();
  ok = std::fclose(f) == 0 && ok;
  std::error_code ec;
  if (ok) fs::rename(toPath(temp), toPath(file), ec);
  if (!ok || ec) {
    error = ok ? reasonFor(ec.value()) : reasonFor(ENOSPC);
    fs::remove(toPath(temp), ec);
    return false;
  }
  return true;
}

#endif
